// How old a periodic frame is when its last byte leaves a serial line, and how long a stop takes to leave, at
// each rate that the station offers.
//   build/benchmarks/serial_lines [SECONDS_A_RUN]
// A pseudo terminal is read at the speed of the line, 10 bits a byte. The caller ticks at 25 Hz and pushes a
// stop about once a second. Three callers: one asks line_busy_ms() and puts its tick off; one pushes
// regardless, with its stops marked; one, the baseline, pushes regardless without marks. What has not left
// when a run ends counts with the time it has waited until then, so the figures of an overloaded line are
// lower bounds. Last the rate at which a flood of frames leaves, against long runs. Beside each stands how
// late a timer of this machine was at most; a run with more than a few milliseconds is tried again, and the
// calmest counts. Asserts nothing.
#include <poll.h>
#include <pty.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "oskel/oskel.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;
using TimePoint = Clock::time_point;

constexpr int kRates[] = {2400, 4800, 9600, 19200, 38400, 115200, 230400, 460800};
constexpr std::size_t kFrameSize = 44;
constexpr auto kTick = 40ms;

double milliseconds(Clock::duration time) { return std::chrono::duration<double, std::milli>(time).count(); }

Clock::duration lineTime(std::size_t bytes, int baud) {
    return std::chrono::nanoseconds(bytes * 10 * 1000000000 / static_cast<std::size_t>(baud));
}

// A frame says what it is, its number and when it was built.
enum Kind : unsigned char { kOrdinary = 0xA5, kStop = 0x5A };
struct Frame {
    unsigned char kind = 0;
    std::uint32_t number = 0;
    TimePoint built{};
};

std::vector<unsigned char> encode(const Frame& frame) {
    std::vector<unsigned char> bytes(kFrameSize);
    bytes[0] = frame.kind;
    std::memcpy(&bytes[1], &frame.number, sizeof frame.number);
    std::memcpy(&bytes[8], &frame.built, sizeof frame.built);
    return bytes;
}

Frame decode(const unsigned char* bytes) {
    Frame frame;
    frame.kind = bytes[0];
    std::memcpy(&frame.number, bytes + 1, sizeof frame.number);
    std::memcpy(&frame.built, bytes + 8, sizeof frame.built);
    return frame;
}

// The far end: takes bytes as fast as the line would carry them, on a thread of its own.
class Line {
public:
    explicit Line(int baud) : m_baud(baud) {
        char name[128] = {};
        termios raw{};
        if (::openpty(&m_far, &m_near, name, nullptr, nullptr) != 0 || ::tcgetattr(m_near, &raw) != 0) {
            std::perror("openpty");
            std::exit(1);
        }
        ::cfmakeraw(&raw);
        ::tcsetattr(m_near, TCSANOW, &raw);
        m_name = name;
        m_thread = std::thread([this] { run(); });
    }
    ~Line() {
        m_stop = true;
        m_thread.join();
        ::close(m_near);
        ::close(m_far);
    }

    const char* name() const { return m_name.c_str(); }

    struct Left {
        Frame frame;
        TimePoint at;  // its last byte
    };
    std::vector<Left> frames() {
        std::lock_guard lock(m_mutex);
        return m_frames;
    }
    std::size_t bytes() const { return m_bytes; }

private:
    void run() {
        // About half a millisecond of the line a read.
        const auto most = std::max<std::size_t>(1, static_cast<std::size_t>(m_baud) / 20000);
        TimePoint end = Clock::now();
        while (!m_stop) {
            pollfd ready{m_far, POLLIN, 0};
            const bool waited = ::poll(&ready, 1, 0) == 0;
            if (waited && ::poll(&ready, 1, 20) == 0) {
                continue;
            }
            unsigned char chunk[64];
            const auto count = ::read(m_far, chunk, std::min(most, sizeof chunk));
            if (count <= 0) {
                return;
            }
            end = (waited ? std::max(end, Clock::now()) : end) +
                  lineTime(static_cast<std::size_t>(count), m_baud);
            std::this_thread::sleep_until(end);
            take(chunk, static_cast<std::size_t>(count), end);
        }
    }

    void take(const unsigned char* bytes, std::size_t count, TimePoint at) {
        std::lock_guard lock(m_mutex);
        m_bytes += count;
        m_rest.insert(m_rest.end(), bytes, bytes + count);
        for (; m_rest.size() >= kFrameSize; m_rest.erase(m_rest.begin(), m_rest.begin() + kFrameSize)) {
            m_frames.push_back({decode(m_rest.data()), at});
        }
    }

