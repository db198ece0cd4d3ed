#include "support/package_builder.h"
#include "support/zip_builder.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <unistd.h>

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

int first_free_descriptor() {
    const int number = dup(0);
    close(number);
    return number;
}

class Host : public testing::TestWithParam<const char*> {};

} // namespace

/// Whatever operation of the host throws, the exception is its own and the next time all is well.
/// The engine leaves with its host, and comes back as new.
TEST_P(Host, ThrowsWhateverItLikes) {
    const support::temp_folder folder;
    support::package_builder package;
    package.payload =
        support::zip_builder{{{"a.sc", script_text}, {"a.py", "content"}}}.build().content;
    folder.write("package", package.build());
    const std::wstring log = folder.wide_path();
    const std::wstring path = folder.wide_file("package");
    const std::wstring key = support::test_keys::signing().wide_public_path();
    const int descriptor = first_free_descriptor();
    for (const char* where :
         {"clone", "set_int", "set_bool", "set_string", "set_function", "set_analyzer", "set_bytes",
          "list_begin", "list_add", "list_end", "set_arguments", "object_begin", "object_property",
          "object_function", "object_end", "global_function", "create_argument", "add_section"}) {
        void* module = dlopen(GetParam(), RTLD_NOW | RTLD_LOCAL | (STAYS ? RTLD_NODELETE : 0));
        ASSERT_NE(module, nullptr) << dlerror();
        const auto use_engine =
            reinterpret_cast<const char* (*)(const wchar_t*, const wchar_t*, const wchar_t*,
                                             const char*)>(dlsym(module, "use_engine"));
        ASSERT_NE(use_engine, nullptr);
        ASSERT_STREQ(use_engine(log.c_str(), path.c_str(), key.c_str(), where), nullptr) << where;
        dlclose(module);
        EXPECT_EQ(dlopen(MORVANTIC_LIBRARY, RTLD_NOW | RTLD_NOLOAD) != nullptr, STAYS);
        EXPECT_EQ(first_free_descriptor(), descriptor);
    }
    EXPECT_NE(support::read_file(folder.file("morvantic.log")).find("host fault"),
              std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(Each, Host, testing::Values(HOSTS));
