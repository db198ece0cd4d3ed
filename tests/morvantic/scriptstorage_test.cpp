#include "morvantic/scriptstorage.h"

#include "support/log_capture.h"
#include "support/memory_store.h"

#include <filesystem>
#include <gtest/gtest.h>

using namespace engine;
using seam = storage_test_seam;
using support::memory_store;
using wide_names = std::vector<std::wstring>;

namespace {

/// Three stores, which a test may leave out one by one.
class Storage : public testing::Test {
protected:
    ~Storage() override {
        for (auto* slot : {&seam::package(), &seam::folder(), &seam::file()})
            slot->reset();
    }

    static std::string text_of(const core::input_stream_ptr& stream) {
        return stream ? stream->read_string(100) : "nothing";
    }

    wide_names listed() {
        const core::name_set names = storage.script_names();
        return {names.begin(), names.end()};
    }

    CScriptStorage& storage = CScriptStorage::instance();
};

} // namespace

TEST_F(Storage, FirstStoreThatHasTheNameDecides) {
    EXPECT_EQ(storage.open_script(L"a.sc"), nullptr);
    support::put_store(seam::package(),
                       {{L"a.sc", "package"}, {L"b.py", "package"}, {L"p.xq", "p"}});
    support::put_store(seam::file(), {{L"a.sc", "file"}, {L"b.py", "file"}});
    memory_store& folder = support::put_store(seam::folder(), {{L"a.sc", "folder"}});
    EXPECT_EQ(text_of(storage.open_script(L"a.sc")), "folder");
    EXPECT_EQ(text_of(storage.open_python(L"b.py")), "file");
    EXPECT_EQ(text_of(storage.open_xquery(L"p.xq")), "p");
    EXPECT_EQ(text_of(storage.open_script(L"A.sc")), "nothing") << "names differ by case";

    folder.refused = kind_resource;
    EXPECT_EQ(text_of(storage.open_resource(L"a.sc")), "nothing") << "no falling through";
}

TEST_F(Storage, ListingMergesAndSortsByUnits) {
    support::put_store(seam::package(),
                       {{L"\x1F600.sc", ""}, {L"\xFF5E.sc", ""}, {L"both.sc", ""}});
    support::put_store(seam::folder(), {{L"both.sc", ""}, {L"only.xq", ""}, {L"x.SC", ""}});
    support::put_store(seam::file(), {{L"f.sc", "neither listed nor contained"}});
    EXPECT_EQ(listed(), (wide_names{L"both.sc", L"\x1F600.sc", L"\xFF5E.sc"}));
    EXPECT_TRUE(storage.contains(L"only.xq"));
    EXPECT_FALSE(storage.contains(L"f.sc"));
}

TEST_F(Storage, StoreThatFailedToLoadIsLoadedByTheNextListing) {
    memory_store& store = support::put_store(seam::package(), {{L"a.sc", "a"}});
    store.fails = true;
    EXPECT_THROW(store.update(), core::exception);
    EXPECT_THROW(storage.script_names(), core::exception);
    EXPECT_FALSE(storage.contains(L"a.sc")) << "looks up without loading";
    store.fails = false;
    EXPECT_EQ(listed(), wide_names{L"a.sc"});
    EXPECT_TRUE(storage.contains(L"a.sc"));
    storage.script_names();
    EXPECT_EQ(store.updates, 4);
}

TEST_F(Storage, FolderServesItsOwnFilesByTheirEndings) {
    const support::temp_folder folder;
    for (const char* name :
         {"a.sc", "b.xq.sc", "q.xq", "p.py", "c.xml", "A.SC", "sub/d.sc", "n.txt"})
        folder.write(name, name);
    folder.write("caf\xE9.sc", "no UTF-8");
    ASSERT_TRUE(storage.add_folder(folder.wide_path() + L"/"));
    EXPECT_FALSE(storage.add_folder(L"/elsewhere"));
    EXPECT_EQ(listed(), (wide_names{L"a.sc", L"b.xq.sc", L"caf\xDCE9.sc"}));
    EXPECT_EQ(text_of(storage.open_script(L"caf\xDCE9.sc")), "no UTF-8");
    EXPECT_EQ(text_of(storage.open_python(L"c.xml")), "c.xml") << "the kind is not looked at";
    EXPECT_EQ(text_of(storage.open_resource(L"c.xml")), "nothing") << "but for resources";
    for (const wchar_t* name : {L"A.SC", L"sub/d.sc", L"d.sc", L"n.txt"})
        EXPECT_EQ(text_of(storage.open_script(name)), "nothing") << name;

    std::filesystem::remove(folder.file("q.xq"));
    EXPECT_EQ(text_of(storage.open_xquery(L"q.xq")), "") << "indexed and gone";
}

TEST_F(Storage, SingleFilesAreResourcesUnderNamesOfTheirOwn) {
    const support::temp_folder folder;
    folder.write("one", "first");
    folder.write("two", "second");
    for (const auto& [file, name] :
         {std::pair("one", L"logo.sc"), {"two", L"logo.sc"}, {"two", L"other"}, {"no", L"gone"}}) {
        EXPECT_TRUE(storage.add_file(folder.wide_file(file), name));
    }
    EXPECT_EQ(text_of(storage.open_resource(L"logo.sc")), "first") << "the old entry stays";
    EXPECT_EQ(text_of(storage.open_resource(L"other")), "second");
    EXPECT_EQ(text_of(storage.open_resource(L"gone")), "");
    EXPECT_EQ(text_of(storage.open_script(L"logo.sc")), "nothing");

    const support::log_capture log;
    support::put_store(seam::file(), {});
    EXPECT_TRUE(storage.add_file(folder.wide_file("one"), L"logo"));
    EXPECT_EQ(log.count("[ASSERT] resourceFile != nullptr"), 1);
}
