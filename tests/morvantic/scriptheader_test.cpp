#include "morvantic/scriptheader.h"

#include "morvantic/scriptheaderimpl.h"
#include "support/rows.h"

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

strings rest_of_namespaces(CScriptHeaderImpl& header) {
    strings names;
    while (const char* name = header.namespace_next())
        names.emplace_back(name);
    return names;
}

strings some_names(CScriptHeaderImpl& header, std::size_t most = 100) {
    strings names;
    while (names.size() != most) {
        const char* name = header.package_names_next();
        if (name == nullptr) break;
        names.emplace_back(name);
    }
    return names;
}

struct selection {
    const char* name;
    bool (CScriptHeaderImpl::*select)(const char*, const CPlatformType&);
    const char* package;
    EPlatformTypes platform;
    bool selected;
    strings namespaces;
};

constexpr auto accept = &CScriptHeaderImpl::accept;
constexpr auto extra = &CScriptHeaderImpl::has_extra_fs;

const selection selections[] = {
    {"FirstRecord", accept, "mail", platform_android, true, {"Mail", "Post"}},
    {"SecondName", accept, "post", platform_android, true, {"Mail", "Post"}},
    {"OtherPlatform", accept, "mail", platform_blackberry, true, {"Other"}},
    {"AnyOfSeveral", accept, "mail", platform_ios | platform_windows_phone, true, {"Other"}},
    {"NoPlatformAsked", accept, "mail", platform_none, false, {"before"}},
    {"NoPlatformInRecord", accept, "bare", platform_none, true, {}},
    {"PlatformForBareRecord", accept, "bare", platform_android, false, {"before"}},
    {"OtherCase", accept, "Mail", platform_android, false, {"before"}},
    {"EmptyName", accept, "", platform_android, false, {"before"}},
    {"NullName", accept, nullptr, platform_android, false, {"before"}},
    {"ExtraGoesPastRecordsWithout", extra, "mail", platform_android, true, {"Extra"}},
    {"ExtraNeedsThePlatform", extra, "mail", platform_ios, false, {"before"}},
    {"ExtraNeedsTheName", extra, "post", platform_android, false, {"before"}},
};

class HeaderSelection : public testing::TestWithParam<selection> {};

} // namespace

TEST_P(HeaderSelection, ReplacesTheNamespacesIfItSucceeds) {
    CScriptHeaderImpl header;
    fill(header);
    header.namespaces = {"before"};
    const selection& row = GetParam();
    EXPECT_EQ((header.*row.select)(row.package, CPlatformType(row.platform)), row.selected);
    EXPECT_EQ(rest_of_namespaces(header), row.namespaces);
}

INSTANTIATE_TEST_SUITE_P(Rows, HeaderSelection, testing::ValuesIn(selections), support::row_name);

TEST(Header, WalkOfNamespacesOutlivesASelection) {
    CScriptHeaderImpl header;
    fill(header);
    ASSERT_TRUE(header.accept("mail", CPlatformType(platform_android)));
    EXPECT_STREQ(header.namespace_next(), "Mail");
    ASSERT_TRUE(header.accept("post", CPlatformType(platform_android)));
    EXPECT_EQ(rest_of_namespaces(header), strings{"Post"});
    ASSERT_TRUE(header.accept("mail", CPlatformType(platform_ios)));
    EXPECT_EQ(rest_of_namespaces(header), strings{}); // the cursor is past the shorter list
}

TEST(Header, NamesOfAllRecords) {
    CScriptHeaderImpl header;
    fill(header);
    const strings all{"mail", "post", "mail", "mail", "bare"};
    EXPECT_EQ(some_names(header), all);
    EXPECT_EQ(some_names(header), strings{});
    header.package_cursor = 0;
    EXPECT_EQ(some_names(header), all);
}

TEST(Header, ABrokenOffWalkGoesOnInsideItsRecord) {
    CScriptHeaderImpl header;
    fill(header);
    EXPECT_EQ(some_names(header, 1), strings{"mail"});
    header.package_cursor = 0;
    EXPECT_EQ(some_names(header), (strings{"post", "mail", "mail", "bare"}));
}

TEST(Header, WithoutRecordsNothingIsAccepted) {
    CScriptHeader header("App", "Header");
    EXPECT_FALSE(header.accept("mail", CPlatformType(platform_android)));
    EXPECT_FALSE(header.accept("mail", CPlatformType(platform_android), nullptr));
    EXPECT_FALSE(header.hasExtraFS("mail", CPlatformType(platform_android), "1"));
    EXPECT_EQ(header.packageNames_next(), nullptr);
    EXPECT_EQ(header.namespace_next(), nullptr);
}
