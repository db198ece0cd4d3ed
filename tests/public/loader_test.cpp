#include <dlfcn.h>
#include <gtest/gtest.h>

namespace {

/// One of the library's functions by its name, as a host without its headers would call it.
template <class... Args>
auto function(void* library, const char* name) {
    auto* found = reinterpret_cast<unsigned short (*)(Args...)>(dlsym(library, name));
    EXPECT_NE(found, nullptr) << name;
    return found;
}

} // namespace

TEST(Loader, TheFiveFunctionsByName) {
    void* library = dlopen(MORVANTIC_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(library, nullptr) << dlerror();
    EXPECT_EQ(function<const wchar_t*>(library, "mv_init")(nullptr), 0);
    EXPECT_EQ((function<unsigned short, bool>(library, "mv_set_log_level")(5, false)), 0);
    const auto update =
        function<const wchar_t*, const wchar_t*>(library, "mv_update_scripts_package");
    EXPECT_EQ(update(L"", L""), 5);
    EXPECT_EQ(function<>(library, "mv_experiments")(), 0);
    EXPECT_EQ(function<>(library, "mv_shutdown")(), 0);
    dlclose(library);
}
