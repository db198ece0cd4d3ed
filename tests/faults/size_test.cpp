#include "support/memory_store.h"
#include "support/package_builder.h"
#include "support/zip_builder.h"

#include "morvantic/morvantic.h"

#include <cstdio>
#include <gtest/gtest.h>

using namespace engine;

namespace {

#if defined(SANITIZED)
constexpr int fewer = 10; // a checker takes minutes for more
#else
constexpr int fewer = 1;
#endif

struct counting_body : CScriptBody {
    using CScriptBody::CScriptBody;

    void object_begin(const char* /*name*/, EObjectType /*type*/,
                      CScriptArguments* /*arguments*/) override {
        ++begun;
    }

    void object_property(const char* /*key*/, const char* /*value*/) override {}

    void object_function(EFunctionType /*type*/, CScriptArguments* /*arguments*/) override {}

    void object_end() override { ++ended; }

    void global_function(EFunctionType /*type*/, CScriptArguments* /*arguments*/) override {}

    int begun = 0;
    int ended = 0;
};

struct counting_script : CScript {
    using CScript::CScript;

    CScriptSection* add_section(const char* where, const char* name) override {
        return __add_section(std::make_unique<counting_body>(where, name)); // NOLINT
    }
};

std::string name_of(int number) {
    char name[32];
    std::snprintf(name, sizeof name, "s%06d.sc", number);
    return name;
}

} // namespace

TEST(Size, AMillionObjectsInOneSection) {
    constexpr int objects = 1'000'000 / fewer;
    std::string text = "::a::Script::{";
    for (int i = 0; i != objects; ++i)
        text += "ZipAnalyzer<>(){}";
    const support::installed_scripts scripts({{L"demo.sc", text + "}"}});
    counting_script script(L"demo.sc");
    script.init();
    auto* body = dynamic_cast<counting_body*>(script.section("a", "Script"));
    ASSERT_NE(body, nullptr);
    EXPECT_EQ(body->begun, objects);
    EXPECT_EQ(body->ended, objects);
}

/// Without a checker, more than the archive's end record can count.
TEST(Size, AHundredThousandScriptsInOnePackage) {
    constexpr int count = 100'000 / fewer;
    support::zip_builder archive;
    for (int i = 0; i != count; ++i)
        archive.members.push_back({name_of(i), "::App::Header::{}", 0});
    support::package_builder package;
    package.payload = archive.build().content;
    const support::temp_folder folder;
    folder.write("package", package.build());
    const std::wstring key = support::test_keys::signing().wide_public_path();
    ASSERT_EQ(mv_update_scripts_package(folder.wide_file("package").c_str(), key.c_str()), 0);
    CScriptStorageInterface storage;
    int listed = 0;
    while (const wchar_t* name = storage.next())
        EXPECT_EQ(to_utf8(name), name_of(listed++));
    EXPECT_EQ(listed, count);
    CScript last(to_wide(name_of(count - 1)).c_str());
    last.init();
    EXPECT_NE(last.section("App", "Header"), nullptr);
    storage_test_seam::package().reset();
}
