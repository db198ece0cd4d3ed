#include "support/log_capture.h"
#include "support/recording_host.h"

#include "morvantic/scriptheader.h"
#include "morvantic/scriptinclude.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <regex>
#include <set>

using namespace engine;

namespace {

const std::filesystem::path apps = EXAMPLE_APPS;

void expect_file(const char* path) {
    EXPECT_TRUE(std::filesystem::is_regular_file(apps / path)) << path;
}

} // namespace

/// They are what authors learn from: not even a warning, and every file that they name is there.
TEST(Examples, AreReadWithoutAWord) {
    int scripts = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(apps)) {
        if (entry.path().extension() != ".sc") continue;
        SCOPED_TRACE(entry.path());
        ++scripts;
        support::log_capture log(5);
        support::recorded_text demo(support::read_file(entry.path()));
        auto* header = dynamic_cast<CScriptHeader*>(demo.script.section("App", "Header"));
        auto* include = dynamic_cast<CScriptInclude*>(demo.script.section("App", "Include"));
        ASSERT_TRUE(header != nullptr && include != nullptr);

        std::set<std::string> namespaces;
        const CPlatformType any(platform_android | platform_ios | platform_windows_phone |
                                platform_blackberry);
        while (const char* app = header->packageNames_next()) {
            EXPECT_TRUE(header->accept(app, any)) << app;
            header->namespace_reset();
            while (const char* where = header->namespace_next())
                namespaces.insert(where);
        }
        EXPECT_FALSE(namespaces.empty());
        for (const std::string& where : namespaces) {
            const std::string calls =
                support::transcript_of(demo.script.section(where.c_str(), "Script"));
            EXPECT_NE(calls.find("begin "), std::string::npos) << where;
        }
        while (const char* path = include->xquery_next())
            expect_file(path);
        expect_file(include->python("default"));
        EXPECT_TRUE(log.lines().empty()) << support::read_file(log.path());
    }
    EXPECT_EQ(scripts, 14);
}

/// Each example of the language reference is a script, read without a word.
TEST(Examples, OfTheLanguageReferenceAreScripts) {
    const std::string reference = support::read_file(LANGUAGE_REFERENCE);
    const std::string fence = "```text\n";
    const std::regex head("::(\\w+)::(\\w+)::");
    int examples = 0;
    for (std::size_t start = reference.find(fence); start != std::string::npos;
         start = reference.find(fence, start)) {
        start += fence.size();
        const std::string text = reference.substr(start, reference.find("```", start) - start);
        SCOPED_TRACE(text);
        ++examples;
        support::log_capture log(5);
        support::recorded_text demo(text);
        for (std::sregex_iterator found(text.begin(), text.end(), head), end; found != end;
             ++found) {
            EXPECT_NE(demo.script.section((*found)[1].str().c_str(), (*found)[2].str().c_str()),
                      nullptr);
        }
        EXPECT_TRUE(log.lines().empty()) << support::read_file(log.path());
    }
    EXPECT_GE(examples, 4);
}
