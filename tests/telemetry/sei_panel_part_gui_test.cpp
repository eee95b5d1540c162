// The dialog of the block in the video on its form alone, with a thread in the stream library's place.
#include "telemetry/sei_panel.h"

#include <gtest/gtest.h>

#include <QDialog>
#include <QFile>
#include <QLabel>
#include <QTest>
#include <QTranslator>
#include <atomic>
#include <memory>
#include <thread>

#include "forms/sei_form.h"
#include "tests/fakes/built_form.h"
#include "tests/telemetry/sei_by_hand.h"
#include "tests/widgets/wait.h"

namespace {

class SeiPanelPart : public ::testing::Test {
protected:
    ~SeiPanelPart() override { QCoreApplication::removeTranslator(&translator); }

    QLabel* label(const std::string& name) const {
        auto* found = dialog.findChild<QLabel*>(QString::fromStdString(name));
        return found != nullptr ? found : &missing;
    }
    std::string text(const char* name) const { return label(name)->text().toStdString(); }
    void expectTexts() const {
        for (const ExpectedSei& row : kSeiLeft) {
            EXPECT_EQ(text(row.object_name), row.text) << row.object_name;
        }
        for (const ExpectedSei& row : kSeiRight) {
            EXPECT_EQ(text(row.object_name), row.text) << row.object_name;
        }
    }
    // On a thread of its own, as the stream library does.
    static void hand(const SeiPanel::Taker& taker, Bytes run, int kind) {
        std::thread([&] { taker(run.data(), static_cast<int>(run.size()), kind); }).join();
    }
    static Bytes runOfNumber(int number) {
        Bytes payload = seiPayload();
        payload[16] = static_cast<std::uint8_t>(number);
        payload[17] = static_cast<std::uint8_t>(number >> 8);
        return seiRun(0, payload);
    }
    void speak(bool english) {
        if (english) {
            ASSERT_TRUE(translator.isEmpty() ? translator.load("./translations/Translation_en.qm") : true);
            QCoreApplication::installTranslator(&translator);
        } else {
            QCoreApplication::removeTranslator(&translator);
        }
        panel->retranslate();
    }

    mutable QLabel missing{"(no label)"};
    QDialog dialog;
    Ui::sei_info ui = builtForm<Ui::sei_info>(dialog);
    SeiForm form{ui};
    QTranslator translator;
    std::unique_ptr<SeiPanel> panel = std::make_unique<SeiPanel>(form, dialog);
};

TEST_F(SeiPanelPart, TheColumnsStandInTheirOrder) {
    dialog.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&dialog));
    const auto expectColumn = [this](const auto& rows, bool left) {
        int above = -1;
        for (const ExpectedSei& row : rows) {
            const QLabel* caption = label(std::string(row.object_name) + "_caption");
            const QLabel* value = label(row.object_name);
            EXPECT_EQ(caption->text().toStdString(), row.caption);
            EXPECT_EQ(value->text(), "--");
            EXPECT_GT(value->y(), above) << row.object_name;
            above = value->y();
            EXPECT_EQ(caption->geometry().center().y(), value->geometry().center().y()) << row.object_name;
            EXPECT_LT(caption->geometry().right(), value->x());
            EXPECT_EQ(value->geometry().right() < dialog.width() / 2, left) << row.object_name;
        }
    };
    expectColumn(kSeiLeft, true);
    expectColumn(kSeiRight, false);
}

TEST_F(SeiPanelPart, ABlockFillsAllLabelsOfAHiddenDialogOnTheGuiThread) {
    hand(panel->taker(), seiRunH264(), 0);
    EXPECT_EQ(text("val_battery"), "--") << "nothing is written on the stream's thread";
    QCoreApplication::processEvents();
    EXPECT_FALSE(dialog.isVisible());
    expectTexts();
}

TEST_F(SeiPanelPart, H265FillsThemToo) {
    hand(panel->taker(), seiRunH265(), 1);
    QCoreApplication::processEvents();
    expectTexts();
}

TEST_F(SeiPanelPart, WhatFailsLeavesEveryLabelAsItIs) {
    const Bytes wrong[] = {seiRun(0, seiPayload(), 1), seiRun(0, Bytes(95, 1)), seiRun(0, Bytes(97, 1)),
                           seiRunH265(), Bytes(1, 0)};
    for (const Bytes& run : wrong) {
        hand(panel->taker(), run, 0);
        QCoreApplication::processEvents();
        EXPECT_EQ(text("val_battery"), "--");
    }
    hand(panel->taker(), seiRunH264(), 0);
    for (const Bytes& run : wrong) {
        hand(panel->taker(), run, 0);
        QCoreApplication::processEvents();
        expectTexts();
    }
    hand(panel->taker(), seiRunH264(), 2);
    panel->taker()(nullptr, 0, 0);
    QCoreApplication::processEvents();
    expectTexts();
}

