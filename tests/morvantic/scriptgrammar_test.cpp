#include "support/log_capture.h"
#include "support/recording_host.h"
#include "support/rows.h"

#include "morvantic/scriptheader.h"
#include "morvantic/scriptinclude.h"

#include <gtest/gtest.h>
#include <thread>

using namespace engine;
using support::recorded_text;

namespace {

/// The messages of a log's parser warnings and errors, without places and call stacks.
std::string messages(const support::log_capture& log) {
    std::string all;
    for (const support::log_line& line : log.lines()) {
        const bool is_error = line.level == "ERROR" && line.module.ends_with("scriptparser");
        if (!is_error && line.level != "Info") continue;
        const std::size_t start = line.text.find("): ") + 3;
        all += is_error ? "error: " : "warning: ";
        all += line.text.substr(start, line.text.find('\n') - start) + "\n";
    }
    return all;
}

struct grammar_case {
    const char* name;
    std::string text; // of the section
    std::string outcome;
};

} // namespace

class BodyGrammar : public testing::TestWithParam<grammar_case> {};

/// What reaches the body, and behind it what is said about the text.
TEST_P(BodyGrammar, ReachesTheBody) {
    support::log_capture log(4);
    recorded_text demo("::App::Include::{ ns = Python { path = \"p\"; } }\n"
                       "::a::Script::{" +
                       GetParam().text + "}");
    demo.script.section("App", "Include");
    demo.script.section("a", "Script");
    EXPECT_EQ(demo.script.transcript + messages(log), GetParam().outcome);
}

