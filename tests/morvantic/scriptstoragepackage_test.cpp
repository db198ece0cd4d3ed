#include "morvantic/scriptstoragepackage.h"

#include "support/log_capture.h"
#include "support/memory_store.h"
#include "support/package_builder.h"
#include "support/zip_builder.h"

#include "core/text.h"
#include "morvantic/morvantic.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>

using namespace engine;
using support::zip_member;
using summary = std::vector<std::string>;

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
        return install(name);
    }

    unsigned short install(const std::string& name) {
        return mv_update_scripts_package(folder.wide_file(name).c_str(), key.c_str());
    }

    std::vector<std::wstring> scripts() {
        const core::name_set names = CScriptStorage::instance().script_names();
        return {names.begin(), names.end()};
    }

    std::string text_of(const std::wstring& name, EScriptFileKind kind = kind_script) {
        const core::input_stream_ptr stream = CScriptStorage::instance().open(kind, name);
        return stream ? stream->read_string(1000000) : "nothing";
    }

    support::temp_folder folder;
    std::wstring key = support::test_keys::signing().wide_public_path();
};

} // namespace

TEST_F(Package, MembersAreSortedByPrefixAndEnding) {
    ASSERT_EQ(install("p", package_of({{"b/a.sc", "b/a"},
                                       {".sc", "bare"},
                                       {"a.SC", "case"},
                                       {"Resources/x.sc", "x"},
                                       {"Resources/c.xml", "c"},
                                       {"resources/lower.txt", "lower"},
                                       {"m.py", "m"},
                                       {"q.xq", "q"},
                                       {"c.xml", std::string(70000, 'c')},
                                       {"readme.txt", "no"},
                                       {"folder.sc/", ""}})),
              0);
    EXPECT_EQ(scripts(), (std::vector<std::wstring>{L".sc", L"b/a.sc"}));
    EXPECT_EQ(text_of(L"b/a.sc"), "b/a");
    EXPECT_EQ(text_of(L"Resources/x.sc"), "x");
    EXPECT_EQ(text_of(L"c.xml", kind_python), std::string(70000, 'c'))
        << "the kind is not looked at";
    for (const wchar_t* name :
         {L"a.SC", L"resources/lower.txt", L"readme.txt", L"folder.sc/", L""}) {
        EXPECT_EQ(text_of(name), "nothing") << name;
    }
}

TEST_F(Package, RefusedPackageLeavesTheOldOneServing) {
    ASSERT_EQ(install("good", package_of({{"old.sc", "old"}})), 0);
    auto tampered = package_of({{"new.sc", "new"}});
    tampered.back() ^= 1;
    support::package_builder empty;
    empty.payload.clear();
    support::package_builder unknown;
    unknown.kind = "morvantic";

    const struct {
        const char* name;
        std::vector<std::uint8_t> bytes;
    } cases[] = {{"Tampered", tampered},
                 {"EmptyPayload", empty.build()},
                 {"UnknownKind", unknown.build()},
                 {"Short", std::vector<std::uint8_t>(1023)}};

    for (const auto& row : cases) {
        support::log_capture log(4);
        EXPECT_EQ(install(row.name, row.bytes), 5) << row.name;
        EXPECT_EQ(log.summary(),
                  (summary{"ERROR scriptstoragepackage: [EXC] Failed to load package.",
                           "ERROR scriptstorage: Failed to load package."}))
            << row.name;
        EXPECT_EQ(text_of(L"old.sc"), "old");
    }
    support::log_capture log(4);
    EXPECT_EQ(install("none at all"), 5);
    EXPECT_EQ(log.lines().size(), 3u);
    EXPECT_EQ(mv_update_scripts_package(folder.wide_file("good").c_str(), L"no key"), 5);
    EXPECT_EQ(mv_update_scripts_package(nullptr, L"x"), 50);
    EXPECT_EQ(mv_update_scripts_package(L"x", nullptr), 50);
    log.clear();
    EXPECT_EQ(mv_update_scripts_package(folder.wide_file("good").c_str(), L"k\xD800"), 5);
    EXPECT_EQ(log.count("bad conversion"), 1);
    EXPECT_EQ(scripts(), std::vector<std::wstring>{L"old.sc"});
}

