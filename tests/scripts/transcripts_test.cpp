#include "support/memory_store.h"
#include "support/rows.h"
#include "support/temp_folder.h"
#include "tools/morvantic/script_report.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <regex>
#include <sstream>

// Script texts beside what the engine delivers and logs of them. Whole scripts are files of their
// own, NAME.sc beside NAME.transcript; short ones stand together in files NAME.cases:
//
//     == name of the case
//     text of a script, in which \x0D is that byte, without the last line's end
//     --
//     transcript, without the script's name

namespace {

struct transcript_case {
    std::string name;
    std::string script; // its name
    std::string text;
    std::string transcript;
};

/// So that a failure prints the name alone.
void PrintTo(const transcript_case& row, std::ostream* stream) { *stream << row.name; }

std::string with_bytes(const std::string& text) {
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text.compare(i, 2, "\\x") != 0) {
            bytes += text[i];
            continue;
        }
        bytes += static_cast<char>(std::stoi(text.substr(i + 2, 2), nullptr, 16));
        i += 3;
    }
    return bytes;
}

void add_cases(const std::filesystem::path& path, std::vector<transcript_case>& cases) {
    std::istringstream file(support::read_file(path));
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

std::vector<transcript_case> all_cases() {
    std::vector<transcript_case> cases;
    for (const auto& entry : std::filesystem::directory_iterator(SCRIPTS)) {
        const std::filesystem::path& path = entry.path();
        if (path.extension() == ".cases") add_cases(path, cases);
        if (path.extension() != ".sc") continue;
        std::filesystem::path transcript = path;
        transcript.replace_extension(".transcript");
        cases.push_back({path.stem(), path.filename(), support::read_file(path),
                         support::read_file(transcript)});
    }
    return cases;
}

} // namespace

class Transcripts : public testing::TestWithParam<transcript_case> {};

TEST_P(Transcripts, AreWhatTheEngineDelivers) {
    constexpr unsigned never = 1000; // seconds
    const std::wstring name(GetParam().script.begin(), GetParam().script.end());
    support::installed_scripts scripts({{name, GetParam().text}});
    const tool::script_outline outline = tool::read_outline(GetParam().text);
    const std::optional<tool::script_report> report = tool::read_script(name, outline, {}, never);
    ASSERT_TRUE(report);
    EXPECT_EQ(tool::text_of(*report), GetParam().transcript);
}

INSTANTIATE_TEST_SUITE_P(All, Transcripts, testing::ValuesIn(all_cases()), support::row_name);

/// What the language reference lists is what the cases raise, and the other way round.
TEST(TranscriptsTogether, RaiseEveryMessageOfTheLanguageReference) {
    const std::set<std::string> raised = [] {
        std::set<std::string> texts;
        const std::regex message("log \\w+: Parser \\w+\\([-0-9, ]*\\): (.*)");
        for (const transcript_case& row : all_cases()) {
            std::istringstream lines(row.transcript);
            std::smatch found;
            for (std::string line; std::getline(lines, line);) {
                if (std::regex_search(line, found, message)) texts.insert(found[1]);
            }
        }
        return texts;
    }();
    std::vector<std::regex> listed;
    std::istringstream reference(support::read_file(LANGUAGE_REFERENCE));
    const std::regex row("\\| (E|W) \\| `(.*)` \\|.*\\|.*\\|");
    const std::regex special("[.(){}'\"]");
    for (std::string line; std::getline(reference, line);) {
        std::smatch found;
        if (!std::regex_match(line, found, row)) continue;
        // Only a host that asks for a section which is not there can raise it.
        const std::string text = found[2];
        if (text.starts_with("Namespace N was defined")) continue;
        const std::string literal = std::regex_replace(text, special, "[$&]");
        listed.emplace_back(std::regex_replace(literal, std::regex("\\bN\\b"), ".*"));
        EXPECT_TRUE(std::any_of(
            raised.begin(), raised.end(),
            [&](const std::string& message) { return std::regex_match(message, listed.back()); }))
            << text << " is raised by no case";
    }
    for (const std::string& message : raised) {
        EXPECT_TRUE(std::any_of(
            listed.begin(), listed.end(),
            [&](const std::regex& pattern) { return std::regex_match(message, pattern); }))
            << message << " is not in the reference";
    }
}