const grammar_case body_cases[] = {
    {"Empty", "", ""},
    {"BareObject", "ZipAnalyzer<>(){}", "begin  ZipAnalyzer()\nend\n"},
    {"Properties", R"(x = ZipAnalyzer<"a" b, "c">(){})",
     "begin x ZipAnalyzer()\nproperty a=b\nproperty c=\nend\n"},
    {"Values", R"(func setSpecific(-5, - 5, 007, true, false, "", plist.Dict, {"", "b"});)",
     "func setSpecific(-5, -5, 7, true, false, \"\", 9, {\"\" \"b\"})\n"},
    {"Limits", "func setSpecific(9223372036854775807, -9223372036854775808);",
     "func setSpecific(9223372036854775807, -9223372036854775808)\n"},
    {"Calls", R"(func setSpecific(1, ns::f(default::g(), 2, ns::h("x")), 3);)",
     "func setSpecific(1, ns::f(default::g(), 2, ns::h(\"x\")), 3)\n"},
    {"LocalWinsAndEnds",
     R"(const c = "global"; ZipAnalyzer<>(c){ const c = "local"; setSpecific(c);
         func setSpecific(c); } func setSpecific(c);)",
     "begin  ZipAnalyzer(\"global\")\ncall setSpecific(\"local\")\nfunc "
     "setSpecific(\"local\")\nend\n"
     "func setSpecific(\"global\")\n"},
    {"AnalyzerAsArgument", "x = ZipAnalyzer<>(){} ZipAnalyzer<>(){ setAnalyzer(x); }",
     "begin x ZipAnalyzer()\nend\nbegin  ZipAnalyzer()\ncall setAnalyzer(@x)\nend\n"},
    {"UnknownEnum", "func setSpecific(no.such);",
     "func setSpecific(0)\nwarning: Unknown enum type \"no.such\"\n"},
    {"ConstantTwice", R"(const c = "1"; const c = "2"; func setSpecific(c);)",
     "func setSpecific(\"2\")\nwarning: Global constant \"c\" already defined as global (value "
     "overwritten)\n"},
    {"LocalTwice", R"(ZipAnalyzer<>(){ const c = "1"; const c = "2"; setSpecific(c); })",
     "begin  ZipAnalyzer()\ncall setSpecific(\"2\")\nend\nwarning: Local constant \"c\" already "
     "defined as local (value overwritten)\n"},
    {"TrailingComma", "func setSpecific(1,);", "error: Unknown argument\"\n"},
    {"EmptyList", "func setSpecific({});", "error: Expected ')' or ',' to end or continue\"\n"},
    {"TooLarge", "func setSpecific(9223372036854775808);",
     "error: 9223372036854775808 is not a valid decimal integer number\n"},
    {"OddByteIsANumberOfOtherText", "func setSpecific(\"12abc\", \xFC);",
     "error: 12abc is not a valid decimal integer number\n"},
    {"LoneMinus", "func setSpecific(-a);", "error: Expected decimal integer number after minus\n"},
    {"UnknownWord", "func setSpecific(nobody);", "error: Unknown identifier \"nobody\"\n"},
    {"UnknownNamespace", "func setSpecific(no::f());", "error: Unknown Python namespace \"no\"\n"},
    {"CallWithoutParentheses", "func setSpecific(ns::f);",
     "error: Expected '(' after function declaration\n"},
    {"OneColon", "func setSpecific(ns:f());",
     "error: Expected second ':' after namespace declaration for function\n"},
    {"CallLeftOpen", "func setSpecific(ns::f(1;",
     "error: Expected ')' or ',' to end or continue\"\n"},
    {"ListNotClosed", R"(func setSpecific({"a" "b"});)",
     "error: Expected '}' or ',' to end or continue\n"},
    {"SlashInArguments", "func setSpecific( / );", "error: Unknown argument\"\n"},
    {"SlashBehindAString", R"(func setSpecific("a" /);)",
     "error: Expected ')' or ',' to end or continue\"\n"},
    {"UnknownFunction", "func nobody();", "error: Unknown function type \"nobody\"\n"},
    {"FunctionWithoutSemicolon", "func setSpecific() x",
     "error: Expected ';' after object declaration\n"},
    {"MisspelledType", "ZipAnalyser<>(){}", "error: Expected '=' after object declaration\n"},
    {"UnknownType", "x = Nobody<>(){}", "error: Unknown object type \"Nobody\"\n"},
    {"NoAngles", "ZipAnalyzer(){}", "error: Expected '<' after object declaration\n"},
    {"EmptyKey", "ZipAnalyzer<\"\">(){}", "error: Expected not empty string\n"},
    {"NoParentheses", "ZipAnalyzer<>{}", "error: Expected '(' after object declaration\n"},
    {"NoBraces", "ZipAnalyzer<>();",
     "begin  ZipAnalyzer()\nerror: Expected '{' after object declaration\n"},
    {"NoWordInAnObject", "ZipAnalyzer<>(){ 5; }",
     "begin  ZipAnalyzer()\nerror: Expected identifier in function declarations\n"},
    {"NoWord", "5;", "error: Expected identifier\n"},
    {"ReservedConstant", R"(const path = "x";)",
     "error: Global constant \"path\" is reserved word and cannot be used.\n"},
    {"EnumWordIsFree", R"(const plist = "x"; func setSpecific(plist);)",
     "func setSpecific(\"x\")\n"},
    {"AnalyzerTwice", "x = ZipAnalyzer<>(){} x = ZipAnalyzer<>(){}",
     "begin x ZipAnalyzer()\nend\nerror: Analyzer name \"x\" already defined as analyzer\n"},
    {"AnalyzerIsAConstant", R"(const x = "1"; x = ZipAnalyzer<>(){})",
     "error: Analyzer name \"x\" already defined as global constant\n"},
    {"ConstantIsAnAnalyzer", R"(x = ZipAnalyzer<>(){} const x = "1";)",
     "begin x ZipAnalyzer()\nend\nerror: Global constant \"x\" already defined as analyzer name\n"},
    {"LocalIsAnAnalyzer", R"(x = ZipAnalyzer<>(){ const x = "1"; })",
     "begin x ZipAnalyzer()\nerror: Local constant \"x\" already defined as analyzer name\n"},
    {"ConstantWithoutString", "const c = 1;", "error: Expected string for constant \"c\"\n"},
    {"ConstantWithoutEquals", "const c;", "error: Expected '=' for constant \"c\"\n"},
    {"ConstantWithoutSemicolon", "const c = \"\" x", "error: Expected ';' for constant \"c\"\n"},
    {"ConstantWithoutName", "const = \"\";", "error: Expected constant name as identifier\n"},
};

INSTANTIATE_TEST_SUITE_P(All, BodyGrammar, testing::ValuesIn(body_cases), support::row_name);

class HeaderGrammar : public testing::TestWithParam<grammar_case> {};

TEST_P(HeaderGrammar, SaysWhatIsWrong) {
    support::log_capture log(4);
    recorded_text demo("::App::Header::{" + GetParam().text + "}");
    demo.script.section("App", "Header");
    EXPECT_EQ(messages(log), GetParam().outcome);
}

const std::string both_missing = "warning: Property \"names\" is missing\n"
                                 "warning: Property \"platforms\" not set\n";

