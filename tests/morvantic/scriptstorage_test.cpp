#include "morvantic/scriptstorage.h"

#include "support/log_capture.h"
#include "support/memory_store.h"

#include <filesystem>
#include <gtest/gtest.h>

using namespace engine;
using support::memory_store;

namespace {

/// Three stores, which a test may leave out one by one.
class Storage : public testing::Test {
protected:
    void TearDown() override {
        for (auto* slot : {&storage_test_seam::package(), &storage_test_seam::folder(),
                           &storage_test_seam::file()}) {
            slot->reset();
        }
    }

    static std::string text_of(const core::input_stream_ptr& stream) {
        return stream ? stream->read_string(100) : "nothing";
    }

    CScriptStorage& storage = CScriptStorage::instance();
};

} // namespace

TEST_F(Storage, EmptyStorageKnowsNothing) {
    EXPECT_FALSE(storage.contains(L"a.sc"));
    EXPECT_EQ(storage.find_store(L"a.sc"), nullptr);
    EXPECT_EQ(storage.open_script(L"a.sc"), nullptr);
    EXPECT_TRUE(storage.script_names().empty());
}

TEST_F(Storage, FirstStoreThatHasTheNameDecides) {
    support::put_store(storage_test_seam::package(),
                       {{L"a.sc", "package"}, {L"b.py", "package"}, {L"p.xq", "p"}});
    support::put_store(storage_test_seam::file(), {{L"a.sc", "file"}, {L"b.py", "file"}});
    memory_store& folder = support::put_store(storage_test_seam::folder(), {{L"a.sc", "folder"}});
    EXPECT_EQ(text_of(storage.open_script(L"a.sc")), "folder");
    EXPECT_EQ(text_of(storage.open_python(L"b.py")), "file");
    EXPECT_EQ(text_of(storage.open_xquery(L"p.xq")), "p");
    EXPECT_EQ(text_of(storage.open_script(L"A.sc")), "nothing") << "names differ by case";

    folder.refused = kind_resource;
    EXPECT_EQ(text_of(storage.open_resource(L"a.sc")), "nothing") << "no falling through";
}

TEST_F(Storage, SingleFilesAreNeitherListedNorContained) {
    support::put_store(storage_test_seam::file(), {{L"f.sc", "file"}});
    EXPECT_TRUE(storage.script_names().empty());
    EXPECT_FALSE(storage.contains(L"f.sc"));
    EXPECT_NE(storage.find_store(L"f.sc"), nullptr);
}

TEST_F(Storage, ListingMergesAndSortsByUnits) {
    support::put_store(storage_test_seam::package(),
                       {{L"\x1F600.sc", ""}, {L"\xFF5E.sc", ""}, {L"both.sc", ""}});
    support::put_store(storage_test_seam::folder(),
                       {{L"both.sc", ""}, {L"only.xq", ""}, {L"x.SC", ""}});
    const core::name_set names = storage.script_names();
    EXPECT_EQ((std::vector<std::wstring>(names.begin(), names.end())),
              (std::vector<std::wstring>{L"both.sc", L"\x1F600.sc", L"\xFF5E.sc"}));
}

TEST_F(Storage, StoreThatFailedToLoadIsLoadedByTheNextListing) {
    auto owned = std::make_unique<memory_store>(memory_store::texts{{L"a.sc", "a"}});
    memory_store& store = *owned;
    storage_test_seam::package() = std::move(owned);
    store.fails = true;
    EXPECT_THROW(storage.script_names(), core::exception);
    EXPECT_FALSE(storage.contains(L"a.sc"));
    EXPECT_FALSE(store.has_name(L"a.sc")) << "looks up without loading";
    store.fails = false;
    EXPECT_EQ(storage.script_names().size(), 1u);
    EXPECT_TRUE(storage.contains(L"a.sc"));
    storage.script_names();
    EXPECT_EQ(store.updates, 2);
}

TEST_F(Storage, FolderServesItsOwnFilesByTheirEndings) {
    const support::temp_folder folder;
    folder.write("a.sc", std::string(40000, 'a'));
    for (const char* name : {"b.xq.sc", "q.xq", "p.py", "c.xml", "A.SC", "sub/d.sc", "n.txt"})
        folder.write(name, name);
    folder.write("caf\xE9.sc", "no UTF-8");
    ASSERT_TRUE(storage.add_folder(folder.wide_path() + L"/"));
    EXPECT_FALSE(storage.add_folder(L"/elsewhere"));
    const core::name_set names = storage.script_names();
    EXPECT_EQ((std::vector<std::wstring>(names.begin(), names.end())),
              (std::vector<std::wstring>{L"a.sc", L"b.xq.sc", L"caf\xDCE9.sc"}));
    EXPECT_EQ(text_of(storage.open_script(L"caf\xDCE9.sc")), "no UTF-8");
    EXPECT_EQ(text_of(storage.open_python(L"c.xml")), "c.xml") << "the kind is not looked at";
    EXPECT_EQ(text_of(storage.open_resource(L"c.xml")), "nothing") << "but for resources";
    for (const wchar_t* name : {L"A.SC", L"sub/d.sc", L"d.sc", L"n.txt"})
        EXPECT_EQ(text_of(storage.open_script(name)), "nothing") << name;

    // One section lies before the other: a short seek back behind a direct read.
    const core::input_stream_ptr script = storage.open_script(L"a.sc");
    EXPECT_EQ(script->read_string(40000), std::string(40000, 'a'));
    EXPECT_TRUE(script->set_pos(39000));
    EXPECT_EQ(script->read_uint8(), 'a');

    std::filesystem::remove(folder.file("q.xq"));
    EXPECT_EQ(text_of(storage.open_xquery(L"q.xq")), "") << "indexed and gone";
}

TEST_F(Storage, SingleFilesAreResourcesUnderNamesOfTheirOwn) {
    const support::temp_folder folder;
    folder.write("one", "first");
    folder.write("two", "second");
    EXPECT_TRUE(storage.add_file(folder.wide_file("one"), L"logo.sc"));
    EXPECT_TRUE(storage.add_file(folder.wide_file("two"), L"logo.sc"));
    EXPECT_TRUE(storage.add_file(folder.wide_file("two"), L"other"));
    EXPECT_TRUE(storage.add_file(folder.wide_file("none"), L"gone"));
    EXPECT_EQ(text_of(storage.open_resource(L"logo.sc")), "first") << "the old entry stays";
    EXPECT_EQ(text_of(storage.open_resource(L"other")), "second");
    EXPECT_EQ(text_of(storage.open_resource(L"gone")), "");
    EXPECT_EQ(text_of(storage.open_script(L"logo.sc")), "nothing");
    EXPECT_TRUE(storage.script_names().empty());

    const support::log_capture log;
    support::put_store(storage_test_seam::file(), {});
    EXPECT_TRUE(storage.add_file(folder.wide_file("one"), L"logo"));
    EXPECT_EQ(log.count("[ASSERT] resourceFile != nullptr"), 1);
}
