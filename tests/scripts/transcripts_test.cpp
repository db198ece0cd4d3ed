#include "support/memory_store.h"
#include "support/rows.h"
#include "support/script_cases.h"
#include "tools/morvantic/script_report.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <regex>
#include <sstream>

// Script texts beside what the engine delivers and logs of them.

namespace {

using support::script_case;

std::vector<script_case> all_cases() { return support::script_cases(SCRIPTS); }

} // namespace

class Transcripts : public testing::TestWithParam<script_case> {};

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
        for (const script_case& row : all_cases()) {
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
