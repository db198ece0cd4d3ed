#include "morvantic/scriptsection.h"

#include "morvantic/script.h"
#include "morvantic/scriptbody.h"
#include "morvantic/scriptinclude.h"
#include "support/log_capture.h"

#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <vector>

using namespace engine;

TEST(Section, EqualsByBothStrings) {
    CScriptSection section("App", "Header");
    EXPECT_TRUE(section.equal("App", "Header"));
    EXPECT_FALSE(section.equal("Header", "App"));
    EXPECT_FALSE(section.equal("App", "header"));
    EXPECT_FALSE(section.equal("App", "Heade"));
    EXPECT_FALSE(section.equal("App", "Headers"));
    EXPECT_TRUE(CScriptSection("same", "same").equal("same", "same"));
    EXPECT_THROW(section.equal(nullptr, "Header"), std::logic_error);
    EXPECT_THROW(section.equal("Header", nullptr), std::logic_error); // whatever the other one is
}

TEST(Section, FailedConstructionIsLoggedWhereItFailed) {
    const support::log_capture log;
    EXPECT_THROW(CScriptInclude("App", nullptr), std::logic_error);
    const std::vector<std::string> lines = log.summary();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].rfind("ERROR scriptsection: [EXC] ", 0), 0u) << lines[0];
}

TEST(Section, KindsByName) {
    EXPECT_EQ(CScript::get_name("Header"), section_header);
    EXPECT_EQ(CScript::get_name("Include"), section_include);
    EXPECT_EQ(CScript::get_name("Script"), section_script);
    for (const char* name : {"header", "", "Headers", static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(CScript::get_name(name), section_other);
    }
    EXPECT_EQ(CScript::get_namespace("App"), namespace_app);
    for (const char* name : {"app", "", "Apple", static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(CScript::get_namespace(name), namespace_other);
    }
}
