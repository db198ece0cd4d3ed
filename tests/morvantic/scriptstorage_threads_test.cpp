#include "support/memory_store.h"
#include "support/threads.h"

#include "morvantic/morvantic.h"

#include <gtest/gtest.h>

using namespace engine;

TEST(StorageThreads, ReadersLoadAFailedStoreOnce) {
    for (int round = 0; round != 50; ++round) {
        support::memory_store& store =
            support::put_store(storage_test_seam::package(), {{L"a.sc", "a"}, {L"b.sc", "b"}});
        store.clear_index();
        support::run_side_by_side(4, [](int) {
            EXPECT_EQ(CScriptStorage::instance().script_names().size(), 2u);
            EXPECT_TRUE(CScriptStorage::instance().contains(L"a.sc"));
        });
        EXPECT_EQ(store.updates, 2);
        storage_test_seam::package().reset();
    }
}