const grammar_case header_cases[] = {
    {"Empty", "", ""},
    {"Whole",
     R"(engineVersion = 5; Package { names = "a"; platforms = platform.iOS, platform.Android;
        namespaces = "N", "M"; versionMin = "1"; versionMax = "2"; hasExtraFS = true;
        const c = ""; })",
     ""},
    {"EmptyPackage", "Package {}", both_missing},
    {"EngineVersionTwice", "engineVersion = 1; engineVersion = 2;",
     "warning: Property \"engineVersion\" is only allowed once (value overwritten)\n"},
    {"StrayQuote", "engineVersion 1;", "error: Expected '='\"\n"},
    {"NegativeVersion", "engineVersion = -1;", "error: Expected decimal integer number\n"},
    {"Unknown", "someday = 1, x; Someday { { } }",
     "warning: Unknown identifier \"someday\"\nwarning: Unknown identifier \"Someday\"\n"},
    {"NoPackageBrace", "Package names", "error: Opening brace expected after Package definition\n"},
    {"PackageItem", "Package { 5 }", "error: Expected identifier name\n"},
    {"EmptyName", "Package { names = \"\"; }", "error: Expected not empty string\n"},
    {"UnknownPlatform", "Package { names = \"a\"; platforms = plist.Array, platform.iOS; }",
     "warning: Unknown enum \"Array\"\n"},
    {"PlatformWithoutDot", "Package { platforms = iOS; }",
     "error: Expected '.' after enum prefix\n"},
    {"PlatformIsAString", "Package { platforms = \"x\"; }", "error: Expected enum identifier\"\n"},
    {"PlatformsNotEnded", "Package { platforms = platform.iOS }",
     "error: Expected ';' or ',' to end or continue\n"},
    {"NotABool", "Package { hasExtraFS = 1; }", "error: Expected bool\n"},
    {"BlockConstantTwice", "Package { const c = \"1\"; const c = \"2\"; }",
     "warning: Constant \"c\" already defined (value overwritten)\n" + both_missing},
};

INSTANTIATE_TEST_SUITE_P(All, HeaderGrammar, testing::ValuesIn(header_cases), support::row_name);

TEST(HeaderGrammar, RepeatsReplaceOrJoin) {
    recorded_text demo(R"(::App::Header::{ Package {
        names = "old"; names = "new"; namespaces = "N";
        platforms = platform.Android; platforms = platform.iOS; hasExtraFS = true; } })");
    auto* header = dynamic_cast<CScriptHeader*>(demo.script.section("App", "Header"));
    ASSERT_NE(header, nullptr);
    EXPECT_FALSE(header->accept("old", platform_android));
    EXPECT_TRUE(header->accept("new", platform_android));
    EXPECT_TRUE(header->hasExtraFS("new", platform_ios));
    EXPECT_STREQ(header->namespace_next(), "N");
}

class IncludeGrammar : public testing::TestWithParam<grammar_case> {};

/// The modules a and default, the XQuery files, and what is said about the text.
TEST_P(IncludeGrammar, FillsTheSection) {
    support::log_capture log(4);
    recorded_text demo("::App::Include::{" + GetParam().text + "}");
    std::string outcome;
    auto* include = dynamic_cast<CScriptInclude*>(demo.script.section("App", "Include"));
    if (include != nullptr) {
        for (const char* name : {"a", "default"}) {
            if (const char* path = include->python(name)) outcome += path + std::string(" ");
            while (const char* needed = include->python_dependency_next(name)) {
                outcome += "+" + std::string(needed) + " ";
            }
        }
        while (const char* path = include->xquery_next())
            outcome += path + std::string(" ");
    }
    EXPECT_EQ(outcome + "\n" + messages(log), GetParam().outcome);
}

const grammar_case include_cases[] = {
    {"Empty", "", "Default.py \n"},
    {"Module", R"(a = Python { path = "p"; dependencies = "d", "e"; versionMin = "3.6.2"; })",
     "p +d +e Default.py \n"},
    {"Order", R"(XQuery { path = "3"; index = 3; } XQuery { path = "1"; index = 1; })",
     "Default.py 1 3 \n"},
    {"FirstModuleStays", R"(a = Python { path = "1"; } a = Python { path = "2"; })",
     "1 Default.py \nwarning: Namespace \"a\" already defined for Python\n"},
    {"DefaultCannotBeReplaced", R"(default = Python { path = "2"; })",
     "Default.py \nwarning: Namespace \"default\" already defined for Python\n"},
    {"OtherVersion", R"(a = Python { path = "p"; versionMin = "3.6.3"; versionMin = "3.6"; })",
     "p Default.py \nwarning: Property \"versionMin\" is only allowed once in Python (value "
     "overwritten)\nwarning: Only Python version 3.6.2 supported\n"},
    {"NoPath", "a = Python {} XQuery {}",
     " Default.py  \nwarning: Property \"path\" is missing\n"
     "warning: Property \"path\" is missing\n"},
    {"BarePython", "Python { path = \"p\"; }",
     "Default.py \nwarning: Unknown identifier \"Python\"\n"},
    {"SameIndex", R"(XQuery { path = "1"; index = 7; } XQuery { path = "2"; index = 4294967303; })",
     "\nerror: Index number set more than once: 7\n"},
    {"NotPython", "a = XQuery {}", "\nerror: Expected Python definition\n"},
    {"NotAWord", "a = \"Python\" {}", "\nerror: Expected Python after namespace declaration\n"},
    {"NoEquals", "a Python {}", "\nerror: Expected '=' after namespace declaration\n"},
    {"NoPythonBrace", "a = Python;", "\nerror: Opening brace expected after Python definition\n"},
    {"NoXQueryBrace", "XQuery;", "\nerror: Opening brace expected after XQuery definition\n"},
};

