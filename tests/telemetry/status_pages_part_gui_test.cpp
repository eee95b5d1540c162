// The status pages and the dialog of the aircraft's data on their forms alone.
#include <gtest/gtest.h>

#include <QDialog>
#include <QMainWindow>
#include <QTest>
#include <QTranslator>
#include <cstring>
#include <random>

#include "forms/main_form.h"
#include "forms/telemetry_form.h"
#include "telemetry/injection.h"
#include "telemetry/status_pages.h"
#include "tests/fakes/built_form.h"
#include "tests/telemetry/panels_by_hand.h"
#include "tests/widgets/wait.h"

namespace {

class StatusPagesPart : public ::testing::Test {
protected:
    ~StatusPagesPart() override { QCoreApplication::removeTranslator(&translator); }

    void showPane(bool visible) {
        window.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
        ui.widget_stat->setVisible(visible);
        ASSERT_EQ(ui.widget_stat->isVisible(), visible);
    }
    std::string text(const QWidget* page, const std::string& name) const {
        const auto* label = page->findChild<QLabel*>(QString::fromStdString(name));
        return label != nullptr ? label->text().toStdString() : std::string("(no label)");
    }
    template <std::size_t N>
    void expectRows(const QWidget* page, const ExpectedRow (&rows)[N]) const {
        for (const ExpectedRow& row : rows) {
            EXPECT_EQ(text(page, row.object_name), row.text) << row.object_name;
        }
    }

