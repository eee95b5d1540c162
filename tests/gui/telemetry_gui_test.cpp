// Events of the receive path through the real window: state, record button, status pages.
#include <QRegularExpression>
#include <QScrollArea>
#include <QScrollBar>
#include <QStackedWidget>
#include <QTranslator>
#include <algorithm>
#include <vector>

#include "telemetry_fixture.h"

namespace {

using sorvane::TelemetryRecord;

template <std::size_t N>
std::vector<std::string> namesOf(const ExpectedRow (&rows)[N]) {
    std::vector<std::string> names;
    for (const ExpectedRow& row : rows) {
        names.emplace_back(row.object_name);
    }
    return names;
}

// Value labels of a page from top to bottom.
std::vector<std::string> valuesOf(const QWidget* page) {
    QList<QLabel*> labels;
    for (QLabel* label : page->findChildren<QLabel*>()) {
        if (label->property("role").toString() == QLatin1String("value")) {
            labels.push_back(label);
        }
    }
    std::sort(labels.begin(), labels.end(), [](const QLabel* a, const QLabel* b) { return a->y() < b->y(); });
    std::vector<std::string> names;
    for (const QLabel* label : labels) {
        names.push_back(label->objectName().toStdString());
    }
    return names;
}

// --- status pages ---

TEST_F(Telemetry, EachPageHasItsRowsInOrder) {
    EXPECT_EQ(valuesOf(ui().page), namesOf(kPodPage));
    EXPECT_EQ(valuesOf(ui().page_2), namesOf(kHealthPage));
    EXPECT_EQ(valuesOf(ui().page_3), namesOf(kAircraftPage));
}

TEST_F(Telemetry, EachLabelCarriesADefaultTextBeforeTheFirstReport) {
    for (const ExpectedRow& row : kPodPage) {
        EXPECT_EQ(text(row.object_name), "--") << row.object_name;
    }
    for (const ExpectedRow& row : kHealthPage) {
        EXPECT_EQ(text(row.object_name), "--") << row.object_name;
    }
}

TEST_F(Telemetry, AReportFillsEveryRowOfBothPages) {
    report(recordByHand());
    const auto expectPage = [this](const auto& rows) {
        for (const ExpectedRow& row : rows) {
            EXPECT_EQ(text(row.object_name), row.text) << row.object_name;
            if (row.caption != nullptr) {
                EXPECT_EQ(caption(row.object_name), row.caption);
            }
        }
    };
    expectPage(kPodPage);
    expectPage(kHealthPage);
    EXPECT_NE(text("label_140"), "(no label)");
}

TEST_F(Telemetry, EventsOfBothNumbersAreHandledAlike) {
    TelemetryRecord record = recordByHand();
    send(EVT_TELEMETRY_ALT, &record, sizeof record);
    EXPECT_EQ(text("m_fldTrackX"), "-128");
    EXPECT_TRUE(in().m_tracking());
}

TEST_F(Telemetry, WithThePaneHiddenNoLabelChangesUntilTheNextReportAfterShowing) {
    report(recordByHand());
    in().m_statPane()->hide();
    ASSERT_FALSE(ui().widget_stat->isVisible());
    TelemetryRecord record = recordByHand();
    record.track_x = 77;
    record.servo_state = 2;
    report(record);
    EXPECT_EQ(text("m_fldTrackX"), "-128");
    // The state follows all the same.
    EXPECT_EQ(+in().m_telemetry().track_x, 77);
    EXPECT_FALSE(in().m_tracking());
    in().m_statPane()->show();
    ASSERT_TRUE(waitFor([this] { return ui().widget_stat->isVisible(); }));
    EXPECT_EQ(text("m_fldTrackX"), "-128");
    record.track_y = 5;
    report(record);
    EXPECT_EQ(text("m_fldTrackX"), "77");
    EXPECT_EQ(text("m_fldTrackY"), "5");
}

TEST_F(Telemetry, ThePaneButtonTogglesThePaneAndItsArrow) {
    QPushButton* toggle = in().m_btnStatPane();
    EXPECT_EQ(toggle->text(), "<");
    toggle->click();
    EXPECT_FALSE(ui().widget_stat->isVisible());
    EXPECT_EQ(toggle->text(), ">");
    toggle->click();
    EXPECT_TRUE(ui().widget_stat->isVisible());
    EXPECT_EQ(toggle->text(), "<");
}

TEST_F(Telemetry, ThePaneThatItsButtonShowsCatchesUpWithTheNextReport) {
    QPushButton* toggle = in().m_btnStatPane();
    TelemetryRecord record = recordByHand();
    report(record);
    ASSERT_EQ(text("m_fldTrackX"), "-128");
    toggle->click();
    ASSERT_FALSE(ui().widget_stat->isVisible());
    record.track_x = 77;
    report(record);
    ASSERT_EQ(+in().m_telemetry().track_x, 77);
    toggle->click();
    ASSERT_TRUE(ui().widget_stat->isVisible());
    QCoreApplication::processEvents();
    EXPECT_EQ(text("m_fldTrackX"), "-128");
    report(record);
    EXPECT_EQ(text("m_fldTrackX"), "77");
}

TEST_F(Telemetry, WithoutTheInterfaceTheStackHasTwoPagesAndNoWrap) {
    QStackedWidget* stack = ui().stackedWidget;
    ASSERT_EQ(stack->count(), 2);
    stack->setCurrentIndex(0);
    EXPECT_EQ(stack->currentWidget(), ui().page);
    QTest::mouseClick(ui().m_btnPagePrev, Qt::LeftButton);
    EXPECT_EQ(stack->currentIndex(), 0);
    QTest::mouseClick(ui().m_btnPageNext, Qt::LeftButton);
    EXPECT_EQ(stack->currentWidget(), ui().page_2);
    QTest::mouseClick(ui().m_btnPageNext, Qt::LeftButton);
    EXPECT_EQ(stack->currentIndex(), 1);
    QTest::mouseClick(ui().m_btnPagePrev, Qt::LeftButton);
    EXPECT_EQ(stack->currentIndex(), 0);
}

TEST_F(Telemetry, BothZoomBitsSetLeaveTheLabelAsItIs) {
    TelemetryRecord record = recordByHand();
    report(record);
    ASSERT_EQ(text("m_fldRecvFdbk_4"), "2x");
    record.status_word_b = static_cast<std::uint16_t>(record.status_word_b | 0x0C00);
    report(record);
    EXPECT_EQ(text("m_fldRecvFdbk_4"), "2x");
}

TEST_F(Telemetry, TrackStateSixAndServoStateSixteenLeaveTheirLabels) {
    TelemetryRecord record = recordByHand();
    record.track_state = 5;
    record.servo_state = 15;
    report(record);
    EXPECT_EQ(text("label_track_state_val"), "截获状态");
    EXPECT_EQ(text("label_servo_state_val"), "姿态指引");
    record.track_state = 6;
    record.servo_state = 16;
    report(record);
    EXPECT_EQ(text("label_track_state_val"), "截获状态");
    EXPECT_EQ(text("label_servo_state_val"), "姿态指引");
}

TEST_F(Telemetry, LoadVersionReadsItsNibbles) {
    TelemetryRecord record;
    record.load_version = 0x23;
    report(record);
    EXPECT_EQ(text("label_load_version_val"), "2.3");
    record.load_version = 0xA1;
    report(record);
    EXPECT_EQ(text("label_load_version_val"), "10.1");
}

TEST_F(Telemetry, ATargetAltitudeOfMinusFiveReadsMinusFiveMetres) {
    TelemetryRecord record;
    record.target_altitude = -5;
    report(record);
    EXPECT_EQ(text("label_target_locate_alt_val"), "-5m");
}

TEST_F(Telemetry, LoadTypesDisplayModesAndGuidanceAtTheirEdges) {
    TelemetryRecord record;
    report(record);
    EXPECT_EQ(text("m_fldLoadType"), "非法值");
    EXPECT_EQ(text("label_ztzswcfk_val"), "-----");
    record.load_type = 5;
    record.display_mode = 7;
    record.attitude_guidance_feedback = 19;
    record.max_temperature = -15;
    report(record);
    EXPECT_EQ(text("m_fldLoadType"), "四光");
    EXPECT_EQ(text("m_fldRecvFdbk_17"), "-----");
    EXPECT_EQ(text("label_ztzswcfk_val"), "姿态指示完成");
    EXPECT_EQ(text("label_max_temp_val"), "-1.5℃");
    record.load_type = 6;
    report(record);
    EXPECT_EQ(text("m_fldLoadType"), "非法值");
}

TEST_F(Telemetry, TheLastValuesStayWhenNothingMoreComes) {
    report(recordByHand());
    window->refreshStatus();
    EXPECT_EQ(text("m_fldTrackX"), "-128");
}

// Counts the layout requests of a page's widgets.
class LayoutCounter : public QObject {
public:
    explicit LayoutCounter(QWidget* page) {
        page->installEventFilter(this);
        for (QWidget* child : page->findChildren<QWidget*>()) {
            child->installEventFilter(this);
        }
    }
    bool eventFilter(QObject*, QEvent* e) override {
        if (e->type() == QEvent::LayoutRequest) {
            ++requests;
        }
        return false;
    }
    int requests = 0;
};

TEST_F(Telemetry, ARefreshAsksForNoLayout) {
    ui().stackedWidget->setCurrentWidget(ui().page);
    report(TelemetryRecord());
    LayoutCounter counter(ui().widget_stat);
    // What the first showing of the pane asks for goes up its layouts, a level a round.
    ASSERT_TRUE(waitFor([&] {
        counter.requests = 0;
        QCoreApplication::processEvents();
        return counter.requests == 0 && text("label_pod_age_val") != "--";
    }));
    report(recordByHand());
    QCoreApplication::processEvents();
    ASSERT_EQ(text("m_fldTrackX"), "-128");
    EXPECT_EQ(counter.requests, 0);
}

// Labels of a page with less room than their text needs.
std::vector<std::string> cutLabels(const QWidget* page) {
    std::vector<std::string> cut;
    for (const QLabel* label : page->findChildren<QLabel*>()) {
        const QRect room = label->contentsRect();
        const QRect need = label->fontMetrics().boundingRect(
            QRect(0, 0, room.width(), 0), label->wordWrap() ? Qt::TextWordWrap : 0, label->text());
        if (room.width() < need.width() || room.height() < need.height()) {
            cut.push_back(label->objectName().toStdString() + " " + label->text().toStdString() + " needs " +
                          std::to_string(need.width()) + "x" + std::to_string(need.height()) + ", has " +
                          std::to_string(room.width()) + "x" + std::to_string(room.height()));
        }
    }
    return cut;
}

TEST_F(Telemetry, NoCaptionOrValueIsCutWithAndWithoutAScrollBar) {
    TelemetryRecord record = recordByHand();
    for (const int height : {900, 500}) {
        ui().widget_stat->setFixedHeight(height);
        for (QWidget* page : {ui().page, ui().page_2}) {
            ui().stackedWidget->setCurrentWidget(page);
            const auto* area = page->findChild<QScrollArea*>();
            ASSERT_NE(area, nullptr);
            ASSERT_TRUE(waitFor([&] { return area->verticalScrollBar()->isVisible() == (height < 600); }));
            // The two longest texts of the pages.
            for (const std::uint8_t mode : {3, 4}) {
                record.display_mode = mode;
                report(record);
                EXPECT_EQ(cutLabels(page), std::vector<std::string>()) << "height " << height;
            }
        }
    }
}

// --- language ---

// Puts a mark before every text of the two contexts of the status pages.
class MarkingTranslator : public QTranslator {
public:
    bool isEmpty() const override { return false; }
    QString translate(const char* context, const char* source, const char*, int) const override {
        if (std::strcmp(context, "KorvathClass") != 0 && std::strcmp(context, "Korvath") != 0) {
            return {};
        }
        return QStringLiteral("#") + QString::fromUtf8(source);
    }
};

TEST_F(Telemetry, ALanguageChangeSetsCaptionsAtOnceAndWordsWithTheNextReport) {
    TelemetryRecord record = recordByHand();
    report(record);
    const std::string own_caption = text("label_140");
    MarkingTranslator translator;
    qApp->installTranslator(&translator);
    window->retranslate();
    EXPECT_EQ(caption("m_fldTrackX"), "#中心点宽坐标：");
    EXPECT_EQ(caption("label_nav_pitch_val"), "#俯仰角：");
    EXPECT_EQ(text("label_140"), own_caption);
    EXPECT_EQ(text("label_servo_state_val"), "跟踪");
    EXPECT_EQ(text("m_fldTrackX"), "-128");
    report(record);
    EXPECT_EQ(text("label_servo_state_val"), "#跟踪");
    EXPECT_EQ(text("m_fldIRStat"), "#正常");
    EXPECT_EQ(text("m_fldTrackX"), "-128");
    qApp->removeTranslator(&translator);
    window->retranslate();
    EXPECT_EQ(caption("m_fldTrackX"), "中心点宽坐标：");
    EXPECT_EQ(text("label_servo_state_val"), "#跟踪");
}

TEST_F(Telemetry, InEnglishEveryTextIsEnglishAndFits) {
    in().m_settings()->applyLanguage(1);
    const QRegularExpression chinese(QStringLiteral("\\p{Han}"));
    ui().widget_stat->setFixedHeight(500);
    for (QWidget* page : {ui().page, ui().page_2}) {
        ui().stackedWidget->setCurrentWidget(page);
        for (int i = 0; i < 16; ++i) {
            TelemetryRecord record;
            record.load_type = static_cast<std::uint8_t>(i % 7);
            record.module_status = i % 2 == 0 ? 0x00 : 0xFF;
            record.status_word_a = i % 2 == 0 ? 0x0000 : 0xFFFF;
            record.status_word_b = i % 2 == 0 ? 0x0000 : 0x0BFF;
            record.servo_state = static_cast<std::uint8_t>(i);
            record.display_mode = static_cast<std::uint8_t>(i % 8);
            record.track_state = static_cast<std::uint8_t>(i % 6);
            record.attitude_guidance_feedback = static_cast<std::uint8_t>(17 + i % 4);
            report(record);
            QCoreApplication::processEvents();
            EXPECT_EQ(cutLabels(page), std::vector<std::string>());
            for (const QLabel* label : page->findChildren<QLabel*>()) {
                EXPECT_FALSE(label->text().contains(chinese)) << label->text().toStdString();
            }
        }
    }
    in().m_settings()->applyLanguage(0);
}

// --- what else a report sets ---

TEST_F(Telemetry, TheRecordButtonFollowsTheRecordingBitAndSurvivesALanguageChange) {
    TelemetryRecord record;
    report(record);
    EXPECT_EQ(ui().pushButton_132->text(), "开始录像");
    record.status_word_a = 1U << 4;
    report(record);
    EXPECT_EQ(ui().pushButton_132->text(), "停止录像");
    window->retranslate();
    EXPECT_EQ(ui().pushButton_132->text(), "停止录像");
    record.status_word_a = static_cast<std::uint16_t>(~(1U << 4));
    report(record);
    EXPECT_EQ(ui().pushButton_132->text(), "开始录像");
}

TEST_F(Telemetry, TrackingIsServoStateSevenAlone) {
    for (int state = 0; state < 256; ++state) {
        TelemetryRecord record;
        record.servo_state = static_cast<std::uint8_t>(state);
        report(record);
        EXPECT_EQ(in().m_tracking(), state == 7) << state;
    }
}

TEST_F(Telemetry, AnEventWithoutAPayloadChangesNothing) {
    report(recordByHand());
    for (const int type : {EVT_TELEMETRY, EVT_TELEMETRY_ALT, EVT_LINK_FRAME, EVT_INS_FRAME, EVT_NAV_BLOCK}) {
        QCoreApplication::postEvent(window.get(), new QMyEvent(type, nullptr, nullptr, 62));
    }
    QCoreApplication::sendPostedEvents(window.get());
    EXPECT_EQ(text("m_fldTrackX"), "-128");
}

}  // namespace
