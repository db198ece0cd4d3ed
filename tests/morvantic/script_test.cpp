#include "morvantic/script.h"

#include "support/log_capture.h"
#include "support/memory_store.h"

#include "morvantic/scriptbody.h"
#include "morvantic/scriptheader.h"
#include "morvantic/scriptinclude.h"

#include <gtest/gtest.h>

using namespace engine;
using summary = std::vector<std::string>;

namespace {

constexpr const char* three_sections = R"(
::App::Header::{ const brace = "}"; }
::App::Include::{}
::Chats::Script::{}
::Chats::Script::{ second, of the same name }
::Other::Header::{}
::a::Odd::{}
)";

/// Opens a text as a script and reads its outline.
struct opened {
    explicit opened(const std::string& text) : scripts({{L"demo.sc", text}}), script(L"demo.sc") {
        script.init();
    }

    support::installed_scripts scripts;
    CScript script;
};

template <class Section>
bool is_exactly(const CScriptSection* section) {
    return section != nullptr && typeid(*section) == typeid(Section);
}

} // namespace

TEST(Script, SectionsAreOfTheClassThatTheirNamesSelect) {
    support::log_capture log;
    opened demo(three_sections);
    EXPECT_TRUE(is_exactly<CScriptHeader>(demo.script.section("App", "Header")));
    EXPECT_TRUE(is_exactly<CScriptInclude>(demo.script.section("App", "Include")));
    EXPECT_TRUE(is_exactly<CScriptSection>(demo.script.section("Chats", "Script")));
    EXPECT_TRUE(log.lines().empty());
    EXPECT_TRUE(is_exactly<CScriptSection>(demo.script.section("Other", "Header")));
    EXPECT_TRUE(is_exactly<CScriptSection>(demo.script.section("a", "Odd")));
    const std::string unknown = "Debug debug: [ASSERT] !\"Unknown section being processed.\"";
    EXPECT_EQ(log.summary(), (summary{unknown, unknown}));
}

TEST(Script, SecondRequestGivesTheSameSection) {
    opened demo(three_sections);
    CScriptSection* header = demo.script.section("App", "Header");
    EXPECT_TRUE(header->equal("App", "Header"));
    EXPECT_FALSE(header->equal("Header", "App"));
    EXPECT_EQ(demo.script.section("App", "Header"), header);
}

TEST(Script, AbsentSectionIsNullOnceAndEmptyLater) {
    support::log_capture log(4);
    opened demo(three_sections);
    EXPECT_EQ(demo.script.section("App", "Script"), nullptr);
    EXPECT_EQ(
        log.summary(),
        summary{"Info scriptparser: Parser warning(8, 0): Namespace App was defined but could "
                "not find section ::App::Script::\n    Callstack: demo.sc -> Warning\n"});
    EXPECT_TRUE(is_exactly<CScriptSection>(demo.script.section("App", "Script")));
    EXPECT_EQ(demo.script.section("App", "header"), nullptr) << "names differ by case";
}

TEST(Script, SectionBeforeTheOutlineIsNamedAtNoPlace) {
    support::log_capture log(4);
    support::installed_scripts scripts({{L"demo.sc", three_sections}});
    CScript script(L"demo.sc");
    EXPECT_EQ(script.section("App", "Header"), nullptr);
    EXPECT_TRUE(log.lines().front().text.starts_with("Parser warning(0, 18446744073709551615): "));
}

TEST(Script, BrokenOutlineKeepsTheSectionsBeforeIt) {
    support::log_capture log;
    opened demo("::App::Header::{}\n::App::Include::{");
    const std::string failure =
        "Parser error(2, 18): File not properly ended. 1 braces '{' needs to be closed\n"
        "    Callstack: demo.sc -> Error\n";
    EXPECT_EQ(
        log.summary(),
        (summary{"ERROR scriptparser: [EXC] " + failure, "Debug script: " + failure,
                 "ERROR script: Exception catched: " + failure, "Debug debug: [ASSERT] false"}));
    EXPECT_NE(demo.script.section("App", "Header"), nullptr);
    log.clear();
    EXPECT_EQ(demo.script.section("App", "Include"), nullptr);
    EXPECT_TRUE(log.lines().back().text.ends_with("Callstack: Warning\n"))
        << "the script's name is gone from the call stack";
}

TEST(Script, MissingScriptIsLoggedByEachModuleThatItPasses) {
    support::log_capture log;
    EXPECT_THROW(CScript(L"none.sc"), core::exception);
    EXPECT_EQ(log.summary(), (summary{"ERROR scriptparser: [EXC] Script not found.",
                                      "ERROR script: [EXC] Script not found."}));
    log.clear();
    EXPECT_THROW(CScript(nullptr), std::logic_error);
    EXPECT_EQ(log.lines().size(), 1u);
}

TEST(Script, NullNamesOfASectionPassToTheHost) {
    opened demo(three_sections);
    EXPECT_THROW(demo.script.section(nullptr, "Header"), std::logic_error);
    EXPECT_THROW(demo.script.section("App", nullptr), std::logic_error);
}

namespace {

/// A host whose sections are its own, and which fails where it is told to.
struct host_script : CScript {
    using CScript::create_argument;
    using CScript::CScript;

    CScriptSection* add_section(const char* section_namespace, const char* name) override {
        asked.push_back(std::string(section_namespace) + "/" + name);
        if (fault == "std") throw std::runtime_error("host fault");
        if (fault == "other") throw 42;
        if (fault == "null") return nullptr;
        return CScript::add_section(section_namespace, name);
    }

    std::vector<std::string> asked;
    std::string fault;
};

} // namespace

TEST(Script, HostThatCannotMakeASection) {
    support::log_capture log;
    support::installed_scripts scripts({{L"demo.sc", three_sections}});
    host_script script(L"demo.sc");
    script.init();
    script.fault = "std";
    EXPECT_EQ(script.section("App", "Header"), nullptr);
    EXPECT_EQ(log.summary(),
              (summary{"Debug script: host fault", "ERROR script: Exception catched: host fault"}));
    script.fault = "other";
    EXPECT_THROW(script.section("App", "Header"), int);
    script.fault = "null";
    EXPECT_EQ(script.section("App", "Header"), nullptr);
    script.fault.clear();
    EXPECT_NE(script.section("App", "Header"), nullptr) << "nothing was registered before";
    EXPECT_EQ(script.asked.size(), 4u);
    script.section("App", "Header");
    EXPECT_EQ(script.asked.size(), 4u);
}

TEST(Script, BaseVersionMakesNoArguments) {
    support::log_capture log;
    support::installed_scripts scripts({{L"demo.sc", ""}});
    host_script script(L"demo.sc");
    EXPECT_THROW(script.create_argument(), core::exception);
    EXPECT_EQ(log.summary(),
              (summary{"Debug debug: [ASSERT] false", "ERROR script: [EXC] Internal error."}));
}
