#include "core/platform.h"

#include <gtest/gtest.h>
#include <latch>
#include <mutex>
#include <shared_mutex>
#include <thread>
#include <vector>

TEST(ReaderWriterLock, WriterIsNotStarvedByReaders) {
    core::reader_writer_lock lock;
    bool stop = false;
    std::latch reading(4);
    std::vector<std::jthread> readers;
    for (int i = 0; i != 4; ++i) {
        readers.emplace_back([&, first = true]() mutable {
            for (bool stopped = false; !stopped;) {
                const std::shared_lock guard(lock);
                if (std::exchange(first, false)) reading.arrive_and_wait();
                std::this_thread::yield(); // so that one of the four always holds it
                stopped = stop;
            }
        });
    }
    reading.wait();
    for (int i = 0; i != 20; ++i) { // would never end if readers could pass a waiting writer
        const std::unique_lock guard(lock);
        stop = i == 19;
    }
}
