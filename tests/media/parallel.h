#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <functional>
#include <thread>
#include <vector>

// Does the work for 0 to count - 1, two at a time.
inline void forEachInParallel(std::size_t count, const std::function<void(std::size_t)> &work)
{
    constexpr int workers = 2;
    std::atomic<std::size_t> next = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < workers; ++i) {
        threads.emplace_back([&] {
            for (std::size_t number = next++; number < count; number = next++) {
                work(number);
            }
        });
    }
    std::ranges::for_each(threads, &std::thread::join);
}
