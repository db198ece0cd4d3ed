#include "morvantic/scriptinclude.h"

#include "morvantic/scriptincludeimpl.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

using namespace engine;

TEST(Include, OnlyTheDefaultModuleAtFirst) {
    CScriptInclude include("App", "Include");
    EXPECT_STREQ(include.python("default"), "Default.py");
    EXPECT_EQ(include.python_dependency_next("default"), nullptr);
    EXPECT_EQ(include.xquery_next(), nullptr);
    for (const char* name : {"Default", "", static_cast<const char*>(nullptr)}) {
        EXPECT_EQ(include.python(name), nullptr);
        EXPECT_EQ(include.python_dependency_next(name), nullptr);
        include.python_dependency_reset(name);
    }
}

TEST(Include, ModulesKeepTheirOwnCursors) {
    CScriptIncludeImpl include;
    for (const char* name : {"one", "two"}) {
        auto module = std::make_unique<CScriptIncludeImpl::CPython>();
        EXPECT_EQ(module->versionMin, "3.6.2");
        module->dependencies = {std::string(name) + "A.py", std::string(name) + "B.py"};
        include.python_modules[name] = std::move(module);
    }
    EXPECT_STREQ(include.python_dependency_next("one"), "oneA.py");
    EXPECT_STREQ(include.python_dependency_next("two"), "twoA.py");
    EXPECT_STREQ(include.python_dependency_next("one"), "oneB.py");
    EXPECT_EQ(include.python_dependency_next("one"), nullptr);
    EXPECT_STREQ(include.python_dependency_next("two"), "twoB.py");
}
