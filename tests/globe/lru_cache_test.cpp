#include "globe/lru_cache.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace globe {
namespace {

using Cache = LruCache<int, std::string>;

std::shared_ptr<const std::string> text(const char* what) {
    return std::make_shared<const std::string>(what);
}

TEST(LruCache, WhatWasLookedAtLastStays) {
    Cache cache(30);
    cache.put(1, text("one"), 10);
    cache.put(2, text("two"), 10);
    cache.put(3, text("three"), 10);
    ASSERT_TRUE(cache.get(1));
    cache.put(4, text("four"), 10);
    EXPECT_FALSE(cache.get(2));
    EXPECT_EQ(*cache.get(1), "one");
    EXPECT_EQ(*cache.get(4), "four");
    EXPECT_EQ(cache.bytes(), 30u);
    EXPECT_EQ(cache.size(), 3u);
}

TEST(LruCache, OneInPlaceOfAnother) {
    Cache cache(30);
    cache.put(1, text("one"), 10);
    cache.put(1, text("other"), 25);
    EXPECT_EQ(*cache.get(1), "other");
    EXPECT_EQ(cache.bytes(), 25u);
    cache.erase(1);
    cache.erase(1);
    EXPECT_EQ(cache.bytes(), 0u);
}

TEST(LruCache, TheLimitHolds) {
    Cache cache(30);
    cache.put(1, text("one"), 10);
    cache.put(2, text("two"), 31);
    EXPECT_FALSE(cache.get(2));
    EXPECT_TRUE(cache.get(1));
    // Too large to be kept, it still takes the place of what is out of date.
    cache.put(1, text("new"), 31);
    EXPECT_FALSE(cache.get(1));
    cache.put(1, text("one"), 10);
    cache.put(2, text("two"), 20);
    cache.setLimit(20);
    EXPECT_FALSE(cache.get(1));
    EXPECT_TRUE(cache.get(2));
    cache.setLimit(0);
    EXPECT_EQ(cache.size(), 0u);
}

TEST(LruCache, ManyThreads) {
    Cache cache(1000);
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&cache, thread] {
            for (int i = 0; i < 2000; ++i) {
                const int key = (i * 7 + thread) % 150;
                const auto found = cache.get(key);
                if (found) {
                    EXPECT_EQ(*found, std::to_string(key));
                } else {
                    cache.put(key, std::make_shared<const std::string>(std::to_string(key)), 10);
                }
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_LE(cache.bytes(), 1000u);
    EXPECT_EQ(cache.bytes(), cache.size() * 10);
}

}  // namespace
}  // namespace globe