    const int m_baud;
    int m_far = -1;
    int m_near = -1;
    std::string m_name;
    std::atomic<bool> m_stop{false};
    std::atomic<std::size_t> m_bytes{0};
    std::mutex m_mutex;
    std::vector<unsigned char> m_rest;
    std::vector<Left> m_frames;
    std::thread m_thread;
};

// How late the machine itself was at most while this lived.
class Watch {
public:
    Watch() : m_thread([this] { run(); }) {}
    ~Watch() { stop(); }
    double stop() {
        m_stop = true;
        if (m_thread.joinable()) {
            m_thread.join();
        }
        return m_latest_ms;
    }

private:
    void run() {
        while (!m_stop) {
            const auto due = Clock::now() + 2ms;
            std::this_thread::sleep_until(due);
            m_latest_ms = std::max(m_latest_ms, milliseconds(Clock::now() - due));
        }
    }

    std::atomic<bool> m_stop{false};
    double m_latest_ms = 0;
    std::thread m_thread;
};

constexpr int kAttempts = 5;
constexpr double kCalmMs = 3;

// The calmest of a few runs of something whose result says how late the machine was.
template <typename Run>
auto calmest(Run run) {
    auto best = run();
    for (int i = 1; i < kAttempts && best.late_ms > kCalmMs; ++i) {
        auto next = run();
        if (next.late_ms < best.late_ms) {
            best = std::move(next);
        }
    }
    return best;
}

struct Caller {
    const char* name;
    bool puts_off;
    bool marks;
};
constexpr Caller kCallers[] = {
    {"puts off", true, true}, {"regardless, marks", false, true}, {"baseline", false, false}};

// Ages of frames and delays of stops, in ms.
struct Result {
    std::vector<double> ages;
    std::vector<double> stops;
    std::vector<double> pushes_us;
    double late_ms = 0;
};

class Session {
public:
    Session(const Caller& caller, int handle) : m_caller(caller), m_handle(handle) {}

    void run(Clock::duration length) {
        const auto end = Clock::now() + length;
        auto tick = Clock::now();
        auto stop = Clock::now() + pause();
        while (Clock::now() < end) {
            std::this_thread::sleep_until(std::min(tick, stop));
            if (Clock::now() >= stop) {
                if (m_caller.marks) {
                    oskel::mark_ahead(m_handle);
                }
                push(kStop);
                stop = Clock::now() + pause();
            }
            if (Clock::now() >= tick) {
                tick = afterTick(tick);
            }
        }
    }
    const std::vector<Frame>& pushed() const { return m_pushed; }
    const std::vector<double>& pushes_us() const { return m_pushes; }

private:
    Clock::duration pause() { return std::chrono::milliseconds(600 + static_cast<int>(m_random() % 800)); }

    // When to look again.
    TimePoint afterTick(TimePoint due) {
        const int busy = m_caller.puts_off ? oskel::line_busy_ms(m_handle) : 0;
        if (busy > 0) {
            return Clock::now() + std::chrono::milliseconds(busy);
        }
        push(kOrdinary);
        // The timer keeps its own beat.
        m_beat = m_beat == TimePoint{} ? due : m_beat;
        while (m_beat <= Clock::now()) {
            m_beat += kTick;
        }
        return m_beat;
    }

    void push(Kind kind) {
        const Frame frame{kind, static_cast<std::uint32_t>(m_pushed.size()), Clock::now()};
        const auto bytes = encode(frame);
        const auto begin = Clock::now();
        if (oskel::push_bytes(bytes.data(), kFrameSize, m_handle) == static_cast<int>(kFrameSize)) {
            m_pushed.push_back(frame);
        }
        m_pushes.push_back(milliseconds(Clock::now() - begin) * 1000);
    }

    const Caller& m_caller;
    const int m_handle;
    std::mt19937 m_random{7};
    TimePoint m_beat{};
    std::vector<Frame> m_pushed;
    std::vector<double> m_pushes;
};

int dial(const Line& line, int baud) {
    const int handle = oskel::dialSerial(line.name(), baud, {});
    if (handle < 1) {
        std::fprintf(stderr, "cannot open %s\n", line.name());
        std::exit(1);
    }
    return handle;
}

