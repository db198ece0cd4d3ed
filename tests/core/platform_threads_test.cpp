#include "core/platform.h"

#include <atomic>
#include <gtest/gtest.h>
#include <mutex>
#include <shared_mutex>
#include <thread>
#include <vector>

TEST(ReaderWriterLock, WriterIsNotStarvedByReaders) {
    core::reader_writer_lock lock;
    std::atomic<bool> stop{false};
    std::atomic<int> reading{0};
    int shared_value = 0;
    std::vector<std::thread> readers;
    for (int i = 0; i != 4; ++i) {
        readers.emplace_back([&] {
            while (!stop) {
                const std::shared_lock guard(lock);
                ++reading;
                for (int spin = 0; spin != 2000; ++spin)
                    static_cast<void>(shared_value + spin);
            }
        });
    }
    while (reading < 4)
        std::this_thread::yield();
    for (int i = 0; i != 20; ++i) { // would never end if readers could pass a waiting writer
        const std::unique_lock guard(lock);
        ++shared_value;
    }
    stop = true;
    for (std::thread& reader : readers)
        reader.join();
    EXPECT_EQ(shared_value, 20);
}
