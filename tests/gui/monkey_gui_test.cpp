// A hand without sense at the window: presses, fingers, drags, wheels, keys, lists, pages, modes, the link.
// Whenever it pauses, nothing on the pod moves.
//
//   SORVANE_MONKEY_SEED      another sequence
//   SORVANE_MONKEY_SECONDS   how long it plays
//   SORVANE_MONKEY_REPLAY    a log of an earlier run: its actions again, with their pauses
#include <QElapsedTimer>
#include <QTimer>
#include <cstdio>

#include "monkey_actions.h"
#include "widgets/common_dlg.h"

namespace {

constexpr unsigned kSeed = 20261121;
constexpr int kSeconds = 120;
constexpr int kOpenMs = 400;
constexpr const char* kPauseWord = "pause";

class Monkey : public EndsScene {
protected:
    void play(unsigned seed, int seconds);
    void replay(const QString& path);

private:
    bool begin();
    // One line of the log: milliseconds to wait, then the action. False: the pod moved in a pause.
    bool step(int wait_ms, const QString& action);
    bool pause();
    void tidy();

    QFile m_log;
    QTimer m_guard;
    QPointer<QWidget> m_open;  // at the guard's last look
    quint64 m_movements = 0;
    int m_pauses = 0, m_moving_bursts = 0;
};

bool Monkey::begin() {
    setMode(true);
    m_log.setFileName(QDir::current().filePath("monkey.log"));
    const bool ready = m_log.open(QIODevice::WriteOnly | QIODevice::Truncate) && raise();
    EXPECT_TRUE(ready) << qPrintable(problem());
    m_movements = pod.motion().movements;
    // Menus and boxes may keep an event loop of their own, in which nobody else closes them.
    QObject::connect(&m_guard, &QTimer::timeout, [this] {
        QWidget* open = QApplication::activePopupWidget();
        open = open != nullptr ? open : QApplication::activeModalWidget();
        if (open != nullptr && open == m_open) {
            open->close();
        }
        m_open = open;
    });
    m_guard.start(kOpenMs);
    return ready;
}

bool Monkey::step(int wait_ms, const QString& action) {
    m_log.write(QStringLiteral("%1 %2\n").arg(wait_ms).arg(action).toUtf8());
    m_log.flush();
    QTest::qWait(wait_ms);
    if (action == QLatin1String(kPauseWord)) {
        return pause();
    }
    EXPECT_TRUE(perform(*this, action)) << qPrintable(action);
    return true;
}

// The hand is away, and nothing else is changed before the pod is judged.
bool Monkey::pause() {
    hand.lift();
    // On its way out the pointer passes the window: a release that went elsewhere is seen by that.
    for (const QPoint& at : {centre(ui().title), spot(1), spot(1) + QPoint(30, 0),
                             window->geometry().topLeft() - QPoint(30, 30)}) {
        hand.move(at);
        QTest::qWait(5);
    }
    Motion end;
    EXPECT_TRUE(comesToRest(end)) << qPrintable(end.text);
    ++m_pauses;
    m_moving_bursts += end.movements > m_movements ? 1 : 0;
    m_movements = end.movements;
    tidy();
    return !HasFailure();
}

// What a burst leaves open would keep the next from doing anything.
void Monkey::tidy() {
    waitFor(
        [] {
            if (QWidget* open = QApplication::activePopupWidget()) {
                open->close();
            }
            if (QWidget* box = QApplication::activeModalWidget()) {
                box->close();
            }
            return QApplication::activePopupWidget() == nullptr &&
                   QApplication::activeModalWidget() == nullptr;
        },
        kAppearMs);
    for (QWidget* dialog :
         {static_cast<QWidget*>(in().m_settings()), static_cast<QWidget*>(in().m_connectionDlg()),
          static_cast<QWidget*>(in().m_seiDlg()), static_cast<QWidget*>(in().m_telemetryDlg())}) {
        if (dialog->isVisible()) {
            dialog->close();
        }
    }
    EXPECT_TRUE(showWindow()) << qPrintable(windowState());
    if (!linkOpen()) {
        toggleLink();
    }
    EXPECT_TRUE(linkOpen());
    if (!ui().tabWidget->isVisible()) {
        in().m_btnCtrlPane()->click();
    }
}

void Monkey::play(unsigned seed, int seconds) {
    if (!begin()) {
        return;
    }
    Dice dice(seed);
    QElapsedTimer clock;
    clock.start();
    bool well = true;
    while (well && clock.elapsed() < seconds * 1000) {
        for (int left = 3 + dice.below(12); left > 0 && well; --left) {
            const int wait_ms = dice.below(4) == 0 ? dice.below(300) : dice.below(60);
            well = step(wait_ms, chooseAction(dice));
        }
        well = well && step(0, QLatin1String(kPauseWord));
    }
    std::printf("monkey: seed %u, %d pauses, %d after the pod had moved\n", seed, m_pauses, m_moving_bursts);
    EXPECT_GT(m_moving_bursts, m_pauses / 4) << "the pod hardly moved: this proves nothing";
    if (HasFailure()) {
        std::printf("again: SORVANE_MONKEY_SEED=%u, or SORVANE_MONKEY_REPLAY=%s\n", seed,
                    qPrintable(m_log.fileName()));
    }
}

void Monkey::replay(const QString& path) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly)) << qPrintable(path);
    const QStringList lines = QString::fromUtf8(file.readAll()).split('\n', Qt::SkipEmptyParts);
    file.close();
    if (!begin()) {
        return;
    }
    for (const QString& line : lines) {
        if (!step(line.section(' ', 0, 0).toInt(), line.section(' ', 1))) {
            return;
        }
    }
}

TEST_F(Monkey, LeavesThePodStillInEveryPause) {
    const QString log = qEnvironmentVariable("SORVANE_MONKEY_REPLAY");
    if (!log.isEmpty()) {
        replay(log);
        return;
    }
    const auto number = [](const char* name, unsigned otherwise) {
        bool given = false;
        const unsigned n = qEnvironmentVariable(name).toUInt(&given);
        return given ? n : otherwise;
    };
    play(number("SORVANE_MONKEY_SEED", kSeed), static_cast<int>(number("SORVANE_MONKEY_SECONDS", kSeconds)));
}

}  // namespace