TEST_F(Package, SoundSignatureOverNoArchiveReplacesTheOldOneByNothing) {
    ASSERT_EQ(install("good", package_of({{"old.sc", "old"}})), 0);
    EXPECT_EQ(install("none", support::package_builder().build()), 0);
    EXPECT_TRUE(scripts().empty());
    EXPECT_EQ(text_of(L"old.sc"), "nothing");
}

TEST_F(Package, NameThatIsNoUtf8LosesTheOldOne) {
    ASSERT_EQ(install("good", package_of({{"old.sc", "old"}})), 0);
    support::log_capture log(4);
    zip_member bad{"\xC3.sc", "bad"};
    bad.flags = 0x800;
    EXPECT_EQ(install("bad", package_of({{"a.sc", "a"}, bad})), 5);
    EXPECT_EQ(log.summary(), summary{"ERROR scriptstorage: bad conversion"});
    EXPECT_EQ(text_of(L"old.sc"), "nothing");
    EXPECT_EQ(mv_experiments(), 0);
    EXPECT_TRUE(scripts().empty()) << "there is no stream to list again";
}

TEST_F(Package, OpenedFilesOutliveTheirPackage) {
    ASSERT_EQ(install("p", package_of({{"a.sc", "first"}, {"b.sc", std::string(200000, 'b')}})), 0);
    const auto stored = CScriptStorage::instance().open_script(L"a.sc");
    const auto deflated = CScriptStorage::instance().open_script(L"b.sc");
    deflated->skip(100000);
    folder.write("other", package_of({{"a.sc", "second"}}));
    std::filesystem::rename(folder.file("other"), folder.file("p"));
    EXPECT_EQ(text_of(L"b.sc").size(), 200000u) << "the replaced file goes on serving";
    ASSERT_EQ(install("p"), 0);
    EXPECT_EQ(text_of(L"a.sc"), "second");
    std::filesystem::remove(folder.file("p"));
    EXPECT_EQ(text_of(L"a.sc"), "second");
    EXPECT_EQ(stored->read_string(100), "first");
    EXPECT_EQ(deflated->read_string(200000), std::string(100000, 'b'));
}

TEST_F(Package, StoredMemberEndsWhereItEnds) {
    zip_member stored{"a.sc", "the content"};
    stored.method = 0;
    ASSERT_EQ(install("p", package_of({stored, {"b.sc", "next"}})), 0);
    const auto stream = CScriptStorage::instance().open_script(L"a.sc");
    std::vector<std::uint8_t> room(1000);
    EXPECT_EQ(stream->read_impl(room.data(), room.size()), 11u) << "not the next member's header";
}

TEST_F(Package, MemberThatCannotBeOpened) {
    auto archive = support::zip_builder{{{"a.sc", "a"}, {"b.sc", "b"}}}.build();
    archive.put(archive.central_records[0] + support::central_offset, archive.content.size() - 28,
                4); // its name's length lies behind the end
    support::package_builder package;
    package.payload = archive.content;
    ASSERT_EQ(install("p", package.build()), 0);
    support::log_capture log(4);
    EXPECT_EQ(text_of(L"a.sc"), "nothing");
    EXPECT_EQ(text_of(L"b.sc"), "b");
    EXPECT_EQ(log.summary().back(),
              "ERROR scriptstoragepackage: File not found: Not enougth bytes.");
}

TEST_F(Package, AddingIsForAStorageWithoutOne) {
    folder.write("p", package_of({{"a.sc", "a"}}));
    folder.write("q", package_of({{"b.sc", "b"}}));
    CScriptStorage& storage = CScriptStorage::instance();
    EXPECT_THROW(storage.add_package(folder.wide_file("none"), key), core::exception);
    EXPECT_TRUE(storage.add_package(folder.wide_file("p"), key));
    EXPECT_FALSE(storage.add_package(folder.wide_file("q"), key));
    EXPECT_EQ(scripts(), std::vector<std::wstring>{L"a.sc"});
    EXPECT_EQ(mv_experiments(), 0);
}

TEST_F(Package, ListingAgainNeedsNoStream) {
    folder.write("p", package_of({{"a.sc", "a"}}));
    CScriptStoragePackage store(folder.wide_file("p"), key);
    EXPECT_FALSE(store.has_name(L"a.sc"));
    EXPECT_EQ(store.open_stream(kind_script, L"a.sc"), nullptr) << "not indexed yet";
    store.update();
    store.update();
    EXPECT_TRUE(store.has_name(L"a.sc"));
    store.clear_index();
    EXPECT_EQ(store.script_names().size(), 1u);
}
