#include "support/memory_store.h"
#include "support/package_builder.h"
#include "support/received_file.h"
#include "support/threads.h"
#include "support/zip_builder.h"

#include "morvantic/morvantic.h"

#include <atomic>
#include <gtest/gtest.h>
#include <latch>
#include <thread>
#include <vector>

using namespace engine;

namespace {

constexpr std::size_t member_size = 100000;

/// A package whose files all consist of one letter.
void write_package(const support::temp_folder& folder, const std::string& name, char letter) {
    support::package_builder package;
    support::zip_builder archive;
    for (const char* member : {"a.sc", "b.py", "c.xq"}) {
        archive.members.push_back({member, std::string(member_size, letter)});
    }
    package.payload = archive.build().content;
    folder.write(name, package.build());
}

} // namespace

TEST(StorageThreads, ReadersSeeOnePackageOrTheOtherWhileItIsReplaced) {
    const support::temp_folder folder;
    const std::wstring key = support::test_keys::signing().wide_public_path();
    write_package(folder, "x", 'x');
    write_package(folder, "y", 'y');
    ASSERT_EQ(mv_update_scripts_package(folder.wide_file("x").c_str(), key.c_str()), 0);

    constexpr int readers = 3;
    std::latch start(readers + 1);
    std::atomic<bool> stop{false};
    std::atomic<int> mixed{0};
    std::vector<std::thread> threads;
    for (int i = 0; i != readers; ++i) {
        threads.emplace_back([&] {
            start.arrive_and_wait();
            while (!stop) {
                support::received_file file;
                if (!CScriptStorageInterface::get_python_script(L"b.py", &file) ||
                    file.content != std::string(member_size, file.content.front())) {
                    ++mixed;
                }
                CScriptStorageInterface names;
                CScript script(names.next());
                script.init();
            }
        });
    }
    start.arrive_and_wait();
    for (int i = 0; i != 20; ++i) {
        EXPECT_EQ(
            mv_update_scripts_package(folder.wide_file(i % 2 ? "x" : "y").c_str(), key.c_str()), 0);
    }
    stop = true;
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(mixed, 0);
    storage_test_seam::package().reset();
}

TEST(StorageThreads, ReadersLoadAFailedStoreOnce) {
    for (int round = 0; round != 50; ++round) {
        auto owned = std::make_unique<support::memory_store>(
            support::memory_store::texts{{L"a.sc", "a"}, {L"b.sc", "b"}});
        support::memory_store& store = *owned;
        storage_test_seam::package() = std::move(owned);
        support::run_side_by_side(4, [](int) {
            EXPECT_EQ(CScriptStorage::instance().script_names().size(), 2u);
            EXPECT_TRUE(CScriptStorage::instance().contains(L"a.sc"));
        });
        EXPECT_EQ(store.updates, 1);
        storage_test_seam::package().reset();
    }
}
