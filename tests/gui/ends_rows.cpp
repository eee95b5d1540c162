#include "ends_rows.h"

#include <QElapsedTimer>
#include <QRegularExpression>
#include <cstdio>

namespace {

constexpr int kTellSlowMs = 3000;

}  // namespace

void Row::liftAndSettle() {
    scene.hand.lift();
    Motion last;
    if (!scene.comesToRest(last)) {
        trouble += "after the hand was gone: " + last.text + "; ";
    }
}

EndsRows::Verdict EndsRows::runRow(const Begin& begin, const End& end) {
    if (!raise()) {
        return {false, "the scene: " + problem()};
    }
    const Motion rest = waitStill();
    if (!atRest(rest)) {
        return {true, "no rest to begin with: " + rest.text};
    }
    const Motion before = pod.motion();
    if (m_rested && before.movements != m_movements) {
        m_rested = false;
        return {true, "moved after the row before: " + before.text};
    }
    Row row{*this, begin, begin.start(*this, begin), {}};
    if (row.widget == nullptr) {
        return {false, "cannot begin"};
    }
    // A hold is seen to move; what is over at once may have moved and stood between two looks.
    const auto has_begun = [&](const Motion& m) {
        return !begin.moves   ? m.commands > before.commands
               : begin.held() ? !m.still()
                              : m.movements > before.movements;
    };
    const Motion begun = pod.until(has_begun, kAppearMs);
    if (!has_begun(begun)) {
        return {false, "nothing to end: " + begun.text};
    }
    end.run(row);
    if (end.stops) {
        const Motion m = waitStill();
        row.trouble += atRest(m) ? "" : "with the hand still there: " + m.text + "; ";
    }
    row.liftAndSettle();
    if (end.undo) {
        end.undo(row);
        row.liftAndSettle();
    }
    m_movements = pod.motion().movements;
    m_rested = true;
    return {true, row.trouble};
}

// A window manager under load may keep the scene from standing, or the first touch from arriving, once; how a
// movement ended is never judged twice.
EndsRows::Verdict EndsRows::runRowTwiceIfNeedBe(const Begin& begin, const End& end) {
    const Verdict first = runRow(begin, end);
    if (first.judged) {
        return first;
    }
    std::printf("%s x %s is set up again: %s\n", begin.name.c_str(), end.name.c_str(),
                qPrintable(first.trouble));
    m_rested = false;
    startOver();
    return runRow(begin, end);
}

void EndsRows::runTable(const std::vector<Begin>& begins, const std::vector<End>& ends) {
    ASSERT_TRUE(hand.available());
    const QRegularExpression wanted(qEnvironmentVariable("SORVANE_ENDS_ROWS"));
    const QString mode = QStringLiteral("%1, %2 ms").arg(single() ? "single" : "periodic").arg(period());
    int rows = 0;
    int failed = 0;
    QElapsedTimer clock;
    clock.start();
    for (const Begin& begin : begins) {
        for (const End& end : ends) {
            const QString name =
                QStringLiteral("%1 x %2 x %3")
                    .arg(QString::fromStdString(begin.name), QString::fromStdString(end.name), mode);
            if (!(begin.thorough || end.common) || !end.applies(begin) || !wanted.match(name).hasMatch()) {
                continue;
            }
            ++rows;
            QElapsedTimer row_clock;
            row_clock.start();
            const QString trouble = runRowTwiceIfNeedBe(begin, end).trouble;
            if (row_clock.elapsed() > kTellSlowMs) {
                std::printf("%s took %.1f s\n", qPrintable(name),
                            static_cast<double>(row_clock.elapsed()) / 1000);
            }
            if (!trouble.isEmpty()) {
                ++failed;
                ADD_FAILURE() << qPrintable(name) << ": " << qPrintable(trouble);
                m_rested = false;
                startOver();
            }
        }
    }
    std::printf("%s: %d rows, %d failed, %.1f s\n", qPrintable(mode), rows, failed,
                static_cast<double>(clock.elapsed()) / 1000);
    EXPECT_GT(rows, 0);
}
