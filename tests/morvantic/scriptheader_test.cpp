#include "morvantic/scriptheader.h"

#include "morvantic/scriptheaderimpl.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

using namespace engine;
using strings = std::vector<std::string>;

namespace {

void add_package(CScriptHeaderImpl& header, strings names, EPlatformTypes platforms,
                 strings namespaces, bool extra_fs = false) {
    auto package = std::make_unique<CScriptHeaderImpl::CPackage>();
    package->names = std::move(names);
    package->platform.setType(platforms);
    package->record_namespaces = std::move(namespaces);
    package->has_extra_fs = extra_fs;
    header.packages.push_back(std::move(package));
}

/// Records that overlap: the same name for two platforms, and twice for one of them.
void fill(CScriptHeaderImpl& header) {
    add_package(header, {"mail", "post"}, platform_android, {"Mail", "Post"});
    add_package(header, {"mail"}, platform_ios | platform_blackberry, {"Other"});
    add_package(header, {"mail"}, platform_android, {"Extra"}, true);
    add_package(header, {"bare"}, platform_none, {});
    add_package(header, {}, platform_android, {"Nobody"});
}

using walk = const char* (CScriptHeaderImpl::*)();
constexpr walk namespaces = &CScriptHeaderImpl::namespace_next;
constexpr walk package_names = &CScriptHeaderImpl::package_names_next;

strings rest_of(CScriptHeaderImpl& header, walk next) {
    strings names;
    while (const char* name = (header.*next)())
        names.emplace_back(name);
    return names;
}

struct selection {
    bool (CScriptHeaderImpl::*select)(const char*, const CPlatformType&);
    const char* package;
    EPlatformTypes platform;
    strings namespaces; // just "before" if nothing is selected
};

constexpr auto accept = &CScriptHeaderImpl::accept;
constexpr auto extra = &CScriptHeaderImpl::has_extra_fs;

const selection selections[] = {
    {accept, "mail", platform_android, {"Mail", "Post"}},
    {accept, "post", platform_android, {"Mail", "Post"}},
    {accept, "mail", platform_blackberry, {"Other"}},
    {accept, "mail", platform_ios | platform_windows_phone, {"Other"}},
    {accept, "mail", platform_none, {"before"}},
    {accept, "bare", platform_none, {}},
    {accept, "bare", platform_android, {"before"}},
    {accept, "Mail", platform_android, {"before"}},
    {accept, "", platform_android, {"before"}},
    {accept, nullptr, platform_android, {"before"}},
    {extra, "mail", platform_android, {"Extra"}}, // past the records without
    {extra, "mail", platform_ios, {"before"}},
    {extra, "post", platform_android, {"before"}},
};

} // namespace

TEST(Header, SelectionReplacesTheNamespacesIfItSucceeds) {
    for (const selection& row : selections) {
        SCOPED_TRACE(&row - selections);
        CScriptHeaderImpl header;
        fill(header);
        header.namespaces = {"before"};
        EXPECT_EQ((header.*row.select)(row.package, CPlatformType(row.platform)),
                  row.namespaces != strings{"before"});
        EXPECT_EQ(rest_of(header, namespaces), row.namespaces);
    }
}

TEST(Header, WalkOfNamespacesOutlivesASelection) {
    CScriptHeaderImpl header;
    fill(header);
    ASSERT_TRUE(header.accept("mail", CPlatformType(platform_android)));
    EXPECT_STREQ(header.namespace_next(), "Mail");
    ASSERT_TRUE(header.accept("post", CPlatformType(platform_android)));
    EXPECT_EQ(rest_of(header, namespaces), strings{"Post"});
    ASSERT_TRUE(header.accept("mail", CPlatformType(platform_ios)));
    EXPECT_EQ(rest_of(header, namespaces), strings{}); // the cursor is past the shorter list
}

TEST(Header, ABrokenOffWalkOfNamesGoesOnInsideItsRecord) {
    CScriptHeaderImpl header;
    fill(header);
    EXPECT_STREQ(header.package_names_next(), "mail");
    header.package_cursor = 0;
    EXPECT_EQ(rest_of(header, package_names), (strings{"post", "mail", "mail", "bare"}));
    EXPECT_EQ(rest_of(header, package_names), strings{});
    header.package_cursor = 0;
    EXPECT_EQ(rest_of(header, package_names), (strings{"mail", "post", "mail", "mail", "bare"}));
}

TEST(Header, WithoutRecordsNothingIsAccepted) {
    CScriptHeader header("App", "Header");
    EXPECT_FALSE(header.accept("mail", CPlatformType(platform_android), nullptr));
    EXPECT_FALSE(header.hasExtraFS("mail", CPlatformType(platform_android), "1"));
    EXPECT_EQ(header.packageNames_next(), nullptr);
    EXPECT_EQ(header.namespace_next(), nullptr);
}
