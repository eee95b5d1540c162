// Every control of the two command pages against the table of frames in tests/golden/commands.txt.
#include <QFileInfo>
#include <QScrollArea>
#include <QSet>
#include <QTimerEvent>
#include <QtMath>

#include "input/qmycmdbtn.h"
#include "link_peer.h"
#include "widgets/SwitchControl/switch_control.h"

namespace {

struct GoldenRow {
    QString kind, name, condition;
    std::vector<QByteArray> press, release, held, after;
};

struct Golden {
    std::vector<GoldenRow> rows;
    std::vector<QStringList> sets;  // name, text
    sorvane::CalendarTime clock;
};

std::vector<QByteArray> framesOf(const QString& text) {
    std::vector<QByteArray> frames;
    for (const QString& word : text.split(' ', Qt::SkipEmptyParts)) {
        if (word != "-") {
            frames.push_back(QByteArray::fromHex(word.toLatin1()));
        }
    }
    return frames;
}

Golden readGolden() {
    Golden golden;
    QFile file(QStringLiteral(SORVANE_GOLDEN "/commands.txt"));
    EXPECT_TRUE(file.open(QIODevice::ReadOnly | QIODevice::Text)) << file.fileName().toStdString();
    while (!file.atEnd()) {
        const QString line = QString::fromUtf8(file.readLine()).trimmed();
        if (line.isEmpty() || line.startsWith('#')) {
            continue;
        }
        const QStringList words = line.section('|', 0, 0).split(' ', Qt::SkipEmptyParts);
        if (words[0] == "set") {
            golden.sets.push_back({words[1], words[2]});
        } else if (words[0] == "clock") {
            golden.clock = {words[1].toInt(), words[2].toInt(), words[3].toInt(), words[4].toInt(),
                            words[5].toInt(), words[6].toInt(), words[7].toInt()};
        } else {
            golden.rows.push_back({words[0], words[1], words[2], framesOf(line.section('|', 1, 1)),
                                   framesOf(line.section('|', 2, 2)), framesOf(line.section('|', 3, 3)),
                                   framesOf(line.section('|', 4, 4))});
        }
    }
    return golden;
}

std::string hexOf(const std::vector<QByteArray>& frames) {
    std::string text;
    for (const QByteArray& f : frames) {
        text += "\n  " + f.toHex().toUpper().toStdString();
    }
    return text;
}

std::vector<QByteArray> withoutRepeats(const std::vector<QByteArray>& frames) {
    std::vector<QByteArray> result;
    for (const QByteArray& f : frames) {
        if (result.empty() || result.back() != f) {
            result.push_back(f);
        }
    }
    return result;
}

class CommandsTest : public LinkTest {
protected:
    void startLinked(bool single) {
        // A long period: the ticks are the test's own.
        start({{"common/send_single", single}, {"common/send_period_ms", 1000}});
        in().m_localClock() = [this] { return golden.clock; };
        openUdp();
        ui().tabWidget->show();
        for (const QStringList& set : golden.sets) {
            fill(set[0], set[1]);
        }
        letTheStartEnd();
        fire(in().m_stopTimer());
        tick();
        tick();
        takeUpToMarker();
    }

    void fill(const QString& name, const QString& text) {
        if (auto* edit = ui().tabWidget->findChild<QLineEdit*>(name)) {
            edit->setText(text);
        } else {
            auto* box = ui().tabWidget->findChild<QComboBox*>(name);
            ASSERT_NE(box, nullptr) << name.toStdString();
            box->setCurrentIndex(box->findText(text));
        }
    }

    // Lets one of the window's timers expire now.
    void fire(int timer) {
        if (timer <= 0) {
            return;
        }
        QTimerEvent e(timer);
        QCoreApplication::sendEvent(window.get(), &e);
    }
    void tick() { fire(in().m_periodTimer()); }

    // Frames since the last call; a frame of its own marks the end, since datagrams keep their order on
    // loopback.
    std::vector<QByteArray> takeUpToMarker() {
        const QByteArray marker = hex("FB2CAA02EE7F93");
        const std::uint16_t last = in().m_lastCode();
        window->sendVariableFrame(0x7FEE, nullptr, 0);
        in().m_lastCode() = last;
        EXPECT_TRUE(waitFor([&] { return peer.count() > 0 && peer.frames().back() == marker; }));
        std::vector<QByteArray> frames = peer.take();
        if (!frames.empty()) {
            frames.pop_back();
        }
        return frames;
    }

