#include "morvantic/script.h"

#include "support/log_capture.h"
#include "support/memory_store.h"

#include "morvantic/scriptheader.h"
#include "morvantic/scriptinclude.h"

#include <gtest/gtest.h>
#include <optional>
#include <stdexcept>

using namespace engine;
using summary = std::vector<std::string>;

namespace {

constexpr const char* three_sections = R"(
::App::Header::{ const brace = "}"; }
::App::Include::{}
::Chats::Script::{}
::Other::Header::{}
::a::Odd::{}
)";

/// A host that fails where it is told to.
struct host_script : CScript {
    using CScript::create_argument;
    using CScript::CScript;

    CScriptSection* add_section(const char* section_namespace, const char* name) override {
        ++asked;
        if (fault == "std") throw std::runtime_error("host fault");
        if (fault == "other") throw 42;
        if (fault == "null") return nullptr;
        return CScript::add_section(section_namespace, name);
    }

    int asked = 0;
    std::string fault;
};

class Script : public testing::Test {
protected:
    void read(const std::string& text) {
        scripts.store.files[L"demo.sc"] = text;
        script.emplace(L"demo.sc");
        script->init();
        log.clear();
    }

    const std::type_info& type_of(const char* section_namespace, const char* name) {
        CScriptSection* section = script->section(section_namespace, name);
        return section == nullptr ? typeid(nullptr) : typeid(*section);
    }

    support::log_capture log;
    support::installed_scripts scripts{{{L"demo.sc", three_sections}}};
    std::optional<host_script> script;
};

} // namespace

TEST_F(Script, SectionsAreOfTheClassThatTheirNamesSelect) {
    read(three_sections);
    EXPECT_EQ(type_of("App", "Header"), typeid(CScriptHeader));
    EXPECT_EQ(type_of("App", "Include"), typeid(CScriptInclude));
    EXPECT_EQ(type_of("Chats", "Script"), typeid(CScriptSection));
    EXPECT_TRUE(log.lines().empty());
    EXPECT_EQ(type_of("Other", "Header"), typeid(CScriptSection));
    EXPECT_EQ(type_of("a", "Odd"), typeid(CScriptSection));
    const std::string unknown = "Debug debug: [ASSERT] !\"Unknown section being processed.\"";
    EXPECT_EQ(log.summary(), (summary{unknown, unknown}));

    CScriptSection* header = script->section("App", "Header");
    EXPECT_EQ(script->asked, 5) << "it is the same section";
    EXPECT_TRUE(header->equal("App", "Header"));
    EXPECT_FALSE(header->equal("Header", "App"));
    EXPECT_FALSE(header->equal("App", "Heade"));
    EXPECT_EQ(CScript::get_name(nullptr), section_other);
    EXPECT_EQ(CScript::get_namespace(nullptr), namespace_other);
}

TEST_F(Script, NullNamesAreTheHostsFault) {
    read(three_sections);
    CScriptSection* header = script->section("App", "Header");
    EXPECT_THROW(script->section(nullptr, "Header"), std::logic_error);
    EXPECT_THROW(script->section("App", nullptr), std::logic_error);
    EXPECT_THROW(header->equal(nullptr, "Header"), std::logic_error);
    EXPECT_THROW(header->equal("Header", nullptr), std::logic_error); // whatever the other one is
    EXPECT_TRUE(log.lines().empty());
    EXPECT_THROW(CScriptInclude("App", nullptr), std::logic_error);
    EXPECT_THROW(CScript(nullptr), std::logic_error);
    ASSERT_EQ(log.lines().size(), 2u);
    EXPECT_EQ(log.lines()[0].module, "mvx\\morvantic\\scriptsection");
}

TEST_F(Script, AbsentSectionIsNullOnceAndEmptyLater) {
    read(three_sections);
    EXPECT_EQ(script->section("App", "Script"), nullptr);
    EXPECT_EQ(
        log.summary().back(),
        "Info scriptparser: Parser warning(7, 0): Namespace App was defined but could not find "
        "section ::App::Script::\n    Callstack: demo.sc -> Warning\n");
    EXPECT_EQ(type_of("App", "Script"), typeid(CScriptSection));
    EXPECT_EQ(script->section("App", "header"), nullptr) << "names differ by case";

    log.clear();
    EXPECT_EQ(CScript(L"demo.sc").section("App", "Header"), nullptr) << "before the outline";
    EXPECT_TRUE(log.lines().front().text.starts_with("Parser warning(0, 18446744073709551615): "));
}

TEST_F(Script, FailuresAreLoggedByEachModuleThatTheyPass) {
    EXPECT_THROW(CScript(L"none.sc"), core::exception);
    EXPECT_EQ(log.summary(), (summary{"ERROR scriptparser: [EXC] Script not found.",
                                      "ERROR script: [EXC] Script not found."}));
    read("x");
    script.emplace(L"demo.sc").init();
    const std::string failure = "Parser error(1, 0): ':' character expected to start section\n    "
                                "Callstack: demo.sc -> Error\n";
    EXPECT_EQ(
        log.summary(),
        (summary{"ERROR scriptparser: [EXC] " + failure, "Debug script: " + failure,
                 "ERROR script: Exception catched: " + failure, "Debug debug: [ASSERT] false"}));
    log.clear();
    EXPECT_THROW(script->create_argument(), core::exception);
    EXPECT_EQ(log.summary(),
              (summary{"Debug debug: [ASSERT] false", "ERROR script: [EXC] Internal error."}));
}

TEST_F(Script, HostThatCannotMakeASection) {
    read(three_sections);
    script->fault = "std";
    EXPECT_EQ(script->section("App", "Header"), nullptr);
    EXPECT_EQ(log.summary(),
              (summary{"Debug script: host fault", "ERROR script: Exception catched: host fault"}));
    script->fault = "other";
    EXPECT_THROW(script->section("App", "Header"), int);
    script->fault = "null";
    EXPECT_EQ(script->section("App", "Header"), nullptr);
    script->fault.clear();
    EXPECT_NE(script->section("App", "Header"), nullptr) << "nothing was registered before";
    EXPECT_EQ(script->asked, 4);
}
