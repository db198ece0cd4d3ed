#include "run_tool.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

// The way of an author: from a new script to a package, and back to what changed.

namespace {

using namespace tools_test;
using nlohmann::json;

class Author : public testing::Test {
protected:
    Author() {
        made = run("new --platform android --platform iOS com.example.mail --folder " + apps);
    }

    std::string script() const { return apps + "/com.example.mail.sc"; }

    support::temp_folder folder;
    std::string apps = folder.file("apps");
    std::string package = folder.file("apps.pkg");
    std::string pack_it = "pack " + apps + " " + package + " --force --key " + private_key();
    run_result made;
};

} // namespace

TEST_F(Author, FindsANewScriptSoundFormattedAndServed) {
    ASSERT_EQ(made.status, 0) << made.err;
    EXPECT_EQ(run("check --strict " + apps).out, "Nothing found in 1 script.\n");
    EXPECT_EQ(run("format --check " + script()).status, 0);
    EXPECT_EQ(run("test " + apps).status, 1) << "there is no transcript";
    EXPECT_EQ(run("test --update " + apps).status, 0);
    EXPECT_EQ(run("test " + apps).out, "1 script as recorded.\n");

    const std::string list = folder.file("list");
    EXPECT_EQ(run(pack_it + " --app-list list", "cd " + folder.path() + " &&").status, 0);
    EXPECT_EQ(run("info --apps " + package).out, support::read_file(list));
    EXPECT_EQ(run(pack_it + " --app-list " + private_key()).status, 2);
    EXPECT_EQ(run("check " + package + " --key " + public_key()).status, 0);
    EXPECT_EQ(run("coverage " + package + " --apps " + list + " --key " + public_key()).out,
              "com.example.mail\n"
              "  Android       com.example.mail.sc\n"
              "  iOS           com.example.mail.sc\n");
    EXPECT_EQ(run("new com.example.mail --folder " + apps).status, 2) << "it is there";
}

TEST_F(Author, IsToldWhatIsWrongWhereAndHowToBearIt) {
    const std::string text = "::Demo::Script::{\n"
                             "    func setSpecific(nobody);\n"
                             "}\n";
    folder.write("apps/demo.sc", text);
    const std::string demo = folder.file("apps/demo.sc");
    const run_result result = run("check " + demo);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out,
              demo +
                  ":1:1: warning: There is no section ::App::Header::. No host finds the "
                  "script fit for an app. [header-missing]\n"
                  "    ::Demo::Script::{\n"
                  "    ^\n" +
                  demo +
                  ":2:22: error: Unknown identifier \"nobody\" (in the log: 3, 28) "
                  "[unknown-name]\n"
                  "        func setSpecific(nobody);\n"
                  "                         ^\n"
                  "1 error, 1 warning in 1 script.\n");
    EXPECT_EQ(run("check --off unknown-name " + demo).status, 0);
    EXPECT_EQ(run("check --strict --off unknown-name " + demo).status, 1);
    EXPECT_EQ(run("check - <" + demo).status, 1);

    const json found = json::parse(run("check --json " + demo).out)["scripts"][0]["findings"][1];
    EXPECT_EQ(found["code"], "unknown-name");
    EXPECT_EQ(found["logged"], (json{{"line", 3}, {"column", 28}}));
    const json run_object = json::parse(run("check --sarif " + demo).out)["runs"][0];
    const json first = run_object["results"][0];
    EXPECT_EQ(run_object["tool"]["driver"]["rules"][first["ruleIndex"].get<std::size_t>()]["id"],
              first["ruleId"]);
    EXPECT_EQ(first["locations"][0]["physicalLocation"]["region"]["startLine"], 1);

    EXPECT_EQ(run(pack_it).status, 1);
    EXPECT_EQ(run(pack_it + " --no-check").status, 0);
    folder.write("apps/demo.sc", "// morvantic-check-off: unknown-name, header-missing\n" + text);
    EXPECT_EQ(run("check --strict " + demo).status, 0);
}

/// They are what authors learn from.
TEST_F(Author, LearnsFromSoundExamples) {
    EXPECT_EQ(run("check --strict " EXAMPLE_APPS).status, 0);
    EXPECT_EQ(run("format --check $(find " EXAMPLE_APPS " -name '*.sc')").err, "");
}

TEST_F(Author, KeepsLinksAndRightsOfFormattedScripts) {
    namespace fs = std::filesystem;
    fs::permissions(script(), fs::perms(0640));
    fs::create_symlink(script(), folder.file("link"));
    const std::string before = support::read_file(script());
    folder.write("apps/com.example.mail.sc", "\n\n" + before);
    EXPECT_EQ(run("format " + folder.file("link")).status, 0);
    EXPECT_EQ(support::read_file(script()), before);
    EXPECT_TRUE(fs::is_symlink(folder.file("link")));
    EXPECT_EQ(fs::status(script()).permissions(), fs::perms(0640));
}

TEST_F(Author, IsNotKeptWaitingByScriptsWithoutEnd) {
    folder.write("apps/comment.sc", "/* open");
    folder.write("apps/property.sc", "::App::Header::{ title = 1 }");
    const run_result result = run("check " + apps);
    EXPECT_NE(result.out.find("[endless-comment]"), std::string::npos) << result.out;
    EXPECT_NE(result.out.find("[endless-property]"), std::string::npos) << result.out;
    folder.write("apps/comment.sc", "// morvantic-check-off: endless-comment\n/* open");
    EXPECT_EQ(run("check --off endless-comment " + apps + "/comment.sc").status, 1);
}

TEST_F(Author, SeesWhatChangedAndWhoStandsInTheShadow) {
    ASSERT_EQ(run("test --update " + apps).status, 0);
    ASSERT_EQ(run(pack_it + " --stamp 2026-03-09-01").status, 0);
    const std::string before = folder.write("before.pkg", support::read_file(package));
    folder.write("apps/zz.sc", support::read_file(script()));
    folder.write("apps/python/com_example_mail.py", "def readable(value, scale): return value\n");
    ASSERT_EQ(run(pack_it + " --stamp 2026-03-10-01").status, 0);
    EXPECT_EQ(run("diff " + before + " " + package + " --key " + public_key()).out,
              "stamp: 2026-03-09-01 -> 2026-03-10-01\n"
              "added    script zz.sc\n"
              "changed  python python/com_example_mail.py\n");
    const std::string list =
        folder.write("list", "com.example.mail\ncom.example.maps iOS # soon\n");
    const run_result coverage = run("coverage " + apps + " --apps " + list);
    EXPECT_EQ(coverage.status, 1);
    EXPECT_NE(coverage.out.find("in its shadow: zz.sc\n"), std::string::npos) << coverage.out;
    EXPECT_NE(coverage.out.find("not served: com.example.maps on iOS\n"), std::string::npos);

    folder.write("apps/com.example.mail.sc", "// More words.\n" + support::read_file(script()));
    EXPECT_EQ(run("test " + apps).err.find("com.example.mail.sc differs"), std::string::npos);
    folder.write("apps/com.example.mail.sc", "::App::Header::{}\n");
    const run_result test = run("test " + apps);
    EXPECT_EQ(test.status, 1);
    EXPECT_NE(test.err.find("in line 3 of the transcript"), std::string::npos) << test.err;
}
