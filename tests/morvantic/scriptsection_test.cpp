#include "morvantic/scriptsection.h"

#include "morvantic/script.h"
#include "morvantic/scriptbody.h"
#include "morvantic/scriptinclude.h"
#include "support/log_capture.h"

#include <gtest/gtest.h>
#include <stdexcept>

using namespace engine;

TEST(Section, EqualsByBothStrings) {
    CScriptSection section("App", "Header");
    EXPECT_TRUE(section.equal("App", "Header"));
    EXPECT_FALSE(section.equal("Header", "App"));
    for (const char* other : {"header", "Heade", "Headers"})
        EXPECT_FALSE(section.equal("App", other));
    EXPECT_THROW(section.equal(nullptr, "Header"), std::logic_error);
    EXPECT_THROW(section.equal("Header", nullptr), std::logic_error); // whatever the other one is
}

TEST(Section, FailedConstructionIsLoggedWhereItFailed) {
    const support::log_capture log;
    EXPECT_THROW(CScriptInclude("App", nullptr), std::logic_error);
    ASSERT_EQ(log.lines().size(), 1u);
    EXPECT_EQ(log.summary()[0].rfind("ERROR scriptsection: [EXC] ", 0), 0u);
}

TEST(Section, KindsByName) {
    EXPECT_EQ(CScript::get_name("Header"), section_header);
    EXPECT_EQ(CScript::get_name("Include"), section_include);
    EXPECT_EQ(CScript::get_name("Script"), section_script);
    EXPECT_EQ(CScript::get_namespace("App"), namespace_app);
    for (const char* name : {"header", "app", "Headers", "", static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(CScript::get_name(name), section_other);
        EXPECT_EQ(CScript::get_namespace(name), namespace_other);
    }
}
