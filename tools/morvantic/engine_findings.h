#pragma once

#include "finding.h"

#include <string>
#include <string_view>
#include <vector>

namespace tool {

/// Lines and columns as the engine counts them: the place of the byte that it has read last. The
/// text must stay.
class line_places {
public:
    explicit line_places(std::string_view text);

    logged_place at(std::size_t offset) const;

private:
    std::string_view m_text;
    std::vector<std::size_t> m_begins{0}; // of the lines
};

/// The place that the engine's log names for a token, for each token of a text in one pass.
class logged_places {
public:
    /// Of the first pass, over the whole text.
    logged_places(const line_places& lines, std::string_view text);

    /// Of reading the section whose body begins there, in a text that ends behind it.
    logged_places(const line_places& lines, std::string_view text, std::size_t body);

    struct range {
        std::size_t begin;
        std::size_t end;
    };

    /// The number of the token that the log names; of the last one if it names none.
    std::size_t find(logged_place place) const;

    const range& operator[](std::size_t number) const { return m_rows[number].token; }

private:
    struct row {
        logged_place place;
        range token;
    };

    void note_tokens(const line_places& lines, std::string_view text, std::size_t begin);

    std::vector<row> m_rows; // in the order of the text
};

/// What the engine logs about an installed script, read in the order in which hosts read it, at
/// its true places. In a process of its own: a text that is read without end is a finding too.
/// Throws failure if there can be no such process.
std::vector<finding> ask_engine(const std::wstring& name, std::string_view text);

/// The same in this process, which ends if a step of the engine takes longer.
std::vector<finding> read_by_engine(const std::wstring& name, std::string_view text,
                                    unsigned processor_seconds);

} // namespace tool