    QMainWindow window;
    Ui::KorvathClass ui = builtForm<Ui::KorvathClass>(window);
    MainForm form{ui};
    sorvane::TelemetryRecord record;
    sorvane::NavBlock nav;
    QTranslator translator;
    StatusPages pages{form, record, nav};
};

TEST_F(StatusPagesPart, FillTheFormsPages) {
    for (const ExpectedRow& row : kAircraftPage) {
        EXPECT_EQ(text(form.aircraft_content, row.object_name), "") << row.object_name;
        EXPECT_EQ(text(form.aircraft_content, std::string(row.object_name) + "_caption"), row.caption);
    }
    for (const ExpectedRow& row : kPodPage) {
        EXPECT_EQ(text(form.pod_content, row.object_name), "--") << row.object_name;
        EXPECT_EQ(text(form.pod_content, std::string(row.object_name) + "_caption"), row.caption);
    }
    for (const ExpectedRow& row : kHealthPage) {
        EXPECT_EQ(text(form.health_content, row.object_name), "--") << row.object_name;
        if (row.caption != nullptr) {
            EXPECT_EQ(text(form.health_content, std::string(row.object_name) + "_caption"), row.caption);
        }
    }
}

TEST_F(StatusPagesPart, AReportFillsBothPagesOfThePodWhileTheyAreSeen) {
    showPane(true);
    record = recordByHand();
    nav = navByHand();
    pages.onRecord();
    expectRows(form.pod_content, kPodPage);
    expectRows(form.health_content, kHealthPage);
    EXPECT_EQ(text(form.aircraft_content, kAircraftPage[0].object_name), "");
}

TEST_F(StatusPagesPart, TheAgeOfTheLastReportHasALineOnBothPagesOfThePod) {
    qint64 now = 5000;
    pages.now_ms = [&now] { return now; };
    showPane(true);
    const std::string names[] = {"label_pod_age_val", "label_health_age_val"};
    const auto expectAges = [&](const std::string& age, const QString& tone) {
        for (const std::string& name : names) {
            EXPECT_EQ(text(ui.stackedWidget, name), age);
            EXPECT_EQ(ui.stackedWidget->findChild<QLabel*>(name.c_str())->property("tone").toString(), tone);
        }
    };
    pages.showAge();
    expectAges("--", "");
    pages.onRecord();
    pages.showAge();
    expectAges("0.0 s 前", "");
    now += 1940;
    pages.showAge();
    expectAges("1.9 s 前", "");
    now += 61;
    pages.showAge();
    expectAges("2.0 s 前", "danger");
    pages.onRecord();
    pages.showAge();
    expectAges("0.0 s 前", "");
    EXPECT_EQ(text(ui.stackedWidget, "label_pod_age_val_caption"), "最后回报：");
}

TEST_F(StatusPagesPart, AHiddenPaneAsksForNoAge) {
    showPane(false);
    pages.onRecord();
    int asked = 0;
    pages.now_ms = [&asked] { return ++asked; };
    pages.showAge();
    EXPECT_EQ(asked, 0);
}

// The columns are as wide as the rows of the table make them, in both languages.
TEST_F(StatusPagesPart, TheLineOfTheAgeStandsInTheColumnsOfItsPage) {
    showPane(true);
    ASSERT_TRUE(translator.load("./translations/Translation_en.qm"));
    for (const bool english : {false, true}) {
        if (english) {
            QCoreApplication::installTranslator(&translator);
            pages.retranslate();
        }
        int widest = 0;
        for (const ExpectedRow& row : kPodPage) {
            const auto* caption = form.pod_content->findChild<QLabel*>(QString(row.object_name) + "_caption");
            widest = std::max(widest, caption->sizeHint().width());
        }
        const auto* first = form.pod_content->findChild<QLabel*>(kPodPage[0].object_name);
        const auto* age = ui.stackedWidget->findChild<QLabel*>("label_pod_age_val");
        EXPECT_EQ(age->x(), first->x());
        EXPECT_EQ(first->x(), widest + 8);
    }
}

TEST_F(StatusPagesPart, AHiddenPaneCostsNothingAndCatchesUpWithTheNextReport) {
    showPane(false);
    record = recordByHand();
    pages.onRecord();
    EXPECT_EQ(text(form.pod_content, "m_fldTrackX"), "--");
    EXPECT_EQ(text(form.health_content, "m_fldLoadType"), "--");
    ui.widget_stat->show();
    EXPECT_EQ(text(form.pod_content, "m_fldTrackX"), "--");
    pages.onRecord();
    expectRows(form.pod_content, kPodPage);
    expectRows(form.health_content, kHealthPage);
}

TEST_F(StatusPagesPart, RefreshWritesAHiddenPaneToo) {
    record = recordByHand();
    pages.refresh();
    expectRows(form.pod_content, kPodPage);
    expectRows(form.health_content, kHealthPage);
}

TEST_F(StatusPagesPart, TheAircraftPageFollowsItsBlockAlone) {
    record = recordByHand();
    nav = navByHand();
    pages.refreshAircraft();
    expectRows(form.aircraft_content, kAircraftPage);
    EXPECT_EQ(text(form.pod_content, "m_fldTrackX"), "--");
}

TEST_F(StatusPagesPart, AValueWithoutATextKeepsWhatItShows) {
    record = recordByHand();
    pages.refresh();
    record.servo_state = 16;
    record.track_x = 9;
    pages.refresh();
    EXPECT_EQ(text(form.health_content, "label_servo_state_val"), "跟踪");
    EXPECT_EQ(text(form.pod_content, "m_fldTrackX"), "9");
}

TEST_F(StatusPagesPart, TheRecordButtonFollowsItsBitWithThePaneHidden) {
    showPane(false);
    record.status_word_a = 1U << sorvane::kRecordingBit;
    pages.onRecord();
    EXPECT_EQ(form.pod_record->text(), "停止录像");
    record.status_word_a = static_cast<std::uint16_t>(~(1U << sorvane::kRecordingBit));
    pages.onRecord();
    EXPECT_EQ(form.pod_record->text(), "开始录像");
}

TEST_F(StatusPagesPart, ALanguageChangeSetsCaptionsAtOnceAndWordsWithTheNextReport) {
    record = recordByHand();
    pages.refresh();
    ASSERT_TRUE(translator.load("./translations/Translation_en.qm"));
    QCoreApplication::installTranslator(&translator);
    form.pod_record->setText("reset by the form");
    pages.retranslate();
    EXPECT_EQ(text(form.aircraft_content, "label_nav_pitch_val_caption"), "Pitch:");
    EXPECT_EQ(text(form.pod_content, "m_fldGestPitAng_caption"), "Attitude pitch:");
    EXPECT_EQ(text(form.pod_content, "m_fldRecvFdbk_10"), "TF已插入");
    EXPECT_EQ(form.pod_record->text().toStdString(),
              QCoreApplication::translate("Korvath", "停止录像").toStdString());
    EXPECT_NE(form.pod_record->text(), "停止录像");
    pages.refresh();
    EXPECT_NE(text(form.pod_content, "m_fldRecvFdbk_10"), "TF已插入");
    EXPECT_EQ(text(form.pod_content, "m_fldTrackX"), "-128");
}

TEST_F(StatusPagesPart, TheNumberAndTheArrowsFollowThePage) {
    const auto state = [this] {
        return ui.label_page->text() + (ui.m_btnPagePrev->isEnabled() ? " <" : "") +
               (ui.m_btnPageNext->isEnabled() ? " >" : "");
    };
    form.status_pages->setCurrentIndex(0);
    EXPECT_EQ(state(), "1 / 3 >");
    form.status_pages->setCurrentIndex(1);
    EXPECT_EQ(state(), "2 / 3 < >");
    form.status_pages->setCurrentIndex(2);
    EXPECT_EQ(state(), "3 / 3 <");
    // Without the interface feed the first page is taken out.
    form.status_pages->removeWidget(form.aircraft_page);
    EXPECT_EQ(state(), "2 / 2 <");
    form.status_pages->setCurrentIndex(0);
    EXPECT_EQ(state(), "1 / 2 >");
}

// Texts of a page that do not fit their labels.
QStringList cutTexts(const QWidget* page) {
    QStringList cut;
    for (const QLabel* label : page->findChildren<QLabel*>()) {
        const QRect room = label->contentsRect();
        const QRect need = label->fontMetrics().boundingRect(
            QRect(0, 0, room.width(), 0), label->wordWrap() ? Qt::TextWordWrap : 0, label->text());
        if (need.width() > room.width() || need.height() > room.height()) {
            cut << label->text();
        }
    }
    return cut;
}

// Whatever a report brings, in both languages: bytes that no rule chose.
TEST_F(StatusPagesPart, ThePaneIsWideEnoughForEveryReportAndNoWider) {
    std::mt19937 random(7);
    ui.widget_stat->setParent(nullptr);
    ui.widget_stat->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(ui.widget_stat));
    for (const bool english : {false, true}) {
        if (english) {
            ASSERT_TRUE(translator.load("./translations/Translation_en.qm"));
            QCoreApplication::installTranslator(&translator);
            pages.retranslate();
        }
        // Low enough for a scroll bar.
        ui.widget_stat->resize(ui.widget_stat->width(), 500);
        int least_spare = ui.widget_stat->width();
        for (const auto& [page, content] :
             {std::pair(ui.page, form.pod_content), std::pair(ui.page_2, form.health_content)}) {
            form.status_pages->setCurrentWidget(page);
            QCoreApplication::processEvents();
            for (int i = 0; i < 300; ++i) {
                for (std::size_t at = 0; at < sizeof record; ++at) {
                    reinterpret_cast<unsigned char*>(&record)[at] = static_cast<unsigned char>(random());
                }
                // Most values of an enumeration are none of its texts.
                record.display_mode %= 8;
                record.servo_state %= 16;
                record.track_state %= 6;
                pages.refresh();
                ASSERT_EQ(cutTexts(content), QStringList()) << "pane " << ui.widget_stat->width();
                for (const QLabel* label : content->findChildren<QLabel*>()) {
                    if (label->buddy() == nullptr && !label->wordWrap() && label->width() > 0) {
                        const int text = label->fontMetrics().horizontalAdvance(label->text());
                        least_spare = qMin(least_spare, label->width() - text);
                    }
                }
            }
        }
        EXPECT_LE(least_spare, 16) << "width that no text needs";
    }
    ui.widget_stat->setParent(window.centralWidget());
}

