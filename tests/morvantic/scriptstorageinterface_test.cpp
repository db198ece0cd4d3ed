#include "morvantic/scriptstorageinterface.h"

#include "support/log_capture.h"
#include "support/memory_store.h"
#include "support/received_file.h"
#include "support/test_streams.h"

#include <cstddef>
#include <gtest/gtest.h>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

using namespace engine;
using namespace std::string_literals;
using names = std::vector<std::wstring>;

namespace {

names rest_of(CScriptStorageInterface& storage) {
    names result;
    while (const wchar_t* name = storage.next())
        result.emplace_back(name);
    return result;
}

} // namespace

TEST(StorageInterface, WalksASnapshotOfTheScriptsInOrder) {
    support::installed_scripts scripts(
        {{L"b.sc", ""}, {L"a.sc", ""}, {L"\xFF5E.sc", ""}, {L"\x1F600.sc", ""}, {L"a.py", ""}});
    CScriptStorageInterface storage;
    scripts.store.files.clear();
    scripts.store.update();
    const names all{L"a.sc", L"b.sc", L"\x1F600.sc", L"\xFF5E.sc"}; // by 16-bit units
    EXPECT_EQ(rest_of(storage), all);
    EXPECT_EQ(storage.next(), nullptr);
    storage.reset();
    EXPECT_EQ(rest_of(storage), all);
}

TEST(StorageInterface, UpdateKeepsThePlaceOfTheWalk) {
    support::installed_scripts scripts({{L"b.sc", ""}, {L"c.sc", ""}});
    CScriptStorageInterface storage;
    storage.next();
    storage.next();
    scripts.store.files = {{L"a.sc", ""}, {L"b.sc", ""}, {L"c.sc", ""}, {L"d.sc", ""}};
    scripts.store.update();
    storage.update();
    EXPECT_EQ(rest_of(storage), (names{L"c.sc", L"d.sc"}));
    scripts.store.files = {{L"z.sc", ""}};
    scripts.store.update();
    storage.update();
    EXPECT_EQ(storage.next(), nullptr);
}

TEST(StorageInterface, AssignmentSharesTheOtherSnapshot) {
    support::installed_scripts scripts({{L"a.sc", ""}, {L"b.sc", ""}});
    alignas(CScriptStorageInterface) std::byte room[sizeof(CScriptStorageInterface)];
    auto* shallow = new (room) CScriptStorageInterface; // never destroyed
    CScriptStorageInterface storage;
    *shallow = storage;
    EXPECT_STREQ(shallow->next(), L"a.sc");
    EXPECT_STREQ(storage.next(), L"b.sc");
}

TEST(StorageInterface, HandsOutWholeFilesAsTheyAre) {
    support::installed_scripts scripts({{L"a.py", "\r\n\0\xFF"s}, {L"empty.xq", ""}});

    support::received_file callback;
    EXPECT_TRUE(CScriptStorageInterface::get_python_script(L"a.py", &callback));
    EXPECT_EQ(callback.content, "\r\n\0\xFF"s);
    EXPECT_EQ(scripts.store.last_kind, kind_python);
    EXPECT_TRUE(CScriptStorageInterface::get_resource_file(L"a.py", &callback));
    EXPECT_EQ(scripts.store.last_kind, kind_resource);
    EXPECT_TRUE(CScriptStorageInterface::get_xml_config_file(L"a.py", &callback));
    EXPECT_EQ(scripts.store.last_kind, kind_xml_config);
    EXPECT_TRUE(CScriptStorageInterface::get_xquery_script(L"empty.xq", &callback));
    EXPECT_EQ(scripts.store.last_kind, kind_xquery);
    EXPECT_EQ(callback.content, "");
    EXPECT_EQ(callback.calls, 4);
}

TEST(StorageInterface, NothingToHandOut) {
    support::installed_scripts scripts({{L"a.py", "text"}});
    support::received_file callback;
    EXPECT_FALSE(CScriptStorageInterface::get_python_script(L"a.py", nullptr));
    EXPECT_FALSE(CScriptStorageInterface::get_python_script(L"A.py", &callback));
    EXPECT_THROW(CScriptStorageInterface::get_python_script(nullptr, nullptr), std::logic_error);
    scripts.store.open = [](const std::string&) { return core::input_stream_ptr(); };
    EXPECT_FALSE(CScriptStorageInterface::get_python_script(L"a.py", &callback));
    EXPECT_EQ(callback.calls, 0);
}

TEST(StorageInterface, AShortReadEndsInZeros) {
    const support::log_capture log;
    support::installed_scripts scripts({{L"a.py", "text"}});
    scripts.store.open = [](const std::string& content) -> core::input_stream_ptr {
        return std::make_unique<support::trickle_stream>(support::to_bytes(content), 3);
    };
    support::received_file callback;
    EXPECT_TRUE(CScriptStorageInterface::get_python_script(L"a.py", &callback));
    EXPECT_EQ(callback.content, "tex\0"s);
    EXPECT_EQ(log.count("[ASSERT] readed == scriptCache.size()"), 1);
}
