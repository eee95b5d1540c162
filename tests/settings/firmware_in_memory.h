// A firmware file without a disk.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "settings/firmware_upgrade.h"

struct FirmwareInMemory : sorvane::FirmwareFile {
    std::vector<std::uint8_t> bytes;
    std::int64_t told_size = -1;  // -1: that of the bytes
    bool there = true;
    bool readable = true;
    bool open = false;
    int reopened = 0;

    bool reopen() override {
        ++reopened;
        open = there;
        return there;
    }
    bool isOpen() const override { return open; }
    std::int64_t size() const override {
        return told_size >= 0 ? told_size : static_cast<std::int64_t>(bytes.size());
    }
    int read(std::int64_t at, std::uint8_t* to, int room) override {
        const std::int64_t left = size() - at;
        if (!readable || left <= 0) {
            return 0;
        }
        const int n = static_cast<int>(std::min<std::int64_t>(left, room));
        for (int i = 0; i < n; ++i) {
            const auto place = static_cast<std::size_t>(at + i);
            to[i] = place < bytes.size() ? bytes[place] : 0;
        }
        return n;
    }
    void close() override { open = false; }
};

// No two neighbouring frames are alike, and no frame is one value.
inline std::vector<std::uint8_t> programOf(std::size_t size) {
    std::vector<std::uint8_t> bytes(size);
    std::uint32_t random = 0x9E3779B9U;
    for (std::uint8_t& byte : bytes) {
        random = random * 1664525U + 1013904223U;
        byte = static_cast<std::uint8_t>(random >> 24U);
    }
    return bytes;
}
