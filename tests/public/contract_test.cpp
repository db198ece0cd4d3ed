#include "support/package_builder.h"
#include "support/zip_builder.h"

#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <morvantic/morvantic.h>
#include <stdexcept>
#include <thread>

// What the host guide promises, seen from the host's side of the library: who owns what and how
// long it lives, threads, codes and exceptions. Under the address sanitizer a promise that is not
// kept is a use of freed memory.

namespace {

using namespace engine;
using strings = std::vector<std::string>;

constexpr const char* script_text = R"(
::App::Header::{
    Package { names = "first", "second"; platforms = platform.iOS; namespaces = "Work", "More"; }
    Package { names = "third"; platforms = platform.Android; namespaces = "Other"; }
}
::App::Include::{
    ns = Python { path = "ns.py"; dependencies = "a.py", "b.py"; }
    XQuery { path = "query.xq"; index = 1; }
}
::Work::Script::{
    x = ZipAnalyzer<>(fs.App, "*.zip") { setAnalyzer(x, "inside"); }
    func setPathToIdModifier(ns::outer(1, ns::inner("deep")));
}
)";

struct value : CScriptArgumentCallbackOf<value> {
    std::string text;
    CScriptArguments* inner = nullptr;

    void set_string(const char* from) override { text = from; }

    void set_function(const char* name) override { text = name; }

    void set_arguments(CScriptArguments* arguments) override { inner = arguments; }
};

/// The texts of a list, level by level.
strings texts_of(CScriptArguments& list) {
    strings texts;
    list.reset_index();
    while (CScriptArgument* argument = list.next()) {
        auto& one = static_cast<value&>(*argument->argument());
        if (!one.text.empty()) texts.push_back(one.text);
        if (one.inner == nullptr) continue;
        for (const std::string& text : texts_of(*one.inner))
            texts.push_back(text);
    }
    return texts;
}

class body : public CScriptBody {
public:
    using CScriptBody::CScriptBody;

    void object_begin(const char*, EObjectType, CScriptArguments* arguments) override {
        of_object = arguments;
    }

    void object_property(const char*, const char*) override {}

    void object_function(EFunctionType, CScriptArguments*) override {
        seen.push_back(texts_of(*of_object));
    }

    void object_end() override { seen.push_back(texts_of(*of_object)); }

    void global_function(EFunctionType, CScriptArguments* arguments) override {
        seen.push_back(texts_of(*arguments));
        if (work) work();
    }

    CScriptArguments* of_object = nullptr;
    std::vector<strings> seen;
    std::function<void()> work;
};

struct script : CScript {
    using CScript::CScript;

    CScriptArgument create_argument() override {
        return {&CScriptArgument::delete_callback, new value};
    }

    CScriptSection* add_section(const char* where, const char* name) override {
        if (get_name(name) != section_script) return CScript::add_section(where, name);
        auto made = std::make_unique<body>(where, name);
        made->work = work;
        last = made.get();
        return __add_section(std::move(made));
    }

    std::function<void()> work;
    body* last = nullptr;
};

class Contract : public testing::Test {
protected:
    Contract() {
        files.payload =
            support::zip_builder{{{"app.sc", script_text}, {"ns.py", "code"}}}.build().content;
        folder.write("package", files.build());
    }

    std::uint16_t install(const char* package = "package") const {
        return mv_update_scripts_package(folder.wide_file(package).c_str(), key.c_str());
    }

    template <class Section>
    Section& section(const char* where, const char* name) {
        return dynamic_cast<Section&>(*opened->section(where, name));
    }

    void open() {
        ASSERT_EQ(install(), mv_success);
        opened = std::make_unique<script>(L"app.sc");
        opened->init();
    }

    support::temp_folder folder;
    support::package_builder files;
    std::wstring key = support::test_keys::signing().wide_public_path();
    std::unique_ptr<script> opened;
};

/// A text that is gone when the call has returned.
template <class Text>
std::unique_ptr<Text> short_lived(const Text& text) {
    return std::make_unique<Text>(text);
}

} // namespace

TEST_F(Contract, NothingThatIsPassedInIsKept) {
    ASSERT_EQ(mv_init(short_lived(folder.wide_path())->c_str()), mv_success);
    ASSERT_EQ(mv_update_scripts_package(short_lived(folder.wide_file("package"))->c_str(),
                                        short_lived(key)->c_str()),
              mv_success);
    opened = std::make_unique<script>(short_lived(std::wstring(L"app.sc"))->c_str());
    opened->init();
    for (const char* name : {"Header", "Include", "Script", "None"})
        opened->section(short_lived(std::string("App"))->c_str(),
                        short_lived(std::string(name))->c_str());
    auto& header = section<CScriptHeader>("App", "Header");
    EXPECT_TRUE(header.accept(short_lived(std::string("first"))->c_str(), platform_ios));
    EXPECT_STREQ(header.namespace_next(), "Work");
    EXPECT_TRUE(header.equal("App", "Header"));
    mv_shutdown();
}

