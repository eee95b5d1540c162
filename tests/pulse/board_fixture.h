// A board with a clock and fields that the test turns.
#pragma once

#include <gtest/gtest.h>

#include "pulse/pulse_board.h"

class BoardTest : public ::testing::Test {
protected:
    // So many arrivals of `come`, each `gap_ms` after the one before; the board looks after each.
    template <typename Come>
    void arrive(int count, qint64 gap_ms, Come come) {
        for (int i = 0; i < count; ++i) {
            now += gap_ms;
            come();
            board.look();
        }
    }
    void pass(qint64 ms) {
        now += ms;
        board.look();
    }
    sorvane::PulseState state(PulseSource source) const { return board.reading(source).state; }

    qint64 now = 1000;
    bool playing1 = false;
    bool playing2 = false;
    std::int32_t link_state = 0;
    int ins_handle = -1;
    bool by_itself = true;
    QString send_trouble;
    PulseBoard board{
        PulseFields{playing1, playing2, link_state, ins_handle},
        PulseQuestions{[this] { return by_itself; }, [this] { return send_trouble; }, [this] { return now; },
                       [] { return QDateTime(QDate(2026, 5, 4), QTime(14, 3, 22)); }}};
};
