// Watches a virtual screen for the picture number that podsim draws, and prints when each one first stood
// there:
//   picture_latency_probe XWD_FILE X Y WIDTH HEIGHT SOURCE_WIDTH SECONDS
// X, Y, WIDTH, HEIGHT: where the picture lies on the screen; the 16 squares (most significant first, white =
// 1) are 32 pixels wide at the source's size and start at the picture's upper left corner. One line a number:
// "NUMBER NS", the time being CLOCK_MONOTONIC. A screen without a readable number gives no line.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

constexpr int kBlocks = 16;
constexpr double kBlockPx = 32.0;
constexpr long kPollNs = 400000;

std::int64_t nowNs() {
    timespec t{};
    clock_gettime(CLOCK_MONOTONIC, &t);
    return t.tv_sec * 1000000000LL + t.tv_nsec;
}

std::uint32_t bigEndian(const std::uint8_t* p) {
    return static_cast<std::uint32_t>(p[0]) << 24 | static_cast<std::uint32_t>(p[1]) << 16 |
           static_cast<std::uint32_t>(p[2]) << 8 | p[3];
}

// The file in which Xvfb keeps its screen: a header of big-endian words, colours, then rows of 32-bit pixels.
class Screen {
public:
    bool map(const char* path) {
        const int fd = open(path, O_RDONLY);
        struct stat info {};
        if (fd < 0 || fstat(fd, &info) != 0) {
            return false;
        }
        m_size = static_cast<std::size_t>(info.st_size);
        void* at = mmap(nullptr, m_size, PROT_READ, MAP_SHARED, fd, 0);
        close(fd);
        if (at == MAP_FAILED) {
            return false;
        }
        m_data = static_cast<const std::uint8_t*>(at);
        m_rows = bigEndian(m_data) + 12 * bigEndian(m_data + 4 * 19);
        m_stride = bigEndian(m_data + 4 * 12);
        return bigEndian(m_data + 4 * 11) == 32;
    }
    // Mean of the three channels.
    int brightness(int x, int y) const {
        const std::size_t at =
            m_rows + static_cast<std::size_t>(y) * m_stride + static_cast<std::size_t>(x) * 4;
        if (x < 0 || y < 0 || at + 4 > m_size) {
            return -1;
        }
        const volatile std::uint8_t* p = m_data + at;
        return (p[0] + p[1] + p[2]) / 3;
    }

private:
    const std::uint8_t* m_data = nullptr;
    std::size_t m_size = 0, m_rows = 0, m_stride = 0;
};

// The number on the screen; -1 if a square is neither black nor white.
int readNumber(const Screen& screen, const std::array<int, kBlocks>& xs, int y) {
    int number = 0;
    for (int x : xs) {
        const int b = screen.brightness(x, y);
        if (b < 0 || (b > 80 && b < 176)) {
            return -1;
        }
        number = number * 2 + (b >= 176 ? 1 : 0);
    }
    return number;
}

}  // namespace

int main(int argc, char* argv[]) {
    if (argc != 8) {
        std::fprintf(stderr, "usage: %s XWD_FILE X Y WIDTH HEIGHT SOURCE_WIDTH SECONDS\n", argv[0]);
        return 2;
    }
    Screen screen;
    if (!screen.map(argv[1])) {
        std::perror(argv[1]);
        return 1;
    }
    const double scale = std::atof(argv[4]) / std::atof(argv[6]);
    std::array<int, kBlocks> xs{};
    for (int i = 0; i < kBlocks; ++i) {
        xs[static_cast<std::size_t>(i)] = static_cast<int>(std::atof(argv[2]) + (i + 0.5) * kBlockPx * scale);
    }
    const int y = static_cast<int>(std::atof(argv[3]) + kBlockPx / 2 * scale);
    const std::int64_t end = nowNs() + static_cast<std::int64_t>(std::atof(argv[7]) * 1e9);
    int last = 0;  // a black screen reads as 0
    while (nowNs() < end) {
        const int number = readNumber(screen, xs, y);
        if (number > 0 && number != last) {
            std::printf("%d %lld\n", number, static_cast<long long>(nowNs()));
            last = number;
        }
        const timespec pause{0, kPollNs};
        nanosleep(&pause, nullptr);
    }
    return 0;
}