// Values that the next block lacks do not stay.
TEST_F(SeiPanelPart, EachBlockReplacesTheOneBefore) {
    hand(panel->taker(), seiRunH264(), 0);
    QCoreApplication::processEvents();
    EXPECT_EQ(text("val_temp_alarm"), "超温");
    EXPECT_EQ(text("val_track_mode"), "红外");
    Bytes payload = seiPayload();
    payload[89] = 0;
    payload[76] = 1;
    hand(panel->taker(), seiRun(0, payload), 0);
    QCoreApplication::processEvents();
    EXPECT_EQ(text("val_temp_alarm"), "--");
    EXPECT_EQ(text("val_track_mode"), "可见光");
}

// A held-up window meets the latest block alone.
TEST_F(SeiPanelPart, BlocksThatComeFasterThanTheWindowTurnsDoNotPileUp) {
    int updates = 0;
    class Counter : public QObject {
    public:
        explicit Counter(int& count) : m_count(count) {}
        bool eventFilter(QObject* /*obj*/, QEvent* e) override {
            m_count += e->type() == QEvent::MetaCall ? 1 : 0;
            return false;
        }

    private:
        int& m_count;
    } counter(updates);
    panel->installEventFilter(&counter);
    const SeiPanel::Taker taker = panel->taker();
    for (int i = 1; i <= 500; ++i) {
        hand(taker, runOfNumber(i), 0);
    }
    QCoreApplication::processEvents();
    EXPECT_EQ(text("val_uav_number"), "500");
    EXPECT_EQ(updates, 1);
    hand(taker, runOfNumber(501), 0);
    QCoreApplication::processEvents();
    EXPECT_EQ(text("val_uav_number"), "501");
    EXPECT_EQ(updates, 2);
}

TEST_F(SeiPanelPart, TheStreamsThreadMayOutliveThePanel) {
    const SeiPanel::Taker taker = panel->taker();
    std::atomic<bool> ends{false};
    std::atomic<int> handed{0};
    std::thread stream([&] {
        Bytes run = seiRunH264();
        while (!ends) {
            taker(run.data(), static_cast<int>(run.size()), 0);
            ++handed;
        }
    });
    EXPECT_TRUE(waitFor([&] { return text("val_uav_number") == "41137"; }));
    panel.reset();
    const int before = handed;
    EXPECT_TRUE(waitFor([&] { return handed > before + 100; }));
    ends = true;
    stream.join();
}

TEST_F(SeiPanelPart, CaptionsAndWordsFollowTheLanguageAndValuesStay) {
    hand(panel->taker(), seiRunH264(), 0);
    QCoreApplication::processEvents();
    speak(true);
    EXPECT_EQ(text("val_uav_number_caption"), "UAV number:");
    EXPECT_EQ(text("val_center_temp_caption"), "Centre temperature (℃):");
    EXPECT_EQ(text("val_track_mode"), "Infrared");
    EXPECT_EQ(text("val_temp_alarm"), "Too hot");
    EXPECT_EQ(text("val_latitude"), "-30.4538046");
    EXPECT_EQ(dialog.windowTitle(), "Telemetry");
    for (const auto* rows : {kSeiLeft, kSeiRight}) {
        for (int i = 0; i < 16; ++i) {
            const std::string caption = text((std::string(rows[i].object_name) + "_caption").c_str());
            EXPECT_NE(caption, rows[i].caption) << "not translated";
        }
    }
    speak(false);
    expectTexts();
    EXPECT_EQ(text("val_uav_number_caption"), "无人机编号：");
}

TEST_F(SeiPanelPart, WithoutABlockALanguageChangeLeavesTheDashes) {
    speak(true);
    for (const ExpectedSei& row : kSeiRight) {
        EXPECT_EQ(text(row.object_name), "--");
    }
    speak(false);
}

// No text that a block can bring is cut, in the program's own typeface.
TEST_F(SeiPanelPart, TheLongestTextsFit) {
    QFile sheet("./res/common.qss");
    ASSERT_TRUE(sheet.open(QIODevice::ReadOnly));
    dialog.setStyleSheet(QString::fromUtf8(sheet.readAll()));
    dialog.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&dialog));
    for (const bool english : {false, true}) {
        speak(english);
        for (const int byte : {0x7F, 0x80, 0xFF, 0x00, 0x01, 0x02}) {
            hand(panel->taker(), seiRun(0, Bytes(96, static_cast<std::uint8_t>(byte))), 0);
            QCoreApplication::processEvents();
            for (const QLabel* shown : dialog.findChildren<QLabel*>()) {
                const QFontMetrics metrics = shown->fontMetrics();
                EXPECT_LE(metrics.horizontalAdvance(shown->text()), shown->contentsRect().width())
                    << shown->text().toStdString();
                EXPECT_LE(metrics.height(), shown->contentsRect().height());
            }
        }
    }
}

}  // namespace