    void bringUp(QWidget* widget) {
        for (int page = 0; page < 2; ++page) {
            if (ui().tabWidget->widget(page)->isAncestorOf(widget)) {
                ui().tabWidget->setCurrentIndex(page);
            }
        }
        // One box belongs to the gyro mode.
        if (widget == ui().comboBox) {
            ui().radioButton_14->setChecked(true);
        }
        for (int servo_frame = 0; servo_frame < 2 && !widget->isVisible(); ++servo_frame) {
            window->setServoFrame(servo_frame);
        }
        if (!widget->isEnabled()) {
            window->on_toggled_li(true);
        }
        fire(in().m_stopTimer());
        if (in().m_periodTimer() > 0) {
            tick();
            tick();
        }
        takeUpToMarker();
        ASSERT_TRUE(widget->isVisible()) << widget->objectName().toStdString();
        ASSERT_TRUE(widget->isEnabled()) << widget->objectName().toStdString();
    }

    QWidget* control(const GoldenRow& row) const {
        QWidget* found = nullptr;
        if (row.kind == "button") {
            found = ui().tabWidget->findChild<QMyCmdBtn*>(row.name);
        }
        if (row.kind == "combo") {
            found = ui().tabWidget->findChild<QComboBox*>(row.name);
        }
        if (row.kind == "switch") {
            found = ui().tabWidget->findChild<SwitchControl*>(row.name);
        }
        return found;
    }

    // The operator's hand on the control; the release of a combo box or switch is the stop timer.
    void press(const GoldenRow& row, QWidget* widget) {
        if (row.kind == "button") {
            QTest::mousePress(widget, Qt::LeftButton);
        } else if (row.kind == "combo") {
            auto* box = static_cast<QComboBox*>(widget);
            const int index = row.condition.toInt();
            ASSERT_LT(index, box->count());
            box->setCurrentIndex(index == 0 ? 1 : index - 1);
            QTest::keyClick(box, index == 0 ? Qt::Key_Up : Qt::Key_Down);
            ASSERT_EQ(box->currentIndex(), index);
        } else {
            auto* toggle = static_cast<SwitchControl*>(widget);
            const bool on = row.condition == "1";
            toggle->setToggle(!on);
            QTest::mouseClick(toggle, Qt::LeftButton);
            ASSERT_EQ(toggle->isToggled(), on);
        }
    }
    void release(const GoldenRow& row, QWidget* widget) {
        if (row.kind == "button") {
            QTest::mouseRelease(widget, Qt::LeftButton);
        }
        fire(in().m_stopTimer());
    }

    void chooseServo(const GoldenRow& row) {
        if (row.kind != "button") {
            return;
        }
        (row.condition == "gyro" ? ui().radioButton_14 : ui().radioButton_13)->setChecked(true);
    }

    void runSingle(const GoldenRow& row) {
        QWidget* widget = control(row);
        ASSERT_NE(widget, nullptr);
        chooseServo(row);
        bringUp(widget);
        press(row, widget);
        const std::vector<QByteArray> pressed = takeUpToMarker();
        EXPECT_EQ(pressed, row.press) << hexOf(pressed);
        for (int i = 0; i < 3; ++i) {
            tick();
        }
        const std::vector<QByteArray> held = takeUpToMarker();
        EXPECT_TRUE(held.empty()) << hexOf(held);
        release(row, widget);
        const std::vector<QByteArray> released = takeUpToMarker();
        EXPECT_EQ(released, row.release) << hexOf(released);
    }

    void runPeriodic(const GoldenRow& row) {
        QWidget* widget = control(row);
        ASSERT_NE(widget, nullptr);
        chooseServo(row);
        bringUp(widget);
        press(row, widget);
        for (int i = 0; i < 3; ++i) {
            tick();
        }
        const std::vector<QByteArray> held = takeUpToMarker();
        EXPECT_GE(held.size(), 3U);
        EXPECT_EQ(withoutRepeats(held), row.held) << hexOf(held);
        release(row, widget);
        const std::vector<QByteArray> silent = takeUpToMarker();
        EXPECT_TRUE(silent.empty()) << "the release waits for the tick" << hexOf(silent);
        for (int i = 0; i < 3; ++i) {
            tick();
        }
        std::vector<QByteArray> expected = row.held;
        expected.insert(expected.end(), row.after.begin(), row.after.end());
        const std::vector<QByteArray> after = takeUpToMarker();
        EXPECT_EQ(withoutRepeats(after), expected) << hexOf(after);
    }

