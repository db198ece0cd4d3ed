#include "run_tool.h"

#include "support/package_builder.h"
#include "support/zip_builder.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

// What dump shows of a script's content is held by the transcripts; here stands what the command
// makes of it.

namespace {

using namespace tools_test;
using nlohmann::json;

constexpr const char* mail_text = R"(::App::Header::{
    Package { names = "mail"; platforms = platform.Android, platform.iOS; namespaces = "B", "C"; }
    Package { names = "mail"; platforms = platform.Blackberry; hasExtraFS = true; }
}
::App::Include::{ m = Python { path = "p.py"; dependencies = "d.py"; } XQuery { path = "q.xq"; } }
::A::Script::{ 5 }
::B::Script::{
    x = ZipAnalyzer<"k" v>(default::f(1, m::g({"a", ""}))) { setAnalyzer(x, no.such); }
}
)";

class Dump : public testing::Test {
protected:
    run_result dump(const std::string& arguments) {
        support::package_builder package;
        package.payload = support::zip_builder{members}.build().content;
        const std::string path = folder.write("test.pkg", package.build());
        return run("dump " + path + " --key " + public_key() + " " + arguments);
    }

    support::temp_folder folder;
    std::vector<support::zip_member> members = {{"mail.sc", mail_text}};
};

TEST_F(Dump, JsonHoldsWhatTheEngineDelivers) {
    const run_result result = dump("--json");
    EXPECT_EQ(result.status, 1) << "section A has an error";
    const json sections = json::parse(result.out)["scripts"][0]["sections"];
    EXPECT_EQ(sections[0]["apps"], json::parse(R"([
        {"app": "mail", "platforms": ["Android", "iOS"], "namespaces": ["B", "C"],
         "extra_fs": false},
        {"app": "mail", "platforms": ["Blackberry"], "namespaces": [], "extra_fs": true}])"));
    EXPECT_EQ(sections[1]["python"], json::parse(R"([
        {"namespace": "default", "path": "Default.py", "dependencies": []},
        {"namespace": "m", "path": "p.py", "dependencies": ["d.py"]}])"));
    EXPECT_EQ(sections[1]["xquery"], json({"q.xq"}));
    EXPECT_EQ(sections[2]["name"], "Script") << "B is listed, and so before A";
    EXPECT_EQ(sections[2]["statements"], json::parse(R"([
        {"object": "ZipAnalyzer", "name": "x", "properties": [{"key": "k", "value": "v"}],
         "arguments": [{"call": "default::f",
                        "arguments": [1, {"call": "m::g", "arguments": [["a", ""]]}]}],
         "statements": [{"function": "setAnalyzer", "global": false,
                         "arguments": [{"analyzer": "x"}, 0]}], "ended": true}])"));
    EXPECT_EQ(sections[2]["messages"].size(), 1U);
    EXPECT_EQ(sections[3]["delivered"], false);
    EXPECT_EQ(sections[3]["messages"][0]["level"], "ERROR");
}

TEST_F(Dump, QueryShowsWhatAHostWouldAskFor) {
    const run_result android = dump("--app mail --platform android");
    EXPECT_EQ(android.status, 0) << "nobody asks for section A; C is not there, which is no error";
    for (const char* words :
         {"    mail on Android: B, C\n", "  ::B::Script::\n    begin x = ZipAnalyzer",
          "  ::C::Script:: is not there\n    log Info: Parser warning("})
        EXPECT_NE(android.out.find(words), std::string::npos) << android.out;
    EXPECT_EQ(android.out.find("::A::"), std::string::npos);

    const run_result none = dump("--app Mail --platform iOS");
    EXPECT_EQ(none.status, 0);
    EXPECT_EQ(none.out, "No script applies to Mail on iOS.\n");
    EXPECT_EQ(dump("--app mail").status, 2);
    EXPECT_EQ(dump("--app mail --platform Palm").status, 2);
}

TEST_F(Dump, OneScriptThatCannotBeReadLeavesTheOthers) {
    members = {{"a.sc", "::App::Header::{ someday = 1 }"},
               {"b.sc", "\n /* ::App::Header::{ }"},
               {"c.sc", "", 8, 1},
               {"d.sc", "::a::b::{ }"}};
    const run_result result = dump("");
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.out, "d.sc\n  ::a::b:: is of no kind that the engine reads\n");
    for (const char* words :
         {"a.sc: The engine had not come to an end",
          "b.sc: The block comment that begins in line 2 has no end", "c.sc: It cannot be read"})
        EXPECT_NE(result.err.find(words), std::string::npos) << words << "\n" << result.err;
    EXPECT_EQ(dump("d.sc").status, 0);
    EXPECT_EQ(dump("d.sc none.sc").status, 1);
    EXPECT_EQ(json::parse(dump("--json b.sc").out)["scripts"][0]["name"], "b.sc");
}

} // namespace
