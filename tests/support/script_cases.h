#pragma once

#include "support/temp_folder.h"

#include <filesystem>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

namespace support {

/// A script's text beside what the engine delivers and logs of it.
struct script_case {
    std::string name;
    std::string script; // its name
    std::string text;
    std::string transcript;
};

/// So that a failure prints the name alone.
inline void PrintTo(const script_case& row, std::ostream* stream) { *stream << row.name; }

/// Each "\x" and the two digits behind it as the byte that they stand for.
inline std::string with_bytes(const std::string& text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text.compare(i, 2, "\\x") != 0) {
            result += text[i];
            continue;
        }
        result += static_cast<char>(std::stoi(text.substr(i + 2, 2), nullptr, 16));
        i += 3;
    }
    return result;
}

inline void add_cases(const std::filesystem::path& path, std::vector<script_case>& cases) {
    std::istringstream file(read_file(path));
    bool in_text = false;
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("== ")) {
            const std::string name = path.stem().string() + "_" + line.substr(3);
            cases.push_back({name, "demo.sc", "", "demo.sc\n"});
            in_text = true;
        } else if (line == "--") {
            in_text = false;
            std::string& text = cases.back().text;
            if (!text.empty()) text.pop_back();
        } else if (in_text) {
            cases.back().text += with_bytes(line) + "\n";
        } else {
            cases.back().transcript += line + "\n";
        }
    }
}

/// All that stand in a folder. Whole scripts are files of their own, NAME.sc beside
/// NAME.transcript; short ones stand together in files NAME.cases:
///
///     == name of the case
///     text of a script, in which \x0D is that byte, without the last line's end
///     --
///     transcript, without the script's name
inline std::vector<script_case> script_cases(const std::filesystem::path& folder) {
    std::vector<script_case> cases;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        const std::filesystem::path& path = entry.path();
        if (path.extension() == ".cases") add_cases(path, cases);
        if (path.extension() != ".sc") continue;
        std::filesystem::path transcript = path;
        transcript.replace_extension(".transcript");
        cases.push_back({path.stem(), path.filename(), read_file(path), read_file(transcript)});
    }
    return cases;
}

} // namespace support