    const Golden golden = readGolden();
};

TEST_F(CommandsTest, TableNamesEveryControlOfBothPages) {
    start();
    QSet<QString> listed;
    for (const GoldenRow& row : golden.rows) {
        EXPECT_NE(control(row), nullptr) << row.kind.toStdString() << " " << row.name.toStdString();
        listed << row.kind + " " + row.name;
    }
    int controls = 0;
    const auto check = [&](const QWidget* widget, const char* kind) {
        ++controls;
        EXPECT_TRUE(listed.contains(kind + QString(" ") + widget->objectName()))
            << kind << " " << widget->objectName().toStdString();
    };
    for (QWidget* page : {ui().tab_test, ui().tab_ctl_ex}) {
        for (const auto* w : page->findChildren<QMyCmdBtn*>()) {
            check(w, "button");
        }
        for (const auto* w : page->findChildren<QComboBox*>()) {
            check(w, "combo");
        }
        for (const auto* w : page->findChildren<SwitchControl*>()) {
            check(w, "switch");
        }
    }
    EXPECT_EQ(controls, listed.size());
}

TEST_F(CommandsTest, SingleModeFramesOfEveryControl) {
    startLinked(true);
    for (const GoldenRow& row : golden.rows) {
        SCOPED_TRACE((row.kind + " " + row.name + " " + row.condition).toStdString());
        runSingle(row);
    }
}

TEST_F(CommandsTest, PeriodicModeFramesOfEveryControl) {
    startLinked(false);
    for (const GoldenRow& row : golden.rows) {
        SCOPED_TRACE((row.kind + " " + row.name + " " + row.condition).toStdString());
        runPeriodic(row);
    }
}

// What does not name a servo mode must not depend on it.
TEST_F(CommandsTest, OtherButtonsAreTheSameInGyroMode) {
    startLinked(true);
    for (GoldenRow row : golden.rows) {
        if (row.kind != "button" || row.condition != "any") {
            continue;
        }
        row.condition = "gyro";
        SCOPED_TRACE(row.name.toStdString());
        runSingle(row);
    }
}

TEST_F(CommandsTest, HeldCommandGoesOutAgainWithTheRealTimer) {
    start({{"common/send_single", false}, {"common/send_period_ms", 20}});
    openUdp();
    ui().tabWidget->show();
    letTheStartEnd();
    QTest::mousePress(ui().pushButton_119, Qt::LeftButton);
    const auto zoomFrames = [this] {
        int n = 0;
        for (const QByteArray& f : peer.frames()) {
            n += f.mid(2, 5) == hex("4503040000") ? 1 : 0;
        }
        return n;
    };
    ASSERT_TRUE(waitFor([&] { return zoomFrames() >= 4; }));
    QTest::mouseRelease(ui().pushButton_119, Qt::LeftButton);
    ASSERT_TRUE(waitFor([this] { return peer.frames().back().mid(2, 5) == hex("0000000000"); }));
    std::vector<QByteArray> parts;
    for (const QByteArray& f : peer.take()) {
        parts.push_back(f.mid(2, 5));
    }
    parts = withoutRepeats(parts);
    ASSERT_GE(parts.size(), 3U);
    EXPECT_EQ(std::vector<QByteArray>(parts.end() - 3, parts.end()),
              (std::vector<QByteArray>{hex("4503040000"), hex("4500000000"), hex("0000000000")}));
}

TEST_F(CommandsTest, ComboCommandStandsForAMomentThenEnds) {
    start({{"common/send_single", false}, {"common/send_period_ms", 20}});
    openUdp();
    ui().tabWidget->show();
    ui().comboBox_7->setCurrentIndex(0);
    QTest::keyClick(ui().comboBox_7, Qt::Key_Down);
    EXPECT_GT(in().m_stopTimer(), 0);
    ASSERT_TRUE(waitFor([this] { return in().m_stopTimer() == 0; }));
    peer.take();
    ASSERT_TRUE(waitFor([this] { return peer.count() > 0 && peer.frames().back()[2] == '\0'; }));
}

}  // namespace
