#include "support/memory_store.h"
#include "support/rows.h"
#include "support/script_cases.h"
#include "tools/morvantic/script_report.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <regex>
#include <set>

// Script texts beside what the engine delivers and logs of them.

namespace {

using support::read_file;
using support::script_case;
constexpr std::size_t npos = std::string::npos;

std::vector<script_case> all_cases() { return support::script_cases(SCRIPTS); }

tool::script_report report_of(const std::string& text, const std::string& script = "demo.sc") {
    constexpr unsigned never = 1000; // seconds
    const std::wstring name(script.begin(), script.end());
    support::installed_scripts scripts({{name, text}});
    return tool::read_script(name, tool::read_outline(text), {}, never).value();
}

/// Something is read, and no word is said about it.
void expect_silence(const tool::script_report& report) {
    const std::string text = text_of(report);
    EXPECT_FALSE(report.sections.empty());
    EXPECT_EQ(text.find("  log "), npos) << text;
}

std::set<std::string> found_in(const std::string& text, const std::string& pattern) {
    const std::regex regex(pattern);
    std::set<std::string> texts;
    for (std::sregex_iterator found(text.begin(), text.end(), regex), end; found != end; ++found)
        texts.insert((*found)[1]);
    return texts;
}

} // namespace

class Transcripts : public testing::TestWithParam<script_case> {};

TEST_P(Transcripts, AreWhatTheEngineDelivers) {
    EXPECT_EQ(text_of(report_of(GetParam().text, GetParam().script)), GetParam().transcript);
}

INSTANTIATE_TEST_SUITE_P(All, Transcripts, testing::ValuesIn(all_cases()), support::row_name);

/// What the language reference lists is what the cases raise, and the other way round.
TEST(TranscriptsTogether, RaiseEveryMessageOfTheLanguageReference) {
    std::string transcripts;
    for (const script_case& row : all_cases())
        transcripts += row.transcript;
    std::set<std::string> unlisted =
        found_in(transcripts, "log \\w+: Parser \\w+\\([-0-9, ]*\\): (.*)");
    const std::set<std::string> raised = unlisted;
    for (const std::string& text :
         found_in(read_file(LANGUAGE_REFERENCE), "\\| [EW] \\| `(.*)` \\|.*\\|.*\\|")) {
        // Only a host that asks for a section which is not there can raise it.
        if (text.starts_with("Namespace N was defined")) continue;
        const std::string literal = std::regex_replace(text, std::regex("[.(){}'\"]"), "[$&]");
        const std::regex pattern(std::regex_replace(literal, std::regex("\\bN\\b"), ".*"));
        const auto fits = [&](const std::string& message) { return regex_match(message, pattern); };
        EXPECT_TRUE(std::any_of(raised.begin(), raised.end(), fits)) << text;
        std::erase_if(unlisted, fits);
    }
    EXPECT_EQ(unlisted, std::set<std::string>());
}

/// They are what authors learn from: not even a warning, and every file that they name is there.
TEST(Examples, AreReadWithoutAWord) {
    const std::filesystem::path apps = EXAMPLE_APPS;
    int scripts = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(apps)) {
        if (entry.path().extension() != ".sc") continue;
        SCOPED_TRACE(entry.path());
        ++scripts;
        const tool::script_report report = report_of(read_file(entry.path()));
        expect_silence(report);
        EXPECT_FALSE(report.sections.at(0).apps.empty());
        for (const tool::app_answer& app : report.sections[0].apps) {
            for (const std::string& where : app.namespaces)
                EXPECT_NE(text_of(report).find("  ::" + where + "::Script::\n    "), npos) << where;
        }
        for (const tool::python_module& module : report.sections.at(1).modules)
            EXPECT_TRUE(is_regular_file(apps / module.path)) << module.path;
        for (const std::string& path : report.sections[1].xqueries)
            EXPECT_TRUE(is_regular_file(apps / path)) << path;
    }
    EXPECT_EQ(scripts, 14);
}

/// Each example of the language reference is a script.
TEST(Examples, OfTheLanguageReferenceAreScripts) {
    const auto examples = found_in(read_file(LANGUAGE_REFERENCE), "```text\n([^`]*)```");
    EXPECT_GE(examples.size(), 4u);
    for (const std::string& text : examples)
        expect_silence(report_of(text));
}