Result measure(const Caller& caller, int baud, Clock::duration length) {
    Line line(baud);
    const int handle = dial(line, baud);
    Session session(caller, handle);
    Watch watch;
    session.run(length);
    const auto end = Clock::now();
    oskel::hang_up(handle);
    std::this_thread::sleep_for(2 * lineTime(kFrameSize, baud) + 5ms);
    Result result;
    result.late_ms = watch.stop();
    result.pushes_us = session.pushes_us();
    std::vector<bool> has_left(session.pushed().size());
    const auto count = [&result](const Frame& frame, TimePoint at) {
        (frame.kind == kStop ? result.stops : result.ages).push_back(milliseconds(at - frame.built));
    };
    for (const auto& left : line.frames()) {
        count(left.frame, left.at);
        has_left.at(left.frame.number) = true;
    }
    for (const Frame& frame : session.pushed()) {
        if (!has_left[frame.number]) {
            count(frame, end);
        }
    }
    return result;
}

double quantile(std::vector<double> values, double q) {
    if (values.empty()) {
        return 0;
    }
    std::sort(values.begin(), values.end());
    return values[static_cast<std::size_t>(q * static_cast<double>(values.size() - 1) + 0.5)];
}

void printRow(int baud, const char* name, const Result& r, const Result& baseline) {
    const double stop = quantile(r.stops, 1);
    std::printf("%7d %-18s %7.1f /%7.1f /%7.1f %8.1f /%7.1f %8.1f %8.3f %7.3f %9.1f\n", baud, name,
                quantile(r.ages, 0.5), quantile(r.ages, 0.99), quantile(r.ages, 1), quantile(r.stops, 0.5),
                stop, quantile(r.pushes_us, 0.5), quantile(r.ages, 0.99) / quantile(baseline.ages, 0.99),
                stop / quantile(baseline.stops, 1), r.late_ms);
}

void compareCallers(Clock::duration length) {
    std::printf("%34s %24s %17s %8s %16s %9s\n", "", "age, ms", "stop, ms", "push, us", "to baseline",
                "machine");
    std::printf("%7s %-18s %7s /%7s /%7s %8s /%7s %8s %8s %7s %9s\n", "baud", "caller", "p50", "p99", "max",
                "p50", "max", "p50", "age p99", "stop", "late, ms");
    for (const int baud : kRates) {
        std::vector<Result> results;
        for (const Caller& caller : kCallers) {
            results.push_back(calmest([&] { return measure(caller, baud, length); }));
        }
        for (std::size_t i = 0; i < results.size(); ++i) {
            printRow(baud, kCallers[i].name, results[i], results.back());
        }
        const double three_frames = 3 * milliseconds(lineTime(kFrameSize, baud));
        std::printf(
            "        three frames: %.1f ms; the slowest stop, put off %.2f, marked among waiting runs %.2f "
            "of that\n",
            three_frames, quantile(results[0].stops, 1) / three_frames,
            quantile(results[1].stops, 1) / three_frames);
        std::fflush(stdout);
    }
}

// What leaves while the queue never runs empty, with runs of this size, as a share of what the line could
// carry.
struct Flow {
    double share = 0;
    double late_ms = 0;
};
Flow flood(std::size_t run_size, int baud, Clock::duration length) {
    Line line(baud);
    const int handle = dial(line, baud);
    const std::vector<unsigned char> run(run_size);
    const auto fill = [&] {
        while (oskel::push_bytes(run.data(), static_cast<int>(run_size), handle) > 0) {
        }
    };
    fill();
    std::this_thread::sleep_for(100ms);
    Watch watch;
    const auto begin = Clock::now();
    const std::size_t before = line.bytes();
    while (Clock::now() - begin < length) {
        std::this_thread::sleep_for(50ms);
        fill();
    }
    const std::size_t carried = line.bytes() - before;
    const double seconds = milliseconds(Clock::now() - begin) / 1000;
    const double late_ms = watch.stop();
    oskel::hang_up(handle);
    return {static_cast<double>(carried) * 10 / seconds / baud, late_ms};
}

void compareFloods(Clock::duration length) {
    std::printf("\nflood: share of what the line could carry\n%7s %15s %13s %7s %18s\n", "baud",
                "44 bytes a run", "16 KiB a run", "ratio", "machine late, ms");
    for (const int baud : kRates) {
        const Flow small = calmest([&] { return flood(kFrameSize, baud, length); });
        const Flow large = calmest([&] { return flood(16384, baud, length); });
        std::printf("%7d %15.4f %13.4f %7.4f %8.1f %9.1f\n", baud, small.share, large.share,
                    small.share / large.share, small.late_ms, large.late_ms);
        std::fflush(stdout);
    }
}

}  // namespace

int main(int argc, char** argv) {
    const int seconds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 4;
    compareCallers(std::chrono::seconds(seconds));
    compareFloods(std::chrono::seconds(std::max(1, seconds / 2)));
    return 0;
}
