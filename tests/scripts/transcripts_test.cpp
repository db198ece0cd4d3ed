#include "support/memory_store.h"
#include "support/rows.h"
#include "support/script_cases.h"
#include "tools/morvantic/script_report.h"

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

/// Each example of the language reference is a script.
TEST(Examples, OfTheLanguageReferenceAreScripts) {
    const auto examples = found_in(read_file(LANGUAGE_REFERENCE), "```text\n([^`]*)```");
    EXPECT_GE(examples.size(), 4u);
    for (const std::string& text : examples)
        expect_silence(report_of(text));
}
