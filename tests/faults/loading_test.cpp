#include "support/package_builder.h"
#include "support/zip_builder.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <gtest/gtest.h>

namespace {

int open_descriptors() {
    int count = 0;
    for (int number = 0; number != 64; ++number)
        count += fcntl(number, F_GETFD) >= 0 ? 1 : 0;
    return count;
}

} // namespace

/// The engine leaves with its host, and comes back as new.
TEST(Loading, AHundredTimes) {
    const support::temp_folder folder;
    support::package_builder package;
    package.payload =
        support::zip_builder{{{"a.sc", "::App::Header::{}"}, {"a.py", "content"}}}.build().content;
    folder.write("package", package.build());
    const std::wstring log = folder.wide_path();
    const std::wstring path = folder.wide_file("package");
    const std::wstring key = support::test_keys::signing().wide_public_path();
    const int descriptors = open_descriptors();
    for (int round = 0; round != 100; ++round) {
        void* module = dlopen(LOADED_HOST, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(module, nullptr) << dlerror();
        const auto use_engine =
            reinterpret_cast<bool (*)(const wchar_t*, const wchar_t*, const wchar_t*)>(
                dlsym(module, "use_engine"));
        ASSERT_NE(use_engine, nullptr);
        ASSERT_TRUE(use_engine(log.c_str(), path.c_str(), key.c_str()));
        dlclose(module);
        ASSERT_EQ(dlopen(MORVANTIC_LIBRARY, RTLD_NOW | RTLD_NOLOAD), nullptr) << "it stays";
        ASSERT_EQ(open_descriptors(), descriptors);
    }
}
