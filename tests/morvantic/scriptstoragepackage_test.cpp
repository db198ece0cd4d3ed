#include "morvantic/scriptstoragepackage.h"

#include "support/log_capture.h"
#include "support/memory_store.h"
#include "support/package_builder.h"
#include "support/zip_builder.h"

#include "morvantic/morvantic.h"

#include <filesystem>
#include <gtest/gtest.h>

using namespace engine;
using support::zip_member;
using summary = std::vector<std::string>;
using wide_names = std::vector<std::wstring>;

namespace {

std::vector<std::uint8_t> package_of(std::vector<zip_member> members) {
    support::package_builder package;
    package.payload = support::zip_builder{std::move(members)}.build().content;
    return package.build();
}

/// Packages in a folder, installed through the entry point.
class Package : public testing::Test {
protected:
    ~Package() override { storage_test_seam::package().reset(); }

    unsigned short install(const std::string& name, const std::vector<std::uint8_t>& bytes) {
        folder.write(name, bytes);
        return mv_update_scripts_package(folder.wide_file(name).c_str(), key.c_str());
    }

    wide_names scripts() {
        const core::name_set names = storage.script_names();
        return {names.begin(), names.end()};
    }

    std::string text_of(const std::wstring& name) {
        const core::input_stream_ptr stream =
            storage.open_python(name); // the kind is not looked at
        return stream ? stream->read_string(1000000) : "nothing";
    }

    CScriptStorage& storage = CScriptStorage::instance();
    support::temp_folder folder;
    std::wstring key = support::test_keys::signing().wide_public_path();
};

} // namespace

TEST_F(Package, MembersAreSortedByPrefixAndEnding) {
    std::vector<zip_member> members;
    for (const char* name :
         {"b/a.sc", ".sc", "a.SC", "Resources/x.sc", "resources/lower.txt", "c.xml", "folder.sc/"})
        members.push_back({name, name});
    ASSERT_EQ(install("p", package_of(members)), 0);
    EXPECT_EQ(scripts(), (wide_names{L".sc", L"b/a.sc"}));
    for (const char* name : {"b/a.sc", ".sc", "Resources/x.sc", "c.xml"})
        EXPECT_EQ(text_of(to_wide(name)), name);
    for (const wchar_t* name : {L"a.SC", L"resources/lower.txt", L"folder.sc/", L""})
        EXPECT_EQ(text_of(name), "nothing") << name;
}

TEST_F(Package, RefusedPackageLeavesTheOldOneServing) {
    ASSERT_EQ(install("good", package_of({{"old.sc", "old"}})), 0);
    auto tampered = package_of({{"new.sc", "new"}});
    tampered.back() ^= 1;
    support::log_capture log(4);
    EXPECT_EQ(install("bad", tampered), 5);
    EXPECT_EQ(log.summary(), (summary{"ERROR scriptstoragepackage: [EXC] Failed to load package.",
                                      "ERROR scriptstorage: Failed to load package."}));
    const std::wstring good = folder.wide_file("good");
    EXPECT_EQ(mv_update_scripts_package(L"none at all", key.c_str()), 5);
    EXPECT_EQ(mv_update_scripts_package(nullptr, key.c_str()), 50);
    EXPECT_EQ(mv_update_scripts_package(good.c_str(), nullptr), 50);
    EXPECT_EQ(mv_update_scripts_package(good.c_str(), L"no key"), 5);
    EXPECT_EQ(mv_update_scripts_package(good.c_str(), L"k\xD800"), 5);
    EXPECT_EQ(log.count("bad conversion"), 1);
    EXPECT_EQ(scripts(), wide_names{L"old.sc"});
    EXPECT_EQ(text_of(L"old.sc"), "old");
}

TEST_F(Package, SoundSignatureOverNoGoodArchiveLosesTheOldOne) {
    ASSERT_EQ(install("good", package_of({{"old.sc", "old"}})), 0);
    EXPECT_EQ(install("none", support::package_builder().build()), 0);
    EXPECT_TRUE(scripts().empty());
    EXPECT_EQ(text_of(L"old.sc"), "nothing");

    support::log_capture log(4);
    ASSERT_EQ(install("good", package_of({{"old.sc", "old"}})), 0);
    EXPECT_EQ(install("bad", package_of({{"a.sc", "a"}, {"\xC3.sc", "no UTF-8", 8, 0x800}})), 5);
    EXPECT_EQ(log.summary(), summary{"ERROR scriptstorage: bad conversion"});
    EXPECT_EQ(text_of(L"old.sc"), "nothing");
    EXPECT_EQ(mv_experiments(), 0);
    EXPECT_TRUE(scripts().empty()) << "there is no stream to list again";
}

TEST_F(Package, OpenedFilesOutliveTheirPackage) {
    ASSERT_EQ(install("p", package_of({{"a.sc", "first"}, {"b.sc", std::string(200000, 'b')}})), 0);
    const auto stored = storage.open_script(L"a.sc");
    const auto deflated = storage.open_script(L"b.sc");
    deflated->skip(100000);
    ASSERT_EQ(install("p", package_of({{"a.sc", "second"}})), 0);
    std::filesystem::remove(folder.file("p"));
    EXPECT_EQ(text_of(L"a.sc"), "second");
    EXPECT_EQ(stored->read_string(100), "first");
    EXPECT_EQ(deflated->read_string(200000), std::string(100000, 'b'));
}

TEST_F(Package, MemberThatCannotBeOpened) {
    auto archive = support::zip_builder{{{"a.sc", "a"}}}.build();
    archive.put(archive.central_records[0] + support::central_offset, archive.content.size() - 28,
                4); // its name's length lies behind the end
    support::package_builder package;
    package.payload = archive.content;
    ASSERT_EQ(install("p", package.build()), 0);
    support::log_capture log(4);
    EXPECT_EQ(text_of(L"a.sc"), "nothing");
    EXPECT_EQ(log.summary().back(),
              "ERROR scriptstoragepackage: File not found: Not enougth bytes.");
}

TEST_F(Package, AddingIsForAStorageWithoutOne) {
    folder.write("p", package_of({{"a.sc", "a"}}));
    EXPECT_THROW(storage.add_package(folder.wide_file("none"), key), core::exception);
    EXPECT_TRUE(storage.add_package(folder.wide_file("p"), key));
    EXPECT_FALSE(storage.add_package(folder.wide_file("none"), key));
    EXPECT_EQ(scripts(), wide_names{L"a.sc"});
}