// --- the aircraft's data as the operator types them ---

class Injection : public ::testing::Test {
protected:
    QDialog dialog;
    Ui::telemetry_info ui = builtForm<Ui::telemetry_info>(dialog);
    TelemetryForm form{ui};
    sorvane::NavBlock nav;
};

TEST_F(Injection, TakesEveryFieldButTheTime) {
    form.pitch->setText("-10.5");
    form.roll->setText("2.25");
    form.heading->setText("358.5");
    form.altitude->setText("-123");
    form.longitude->setText("114.4231691");
    form.latitude->setText("-30.4538046");
    form.east_speed->setText("5.4");
    form.ground_speed->setText("10.8");
    form.north_speed->setText("-9");
    form.satellites->setText("12");
    sorvane::NavBlock expected = navByHand();
    for (auto time : {&sorvane::NavBlock::year, &sorvane::NavBlock::month, &sorvane::NavBlock::day,
                      &sorvane::NavBlock::hour, &sorvane::NavBlock::minute, &sorvane::NavBlock::second,
                      &sorvane::NavBlock::hundredths}) {
        nav.*time = 77;
        expected.*time = 77;
    }
    takeTypedData(form, nav);
    EXPECT_EQ(+nav.pitch, -1050);
    EXPECT_EQ(+nav.longitude, 1144231691);
    EXPECT_EQ(std::memcmp(&nav, &expected, sizeof nav), 0);
}

TEST_F(Injection, WhatIsNoNumberBecomesZero) {
    nav = navByHand();
    for (QLineEdit* edit : {form.pitch, form.roll, form.heading, form.altitude, form.longitude, form.latitude,
                            form.east_speed, form.ground_speed, form.north_speed, form.satellites}) {
        edit->setText("north");
    }
    takeTypedData(form, nav);
    sorvane::NavBlock expected;
    sorvane::setLocalTime(expected, sorvane::CalendarTime{25, 11, 20, 28, 1, 5, 670});
    EXPECT_EQ(std::memcmp(&nav, &expected, sizeof nav), 0);
}

}  // namespace
