// A file on a disk that does not answer.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>

#include "camera.h"

namespace tavrik::test {

// Nobody can open or write it before somebody reads it.
class HangingFile {
public:
    explicit HangingFile(std::string path) : m_path(std::move(path)) {
        EXPECT_EQ(::mkfifo(m_path.c_str(), 0600), 0);
    }
    // Lets it go on; all that is written until its writer closes it.
    Bytes answer() const {
        // Opened without waiting: its writer may be long gone.
        const int file = ::open(m_path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        EXPECT_GE(file, 0);
        Bytes all;
        std::uint8_t piece[65536];
        EXPECT_TRUE(becomes([&] {
            const ssize_t got = ::read(file, piece, sizeof piece);
            all.insert(all.end(), piece, piece + std::max<ssize_t>(got, 0));
            return got == 0 && !all.empty();
        })) << all.size();
        ::close(file);
        return all;
    }

private:
    const std::string m_path;
};

}  // namespace tavrik::test