INSTANTIATE_TEST_SUITE_P(All, IncludeGrammar, testing::ValuesIn(include_cases), support::row_name);

TEST(Grammar, FailureNamesWhereItStandsAndLeavesThePartThatCame) {
    support::log_capture log;
    recorded_text demo("::a::Script::{\n"
                       "  x = ZipAnalyzer<>() {\n"
                       "    setSpecific(1);\n"
                       "    setSpecific(\"\" 2);\n"
                       "  }\n"
                       "}\n");
    EXPECT_EQ(demo.script.section("a", "Script"), nullptr);
    EXPECT_EQ(log.lines().front().text,
              "[EXC] Parser error(5, 19): Expected ')' or ',' to end or continue\"\n"
              "    Callstack: demo.sc -> ::a::Script::(2, 0) -> x(2, 0) -> ZipAnalyzer(3, 6) -> "
              "setSpecific(5, 0) -> Error\n");
    EXPECT_EQ(demo.script.transcript, "begin x ZipAnalyzer()\ncall setSpecific(1)\n");
    EXPECT_NE(demo.script.section("a", "Script"), nullptr) << "the partly filled section";
}

/// What a failed object leaves behind meets the next section of the same parser.
TEST(Grammar, LocalConstantOfAFailedObjectIsStillThere) {
    support::log_capture log(4);
    recorded_text demo(R"(::a::Script::{ ZipAnalyzer<>(){ const c = "1"; ; } }
        ::b::Script::{ const c = "2"; } ::c::Script::{ c = ZipAnalyzer<>(){} })");
    for (const char* where : {"a", "b", "c"})
        EXPECT_EQ(demo.script.section(where, "Script"), nullptr);
    EXPECT_EQ(messages(log), "error: Expected identifier in function declarations\n"
                             "error: Adding global constant which is already defined as local\n"
                             "error: Analyzer name \"c\" already defined as local constant\n");
}

TEST(Grammar, HostThatThrowsEndsTheSectionAndKeepsTheCallStack) {
    support::log_capture log(4);
    support::installed_scripts scripts(
        {{L"demo.sc", "::a::Script::{ ZipAnalyzer<>(){ } } ::b::Script::{ 5 }"}});
    support::recording_script script(L"demo.sc");
    script.init();
    script.throw_at = "begin  ZipAnalyzer()";
    EXPECT_EQ(script.section("a", "Script"), nullptr);
    EXPECT_EQ(log.count("Exception catched: host fault"), 1);
    EXPECT_EQ(script.section("b", "Script"), nullptr);
    EXPECT_NE(log.lines().back().text.find("-> ZipAnalyzer(1, 15) -> ::b::Script::("),
              std::string::npos)
        << log.lines().back().text;
}

TEST(Grammar, LaterSectionsSeeWhatEarlierOnesDeclared) {
    recorded_text demo(R"(::App::Header::{ const title = "T"; }
        ::App::Include::{ ns = Python { path = "p"; } }
        ::a::Script::{ func setSpecific(title, ns::f()); })");
    demo.script.section("App", "Header");
    demo.script.section("App", "Include");
    EXPECT_NE(demo.script.section("a", "Script"), nullptr);
    EXPECT_EQ(demo.script.transcript, "func setSpecific(\"T\", ns::f())\n");

    recorded_text other("::App::Include::{ ns = Python { path = \"p\"; } }\n"
                        "::a::Script::{ func setSpecific(ns::f()); }");
    EXPECT_EQ(other.script.section("a", "Script"), nullptr) << "Include was not asked for";
}

/// On a thread whose stack would not hold a tenth of that in frames.
TEST(Grammar, CallsNestedAMillionDeep) {
    constexpr std::size_t depth = 1000000;
    std::string text = "::a::Script::{ func setSpecific(";
    for (std::size_t i = 0; i != depth; ++i)
        text += "default::f(";
    text.append(depth, ')');
    text += "); }";
    recorded_text demo(text);
    const auto read = [](void* script) -> void* {
        return static_cast<CScript*>(script)->section("a", "Script");
    };
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, 256 * 1024);
    pthread_t thread{};
    ASSERT_EQ(pthread_create(&thread, &attributes, read, static_cast<CScript*>(&demo.script)), 0);
    void* section = nullptr;
    pthread_join(thread, &section);
    pthread_attr_destroy(&attributes);
    EXPECT_NE(section, nullptr);
    EXPECT_EQ(demo.script.transcript.size(), sizeof "func setSpecific(" - 1 + 12 * depth + 2);
}
