#include "support/package_builder.h"
#include "support/zip_builder.h"

#include <functional>
#include <gtest/gtest.h>
#include <morvantic/morvantic.h>
#include <stdexcept>

using namespace engine;

namespace {

constexpr const char* script_text = R"(
::App::Include::{ ns = Python { path = "p"; } }
::a::Script::{
    x = MediaAnalyzer<"metadata">() {}
    ZipAnalyzer<"wal">(7, true, "text", {"a", "b"}, ns::f(1, ns::g())) {
        setAnalyzer(x);
    }
    func setSpecific(1);
}
)";

struct nobodys {
    int number;
};

enum thrown { thrown_nothing, thrown_int, thrown_nobodys, thrown_standard };

/// Where the host throws what; each call of the engine to it passes here.
struct {
    std::string where;
    thrown what = thrown_nothing;
    int passed = 0;
} fault;

void pass(const char* where) {
    if (fault.where != where) return;
    ++fault.passed;
    switch (fault.what) {
    case thrown_nothing:
        return;
    case thrown_int:
        throw 42;
    case thrown_nobodys:
        throw nobodys{42};
    case thrown_standard:
        throw std::runtime_error("host fault");
    }
}

int alive = 0; // values

class host_value : public CScriptArgumentCallbackBase {
public:
    host_value() { ++alive; }

    ~host_value() override { --alive; }

    CScriptArgumentCallback* clone() override {
        pass("clone");
        return new host_value;
    }

    void set_int(long long /*value*/) override { pass("set_int"); }

    void set_bool(bool /*value*/) override { pass("set_bool"); }

    void set_string(const char* /*value*/) override { pass("set_string"); }

    void set_function(const char* /*name*/) override { pass("set_function"); }

    void set_analyzer(const char* /*name*/) override { pass("set_analyzer"); }

    void set_bytes(const unsigned char* /*bytes*/, std::size_t /*size*/) override {
        pass("set_bytes");
    }

    void list_begin() override { pass("list_begin"); }

    void list_add(const char* /*value*/) override { pass("list_add"); }

    void list_end() override { pass("list_end"); }

    void set_arguments(CScriptArguments* /*arguments*/) override { pass("set_arguments"); }
};

class host_body : public CScriptBody {
public:
    using CScriptBody::CScriptBody;

    void object_begin(const char* /*name*/, EObjectType /*type*/,
                      CScriptArguments* /*arguments*/) override {
        pass("object_begin");
    }

    void object_property(const char* /*key*/, const char* /*value*/) override {
        pass("object_property");
    }

    void object_function(EFunctionType /*type*/, CScriptArguments* /*arguments*/) override {
        pass("object_function");
    }

    void object_end() override { pass("object_end"); }

    void global_function(EFunctionType /*type*/, CScriptArguments* /*arguments*/) override {
        pass("global_function");
    }
};

class host_script : public CScript {
public:
    using CScript::CScript;

protected:
    CScriptArgument create_argument() override {
        pass("create_argument");
        return CScriptArgument(&CScriptArgument::delete_callback, new host_value);
    }

    CScriptSection* add_section(const char* where, const char* name) override {
        pass("add_section");
        if (get_name(name) != section_script) return CScript::add_section(where, name);
        return __add_section(std::make_unique<host_body>(where, name)); // NOLINT
    }
};

/// Null, or the section that was read.
CScriptSection* section_of(host_script& script) {
    script.init();
    if (script.section("App", "Include") == nullptr) return nullptr;
    return script.section("a", "Script");
}

bool reads() {
    host_script script(L"a.sc");
    return section_of(script) != nullptr;
}

bool fetches() {
    host_value value;
    return CScriptStorageInterface::get_python_script(L"a.sc", &value);
}

} // namespace

/// From every operation of a host, whatever it is: a std::exception ends in the engine's `section`,
/// all else reaches the host as it was, and the next time all is well.
TEST(ThrowingHost, GetsItsOwnExceptionsBack) {
    const support::temp_folder folder;
    support::package_builder package;
    package.payload = support::zip_builder{{{"a.sc", script_text}}}.build().content;
    folder.write("package", package.build());
    const std::wstring path = folder.wide_file("package");
    const std::wstring key = support::test_keys::signing().wide_public_path();
    mv_init(folder.wide_path().c_str());
    const auto install = [&] { return mv_update_scripts_package(path.c_str(), key.c_str()); };
    ASSERT_EQ(install(), mv_success);

    const struct {
        const char* where;
        bool (*work)();
    } rows[] = {{"clone", reads},           {"set_int", reads},      {"set_bool", reads},
                {"set_string", reads},      {"set_function", reads}, {"set_analyzer", reads},
                {"list_begin", reads},      {"list_add", reads},     {"list_end", reads},
                {"set_arguments", reads},   {"object_begin", reads}, {"object_property", reads},
                {"object_function", reads}, {"object_end", reads},   {"global_function", reads},
                {"create_argument", reads}, {"add_section", reads},  {"set_bytes", fetches}};

    for (const auto& [where, work] : rows) {
        SCOPED_TRACE(where);
        for (const thrown what : {thrown_int, thrown_nobodys, thrown_standard}) {
            fault = {where, what};
            if (what == thrown_int) {
                EXPECT_THROW(work(), int);
            } else if (what == thrown_nobodys) {
                EXPECT_THROW(work(), nobodys);
            } else if (work == fetches) {
                EXPECT_THROW(work(), std::runtime_error);
            } else {
                EXPECT_FALSE(work());
            }
            EXPECT_EQ(fault.passed, 1);
            EXPECT_EQ(alive, 0);
            fault = {where, thrown_nothing};
            EXPECT_TRUE(work());
            EXPECT_GE(fault.passed, 1);
        }
        EXPECT_EQ(install(), mv_success) << "no lock is held";
    }
    EXPECT_NE(support::read_file(folder.file("morvantic.log")).find("host fault"),
              std::string::npos);
    mv_shutdown();
}
