// A frame sender with everything around it in the test's hands.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "link/frame_sender.h"

namespace sorvane {

using Bytes = std::vector<std::uint8_t>;

struct SenderFixture : ::testing::Test {
    FixedCommandFrame frame;
    bool release = true;
    std::uint16_t last_code = 0;
    NavBlock nav;

    bool single = true;
    bool drag = false;
    bool recv_telemetry = false;
    bool ins_open = false;
    std::int64_t now_ms = 0;
    std::int64_t restarted_ms = 0;
    int clock_reads = 0;
    CalendarTime local{2026, 11, 21, 7, 9, 45, 678};
    std::vector<Bytes> sent;
    std::vector<bool> ahead;  // of each frame sent: it goes ahead of what waits for the line
    bool marked = false;

    FrameSender sender{frame, release, last_code, nav, conditions()};

    SenderConditions conditions() {
        SenderConditions c;
        c.single_mode = [this] { return single; };
        c.drag_under_way = [this] { return drag; };
        c.recv_telemetry = [this] { return recv_telemetry; };
        c.ins_open = [this] { return ins_open; };
        c.elapsed_ms = [this] {
            ++clock_reads;
            return now_ms - restarted_ms;
        };
        c.restart_clock = [this] { restarted_ms = now_ms; };
        c.local_time = [this] { return local; };
        c.push = [this](const void* data, int n) {
            const auto* p = static_cast<const std::uint8_t*>(data);
            sent.emplace_back(p, p + n);
            ahead.push_back(marked);
            marked = false;
        };
        c.mark_ahead = [this] { marked = true; };
        return c;
    }

    // Code, parameters, rate code and rates of a fixed frame: what a command decides.
    static Bytes commandPart(const Bytes& fixed) {
        Bytes part(fixed.begin() + 2, fixed.begin() + 7);
        part.insert(part.end(), fixed.begin() + 37, fixed.begin() + 42);
        return part;
    }

    // Runs one tick and returns the command parts of the frames it sent.
    std::vector<Bytes> tick() {
        sent.clear();
        sender.periodTick();
        std::vector<Bytes> parts;
        for (const Bytes& f : sent) {
            EXPECT_EQ(f.size(), 44U);
            parts.push_back(commandPart(f));
        }
        return parts;
    }
};

}  // namespace sorvane
