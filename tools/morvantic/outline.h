#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

// What a script's text holds, as far as it takes to ask the engine for the rest: the engine lists
// neither the sections of a script nor the Python modules of a section.

namespace tool {

struct section_head {
    std::string where; // its namespace
    std::string name;

    bool operator==(const section_head&) const = default;

    bool operator<(const section_head& other) const {
        return std::tie(where, name) < std::tie(other.where, other.name);
    }
};

/// Where a section stands.
struct section_place {
    section_head head;
    std::size_t begin = 0; // its first colon
    std::size_t body = 0;  // behind its opening brace
    std::size_t end = 0;   // its closing brace
};

struct script_outline {
    /// The sections that the engine finds in its first pass, each once, in the order of the text.
    std::vector<section_head> sections;

    /// All that stand in the text, those among them that are there already and never read.
    std::vector<section_place> places;

    /// Words that stand in front of "= Python" anywhere, each once. Not all of them need be
    /// modules.
    std::vector<std::string> modules;

    /// The line of a block comment without an end, which keeps the engine's first pass from ever
    /// ending; 0 if there is none.
    std::size_t endless_comment_line = 0;
};

/// Reads heads and braces by the same tokens as the engine, and stops where the engine's first
/// pass fails.
script_outline read_outline(std::string_view text);

} // namespace tool
