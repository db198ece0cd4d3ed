#pragma once

#include <latch>
#include <thread>
#include <vector>

namespace support {

/// Runs work(0) to work(count - 1) at once, each on a thread of its own, and waits for all.
template <class Work>
void run_side_by_side(int count, Work&& work) {
    std::latch start(count);
    std::vector<std::jthread> threads;
    for (int i = 0; i != count; ++i) {
        threads.emplace_back([&, i] {
            start.arrive_and_wait();
            work(i);
        });
    }
}

} // namespace support