TEST_F(Contract, WhatTheEngineHandsOutStays) {
    open();
    CScriptStorageInterface storage;
    const wchar_t* name = storage.next();
    auto& header = section<CScriptHeader>("App", "Header");
    const char* app = header.packageNames_next();
    while (header.packageNames_next() != nullptr) {}
    header.packageNames_reset();
    ASSERT_TRUE(header.accept("second", platform_ios));
    header.namespace_reset();
    const char* where = header.namespace_next();
    while (header.namespace_next() != nullptr) {}
    EXPECT_FALSE(header.accept("third", platform_ios)) << "and leaves the selection";
    auto& include = section<CScriptInclude>("App", "Include");
    const char* module = include.python("ns");
    const char* query = include.xquery_next();
    const char* object = CObjectValue::get_obj_name(CObjectValue::get_obj_type("ZipAnalyzer"));
    opened->section("Work", "Script");
    folder.write("other", files.build());
    ASSERT_EQ(install("other"), mv_success);
    EXPECT_EQ(&header, opened->section("App", "Header"));
    EXPECT_STREQ(name, L"app.sc");
    EXPECT_STREQ(app, "first");
    EXPECT_STREQ(where, "Work");
    EXPECT_STREQ(module, "ns.py");
    EXPECT_STREQ(query, "query.xq");
    EXPECT_STREQ(object, "ZipAnalyzer");
}

TEST_F(Contract, ListsLiveAsLongAsTheCallThatBringsThem) {
    open();
    opened->section("App", "Include");
    opened->section("Work", "Script");
    const strings of_object = {"*.zip"};
    EXPECT_EQ(opened->last->seen,
              (std::vector<strings>{of_object, of_object, {"ns::outer", "ns::inner", "deep"}}));
}

TEST_F(Contract, CallbackMayUseTheEngineEvenToReplaceThePackage) {
    open();
    int calls = 0;
    opened->work = [&] {
        EXPECT_EQ(install(), mv_success);
        CScriptStorageInterface storage;
        EXPECT_STREQ(storage.next(), L"app.sc");
        script other(L"app.sc");
        other.init();
        EXPECT_NE(other.section("App", "Header"), nullptr);
        mv_set_log_level(4, false);
        ++calls;
    };
    opened->section("App", "Include");
    EXPECT_NE(opened->section("Work", "Script"), nullptr);
    EXPECT_EQ(calls, 1);
}

TEST_F(Contract, NothingIsTiedToAThread) {
    ASSERT_EQ(install(), mv_success);
    std::thread words([] {
        for (int i = 0; i != 10'000; ++i)
            ASSERT_EQ(to_utf8(to_wide("\xC3\xA4")), "\xC3\xA4");
    });
    for (int i = 0; i != 10'000; ++i)
        ASSERT_STREQ(CObjectValue::get_obj_name(CObjectValue::get_obj_type("ZipAnalyzer")),
                     "ZipAnalyzer");
    words.join();
    std::thread([&] { opened = std::make_unique<script>(L"app.sc"); }).join();
    std::thread([&] {
        opened->init();
        opened->section("App", "Include");
    }).join();
    EXPECT_NE(opened->section("Work", "Script"), nullptr);
    std::thread([&] { opened.reset(); }).join();
}

TEST_F(Contract, CodesOfAnUpdate) {
    EXPECT_EQ(mv_update_scripts_package(nullptr, key.c_str()), mv_failed);
    EXPECT_EQ(mv_update_scripts_package(L"", nullptr), mv_failed);
    EXPECT_EQ(install("nowhere"), mv_package_refused);
    files.kind = "UNKNOWN";
    folder.write("strange", files.build());
    EXPECT_EQ(install("strange"), mv_package_refused);
    EXPECT_EQ(install(), mv_success);
    EXPECT_EQ(mv_update_scripts_package(folder.wide_file("package").c_str(), L"nowhere"),
              mv_package_refused);
}

TEST_F(Contract, NullIsTheNameOfNothingWhereAQuestionIsAsked) {
    open();
    auto& header = section<CScriptHeader>("App", "Header");
    EXPECT_FALSE(header.accept(nullptr, platform_ios));
    EXPECT_FALSE(header.hasExtraFS(nullptr, platform_ios));
    EXPECT_EQ(section<CScriptInclude>("App", "Include").python(nullptr), nullptr);
    value file;
    EXPECT_FALSE(CScriptStorageInterface::get_python_script(L"ns.py", nullptr));
    EXPECT_FALSE(CScriptStorageInterface::get_resource_file(L"none", &file));
    EXPECT_THROW(CScriptStorageInterface::get_xquery_script(nullptr, &file), std::logic_error);
    EXPECT_THROW(opened->section(nullptr, nullptr), std::logic_error);
    EXPECT_THROW(CScript(nullptr), std::logic_error);
    EXPECT_THROW(CScript(L"none.sc"), std::exception);
}
