#include "support/log_capture.h"
#include "support/recording_host.h"

#include <gtest/gtest.h>

// What texts and transcripts cannot show: hosts that ask in another order, ask again, or fail.

using namespace engine;
using support::recorded_text;
using support::transcript_of;

TEST(Grammar, FailedSectionIsNullOnceAndPartlyFilledLater) {
    support::log_capture log(4);
    recorded_text demo("::a::Script::{ func setSpecific(1); 5; func setSpecific(2); }");
    EXPECT_EQ(demo.script.section("a", "Script"), nullptr);
    const std::size_t said = log.lines().size();
    CScriptSection* again = demo.script.section("a", "Script");
    EXPECT_EQ(transcript_of(again), "func setSpecific(1)\n");
    EXPECT_EQ(demo.script.section("a", "Script"), again);
    EXPECT_EQ(log.lines().size(), said) << "it is not read again";
}

TEST(Grammar, HostThatThrowsEndsTheSectionAndKeepsTheCallStack) {
    support::log_capture log(4);
    recorded_text demo("::a::Script::{ x = ZipAnalyzer<>(){ } } ::b::Script::{ 5 }");
    demo.script.throw_at = "begin x = ZipAnalyzer()";
    EXPECT_EQ(demo.script.section("a", "Script"), nullptr);
    EXPECT_EQ(log.count("Exception catched: host fault"), 1);
    EXPECT_EQ(transcript_of(demo.script.section("a", "Script")), "begin x = ZipAnalyzer()\n");
    EXPECT_EQ(demo.script.section("b", "Script"), nullptr);
    EXPECT_NE(log.lines().back().text.find("-> ZipAnalyzer(1, 20) -> ::b::Script::("),
              std::string::npos)
        << log.lines().back().text;
}

TEST(Grammar, ObjectsFollowEachOtherWithoutEnd) {
    constexpr std::size_t objects = 200'000;
    std::string text;
    for (std::size_t i = 0; i != objects; ++i)
        text += "ZipAnalyzer<>(){}";
    recorded_text demo("::a::Script::{" + text + "}");
    auto* body = dynamic_cast<recorder::recording_body*>(demo.script.section("a", "Script"));
    ASSERT_NE(body, nullptr);
    EXPECT_EQ(body->calls().size(), 2 * objects);
}

TEST(Grammar, SectionsSeeWhatThoseAskedForBeforeHaveDeclared) {
    const std::string text = R"(::App::Include::{ ns = Python { path = "p"; dependencies = "d"; } }
        ::a::Script::{ const c = "a"; func setSpecific(c, ns::f()); }
        ::b::Script::{ func setSpecific(c, ns::f()); })";
    recorded_text demo(text);
    auto* include = dynamic_cast<CScriptInclude*>(demo.script.section("App", "Include"));
    EXPECT_STREQ(include->python_dependency_next("ns"), "d");
    EXPECT_EQ(demo.script.section("b", "Script"), nullptr) << "the constant is not there yet";
    EXPECT_NE(demo.script.section("a", "Script"), nullptr);
    EXPECT_EQ(transcript_of(demo.script.section("b", "Script")), "") << "and not read again";
    EXPECT_EQ(demo.script.section("App", "Include"), include);
    EXPECT_EQ(include->python_dependency_next("ns"), nullptr) << "the cursor stands where it was";

    recorded_text other(text);
    EXPECT_EQ(other.script.section("a", "Script"), nullptr) << "Include was not asked for";
}
