#include "morvantic/scriptstorageinterface.h"

#include "support/log_capture.h"
#include "support/memory_store.h"
#include "support/received_file.h"

#include <gtest/gtest.h>
#include <new>
#include <stdexcept>
#include <tuple>

using namespace engine;
using namespace std::string_literals;
using files = CScriptStorageInterface;

namespace {

/// What is left of the walk; names here have one letter.
std::wstring rest_of(files& storage) {
    std::wstring letters;
    while (const wchar_t* name = storage.next())
        letters += name[0];
    return letters;
}

} // namespace

TEST(StorageInterface, WalksASnapshotUntilItIsUpdated) {
    support::installed_scripts scripts({{L"b.sc", ""}, {L"c.sc", ""}, {L"a.py", ""}});
    files storage;
    scripts.store.files = {{L"a.sc", ""}, {L"b.sc", ""}, {L"c.sc", ""}, {L"d.sc", ""}};
    scripts.store.update();
    EXPECT_EQ(rest_of(storage), L"bc");
    EXPECT_EQ(storage.next(), nullptr);
    storage.update();
    EXPECT_EQ(rest_of(storage), L"cd") << "it keeps its place";
    storage.reset();
    EXPECT_EQ(rest_of(storage), L"abcd");
    scripts.store.files = {{L"z.sc", ""}};
    scripts.store.update();
    storage.update();
    EXPECT_EQ(storage.next(), nullptr);
}

TEST(StorageInterface, AssignmentSharesTheOtherSnapshot) {
    support::installed_scripts scripts({{L"a.sc", ""}, {L"b.sc", ""}});
    alignas(files) std::byte room[sizeof(files)];
    auto* shallow = new (room) files; // never destroyed
    files storage;
    *shallow = storage;
    EXPECT_STREQ(shallow->next(), L"a.sc");
    EXPECT_STREQ(storage.next(), L"b.sc");
}

TEST(StorageInterface, HandsOutWholeFilesAsTheyAre) {
    const std::string text = "\r\n\0\xFF"s;
    support::installed_scripts scripts({{L"a.py", text}, {L"empty.xq", ""}});
    support::received_file callback;
    for (const auto& [get, name, kind, content] :
         {std::tuple(&files::get_python_script, L"a.py", kind_python, text),
          {&files::get_resource_file, L"a.py", kind_resource, text},
          {&files::get_xquery_script, L"empty.xq", kind_xquery, ""},
          {&files::get_xml_config_file, L"a.py", kind_xml_config, text}}) {
        EXPECT_TRUE(get(name, &callback));
        EXPECT_EQ(scripts.store.last_kind, kind);
        EXPECT_EQ(callback.content, content);
    }
    EXPECT_FALSE(files::get_python_script(L"a.py", nullptr));
    EXPECT_FALSE(files::get_python_script(L"A.py", &callback));
    EXPECT_THROW(files::get_python_script(nullptr, nullptr), std::logic_error);
    scripts.store.open = [](const std::string&) { return core::input_stream_ptr(); };
    EXPECT_FALSE(files::get_python_script(L"a.py", &callback));
    EXPECT_EQ(callback.calls, 4);

    const support::log_capture log;
    scripts.store.open = [](const std::string& content) -> core::input_stream_ptr {
        return std::make_unique<support::trickle_stream>(support::to_bytes(content), 3);
    };
    EXPECT_TRUE(files::get_python_script(L"a.py", &callback));
    EXPECT_EQ(callback.content, "\r\n\0\0"s) << "a short read ends in zeros";
    EXPECT_EQ(log.count("[ASSERT] readed == scriptCache.size()"), 1);
}
