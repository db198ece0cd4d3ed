#include "support/log_capture.h"
#include "support/recording_host.h"

#include <gtest/gtest.h>

// What texts and transcripts cannot show: hosts that ask in another order, ask again, or fail.

using namespace engine;
using support::recorded_text;
using support::transcript_of;

namespace {

/// A text that consists of one section, and that section.
template <class Section>
struct one_section : recorded_text {
    one_section(const std::string& name, const std::string& content)
        : recorded_text("::App::" + name + "::{" + content + "}"),
          read(dynamic_cast<Section&>(*script.section("App", name.c_str()))) {}

    Section& read;
};

/// All that a walk still gives, with a blank in front of each.
template <class Next>
std::string rest_of(Next&& next) {
    std::string names;
    while (const char* name = next())
        names += std::string(" ") + name;
    return names;
}

/// Records that overlap: the same name for two platforms, and twice for one of them.
struct overlapping : one_section<CScriptHeader> {
    overlapping()
        : one_section("Header", R"(
        Package { names = "mail", "post"; platforms = platform.Android; namespaces = "M", "P"; }
        Package { names = "mail"; platforms = platform.iOS, platform.Blackberry; namespaces = "O"; }
        Package { names = "mail"; platforms = platform.Android; namespaces = "X"; hasExtraFS = true; }
        Package { names = "bare"; }
        Package { platforms = platform.Android; namespaces = "Nobody"; })") {}

    std::string namespaces() {
        return rest_of([&] { return read.namespace_next(); });
    }

    std::string names() {
        return rest_of([&] { return read.packageNames_next(); });
    }
};

} // namespace

TEST(Header, SelectionReplacesTheNamespacesIfItSucceeds) {
    overlapping header;
    const auto selects = [&](const char* app, EPlatformTypes on) {
        const bool is_accepted = header.read.accept(app, on, nullptr);
        header.read.namespace_reset();
        return (is_accepted ? "yes" : "no") + header.namespaces();
    };
    EXPECT_EQ(selects("mail", platform_android), "yes M P");
    EXPECT_EQ(selects("mail", platform_ios | platform_windows_phone), "yes O");
    for (const char* app : {static_cast<const char*>(nullptr), "", "Mail", "bare"})
        EXPECT_EQ(selects(app, platform_android), "no O");
    EXPECT_EQ(selects("mail", platform_none), "no O");
    EXPECT_EQ(selects("bare", platform_none), "yes");
    EXPECT_FALSE(header.read.hasExtraFS("mail", platform_ios));
    EXPECT_TRUE(header.read.hasExtraFS("mail", platform_android, "1"));
    EXPECT_EQ(header.namespaces(), " X") << "of the first such record";
}

TEST(Header, BrokenOffWalksGoOn) {
    overlapping header;
    EXPECT_TRUE(header.read.accept("mail", platform_android));
    EXPECT_STREQ(header.read.namespace_next(), "M");
    EXPECT_TRUE(header.read.accept("mail", platform_ios));
    EXPECT_EQ(header.namespaces(), "") << "the cursor is past the shorter list";
    EXPECT_TRUE(header.read.accept("post", platform_android));
    EXPECT_EQ(header.namespaces(), " P");

    EXPECT_STREQ(header.read.packageNames_next(), "mail");
    header.read.packageNames_reset();
    EXPECT_EQ(header.names(), " post mail mail bare") << "inside their record";
    EXPECT_EQ(header.names(), "");
    header.read.packageNames_reset();
    EXPECT_EQ(header.names(), " mail post mail mail bare");
}

TEST(Include, ModulesAndQueriesKeepTheirOwnCursors) {
    one_section<CScriptInclude> include("Include", R"(
        one = Python { path = "1"; dependencies = "1A", "1B"; } XQuery { path = "x"; }
        two = Python { path = "2"; dependencies = "2A", "2B"; })");
    const auto needs = [&](const char* module) {
        return rest_of([&] { return include.read.python_dependency_next(module); });
    };
    EXPECT_STREQ(include.read.python("default"), "Default.py");
    EXPECT_STREQ(include.read.python_dependency_next("one"), "1A");
    EXPECT_EQ(needs("two"), " 2A 2B");
    EXPECT_EQ(needs("one"), " 1B");
    for (const char* name : {"one", "One", "default", static_cast<const char*>(nullptr)})
        include.read.python_dependency_reset(name);
    EXPECT_EQ(needs("one") + needs("two") + needs("default") + needs(nullptr), " 1A 1B");
    for (int walks = 0; walks != 2; ++walks, include.read.xquery_reset())
        EXPECT_EQ(rest_of([&] { return include.read.xquery_next(); }), " x");
}

TEST(Grammar, HostThatThrowsEndsTheSectionAndKeepsTheCallStack) {
    support::log_capture log(4);
    recorded_text demo("::a::Script::{ x = ZipAnalyzer<>(){ } } ::b::Script::{ 5 }");
    demo.script.fails = true;
    EXPECT_EQ(demo.script.section("a", "Script"), nullptr);
    EXPECT_EQ(transcript_of(demo.script.section("a", "Script")), "begin x = ZipAnalyzer()\n");
    EXPECT_EQ(log.count("Exception catched: host fault"), 1) << "it is not read again";
    EXPECT_EQ(demo.script.section("b", "Script"), nullptr);
    const std::string failure = log.lines().back().text;
    EXPECT_NE(failure.find("-> ZipAnalyzer(1, 20) -> ::b::Script::("), std::string::npos)
        << failure;
}

TEST(Grammar, SectionsSeeWhatThoseAskedForBeforeHaveDeclared) {
    const std::string text = R"(::App::Include::{ ns = Python { path = "p"; dependencies = "d"; } }
        ::a::Script::{ const c = "a"; func setSpecific(c, ns::f()); }
        ::b::Script::{ func setSpecific(c, ns::f()); })";
    recorded_text demo(text);
    EXPECT_NE(demo.script.section("App", "Include"), nullptr);
    EXPECT_EQ(demo.script.section("b", "Script"), nullptr) << "the constant is not there yet";
    EXPECT_NE(demo.script.section("a", "Script"), nullptr);
    EXPECT_EQ(transcript_of(demo.script.section("b", "Script")), "") << "and not read again";

    recorded_text other(text);
    EXPECT_EQ(other.script.section("a", "Script"), nullptr) << "Include was not asked for";
}
