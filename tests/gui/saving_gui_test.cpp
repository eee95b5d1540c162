// Telemetry saved and plotted by the real window: from bytes on the link to files on the disk and curves.
#include <QChart>
#include <QChartView>
#include <QDir>
#include <QFileInfo>
#include <QLabel>
#include <QLineSeries>
#include <QTemporaryDir>
#include <QTimerEvent>
#include <QValueAxis>

#include "analysis/qmyplotdlg.h"
#include "link_peer.h"
#include "pod_fixture.h"
#include "tests/telemetry/frames_by_hand.h"
#include "widgets/my_trans_dlg.h"

namespace {

QList<QByteArray> linesOf(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return {};
    }
    QList<QByteArray> result = file.readAll().split('\n');
    result.removeLast();
    return result;
}

// Both fixtures open the link their own way; what concerns plots and files is the same.
template <typename Base>
class SavingWith : public Base {
protected:
    void startSaving(QMap<QString, QVariant> more = {}) {
        more["dataSave/default_telemetry_saving_directory"] = folder.filePath("telem");
        if constexpr (std::is_same_v<Base, PodTest>) {
            this->startStation(more);
        } else {
            this->start(more);
        }
        this->in().m_localClock() = [this] { return now; };
    }
    void openPlots() {
        this->ui().action_chartAna->trigger();
        ASSERT_NE(plots(), nullptr);
        ASSERT_TRUE(QTest::qWaitForWindowExposed(plots(), 10000));
    }
    QMyPlotDlg* plots() { return this->in().m_plotDlg(); }
    template <typename T>
    T* part(const char* name) {
        return plots()->template findChild<T*>(QLatin1String(name));
    }
    QtCharts::QLineSeries* firstCurve() {
        return static_cast<QtCharts::QLineSeries*>(
            part<QtCharts::QChartView>("graphicsView")->chart()->series().first());
    }
    QPushButton* saveButton() { return part<QPushButton>("pushButton_start_2"); }
    QString file(const QString& name) const { return folder.filePath("telem/20260309/" + name); }
    QStringList files() const {
        return QDir(folder.filePath("telem/20260309")).entryList(QDir::Files, QDir::Name);
    }
    void report(std::int16_t yaw = 0) {
        auto* block = static_cast<sorvane::TelemetryRecord*>(std::malloc(sizeof(sorvane::TelemetryRecord)));
        *block = sorvane::TelemetryRecord();
        block->frame_yaw = yaw;
        QCoreApplication::postEvent(this->window.get(), new QMyEvent(EVT_TELEMETRY, nullptr, block, 0));
        QCoreApplication::sendPostedEvents(this->window.get());
    }

    QTemporaryDir folder;
    sorvane::CalendarTime now{2026, 3, 9, 7, 5, 2, 40};
};
using Saving = SavingWith<LinkTest>;
using SavingOfAPod = SavingWith<PodTest>;

TEST_F(Saving, TheActionOpensOneDialogAndKeepsIt) {
    startSaving();
    ASSERT_TRUE(ui().action_chartAna->isEnabled());
    ASSERT_EQ(plots(), nullptr);
    openPlots();
    QMyPlotDlg* const first = plots();
    EXPECT_EQ(first->parentWidget(), window.get());
    EXPECT_EQ(first->size(), QSize(1021, 655));
    first->close();
    openPlots();
    EXPECT_EQ(plots(), first);
}

TEST_F(Saving, IsRefusedBothWaysWhileTheLinkIsClosedAndGoesOnMeanwhile) {
    startSaving();
    openPlots();
    {
        const BoxWatcher boxes;
        saveButton()->click();
        EXPECT_EQ(boxes.seen, QStringList({"警告: 控制连接未打开"}));
    }
    EXPECT_FALSE(saveButton()->isChecked());
    EXPECT_FALSE(in().m_saving());
    EXPECT_EQ(in().m_telemFileTimer(), 0);
    openUdp();
    saveButton()->click();
    EXPECT_TRUE(saveButton()->isChecked());
    EXPECT_TRUE(in().m_saving());
    ASSERT_TRUE(runs(in().m_telemFileTimer()));
    report();
    dialog().pushButton_26->click();
    ASSERT_EQ(in().m_linkState(), kLinkNone);
    {
        const BoxWatcher boxes;
        saveButton()->click();
        EXPECT_EQ(boxes.seen, QStringList({"警告: 控制连接未打开"}));
    }
    EXPECT_TRUE(saveButton()->isChecked());
    report();
    plots()->close();
    report();
    EXPECT_EQ(linesOf(file("070502.dat")).size(), 3);
    EXPECT_EQ(linesOf(file("070502_params.csv")).size(), 4);
    openUdp();
    openPlots();
    EXPECT_TRUE(saveButton()->isChecked());
    const int timer = in().m_telemFileTimer();
    saveButton()->click();
    EXPECT_FALSE(saveButton()->isChecked());
    EXPECT_FALSE(in().m_saving());
    EXPECT_EQ(in().m_telemFileTimer(), 0);
    EXPECT_FALSE(runs(timer));
    report();
    EXPECT_EQ(linesOf(file("070502.dat")).size(), 3);
}

// From a datagram to the disk; the two positions are integers by then.
TEST_F(Saving, AReportOnTheLinkStandsInBothFiles) {
    startSaving();
    openPlots();
    openUdp();
    choosePeriodic();
    ASSERT_TRUE(waitFor([this] { return peer.count() > 0; }));
    saveButton()->click();
    const Bytes record = recordWithFloats();
    Bytes frame = Bytes{0xFC, 0x2C} + record;
    std::uint8_t check = 0;
    for (const std::uint8_t byte : record) {
        check = static_cast<std::uint8_t>(check ^ byte);
    }
    frame = frame + Bytes{check, 0xF0};
    peer.reply(QByteArray(reinterpret_cast<const char*>(frame.data()), static_cast<int>(frame.size())));
    ASSERT_TRUE(waitFor([this] { return linesOf(file("070502_params.csv")).size() == 2; }));
    QByteArray bytes;
    for (const std::uint8_t byte : recordWithIntegers()) {
        bytes += QString::asprintf("%02x ", byte).toLatin1();
    }
    EXPECT_EQ(linesOf(file("070502.dat")),
              QList<QByteArray>({"2026 03 09 07:05:02.040(60): " + bytes + "\r"}));
    EXPECT_EQ(linesOf(file("070502_params.csv")).last(),
              QByteArray("1, 2026 03 09 07:05:02.040,123.45,-12.34,-0.10, ,100.00,-0.01,0.05, ,-128,64\r"));
}

TEST_F(Saving, AnExpiryOfTheTimerBeginsNewFilesWithTheNextReport) {
    startSaving();
    openPlots();
    openUdp();
    saveButton()->click();
    report();
    QTimerEvent expiry(in().m_telemFileTimer());
    now.minute = 15;
    QCoreApplication::sendEvent(window.get(), &expiry);
    EXPECT_EQ(files().size(), 2);
    EXPECT_TRUE(in().m_saving());
    EXPECT_TRUE(runs(in().m_telemFileTimer()));
    now.second = 4;
    report();
    EXPECT_EQ(files(), QStringList({"070502.dat", "070502_params.csv", "071504.dat", "071504_params.csv"}));
}

TEST_F(Saving, TheFileHasAReportBeforeThePlotShowsIt) {
    startSaving();
    openPlots();
    openUdp();
    saveButton()->click();
    part<QComboBox>("comboBox_2")->setCurrentIndex(2);
    part<QPushButton>("pushButton_start")->click();
    ASSERT_TRUE(plots()->is_running());
    QList<std::pair<int, int>> seen;
    QObject::connect(firstCurve(), &QtCharts::QLineSeries::pointsReplaced, firstCurve(), [&] {
        seen << std::pair<int, int>(firstCurve()->count(), linesOf(file("070502.dat")).size());
    });
    report(100);
    ASSERT_TRUE(waitFor([&] { return !seen.isEmpty(); }));
    EXPECT_EQ(seen.first(), (std::pair<int, int>(1, 1)));
}

TEST_F(Saving, ReportsArePlottedWithThePaneHiddenAndTheLinkLost) {
    startSaving();
    openPlots();
    openUdp();
    part<QComboBox>("comboBox_2")->setCurrentIndex(2);
    part<QPushButton>("pushButton_start")->click();
    in().m_statPane()->hide();
    report(100);
    dialog().pushButton_26->click();
    ASSERT_EQ(in().m_linkState(), kLinkNone);
    report(200);
    EXPECT_TRUE(plots()->is_running());
    ASSERT_TRUE(waitFor([this] { return firstCurve()->count() == 2; }));
    EXPECT_EQ(firstCurve()->at(1), QPointF(2, 2));
    plots()->close();
    report(300);
    EXPECT_EQ(firstCurve()->count(), 2);
}

TEST_F(Saving, TheEndOfTheWindowClosesTheFiles) {
    startSaving();
    openPlots();
    openUdp();
    saveButton()->click();
    report();
    const auto opened = [this] {
        int count = 0;
        for (const QFileInfo& fd : QDir("/proc/self/fd").entryInfoList(QDir::Files | QDir::System)) {
            count += fd.symLinkTarget().startsWith(folder.path()) ? 1 : 0;
        }
        return count;
    };
    ASSERT_EQ(opened(), 2);
    stop();
    EXPECT_EQ(opened(), 0);
    EXPECT_EQ(linesOf(file("070502.dat")).size(), 1);
}

TEST_F(Saving, LanguageAndThemeReachTheDialog) {
    startSaving();
    openPlots();
    auto* view = part<QtCharts::QChartView>("graphicsView");
    const auto ground = [&] { return QColor(view->grab().toImage().pixel(2, 2)).name(); };
    in().m_settings()->applyLanguage(1);
    EXPECT_EQ(part<QLabel>("label_32")->text(), "Live plot of the turret's tracking data");
    EXPECT_EQ(part<QPushButton>("pushButton_start")->text(), "Start");
    EXPECT_EQ(firstCurve()->name(), "Frame azimuth");
    in().m_settings()->applyLanguage(0);
    EXPECT_EQ(part<QLabel>("label_32")->text(), "跟踪转台实时数据分析");
    EXPECT_EQ(firstCurve()->name(), "框架方位角");
    window->applyTheme(1);
    ASSERT_TRUE(waitFor([&] { return ground() == "#18202a"; })) << ground().toStdString();
    EXPECT_EQ(firstCurve()->pen().color().name(), "#4db3ff");
    window->applyTheme(0);
    ASSERT_TRUE(waitFor([&] { return ground() == "#ffffff"; })) << ground().toStdString();
    EXPECT_EQ(firstCurve()->pen().color().name(), "#0a63bd");
}

// As fast as the pod can: nothing is lost on the way to the disk, and the plot shows the newest.
TEST_F(SavingOfAPod, FiveHundredReportsASecondAreSavedAndPlotted) {
    startSaving();
    startPod({"--telemetry-hz", "500", "--telemetry-form", "variable", "--profile", "slew"});
    connectToPod();
    openPlots();
    part<QComboBox>("comboBox_2")->setCurrentIndex(2);
    part<QPushButton>("pushButton_start")->click();
    saveButton()->click();
    const auto rows = [this] { return linesOf(file("070502.dat")).size(); };
    ASSERT_TRUE(waitFor([&] { return rows() >= 1500; }, 60000)) << rows();
    saveButton()->click();
    const auto raw = linesOf(file("070502.dat"));
    const auto table = linesOf(file("070502_params.csv"));
    ASSERT_EQ(table.size(), raw.size() + 1);
    int different = 0;
    QByteArray before;
    for (int i = 0; i < raw.size(); ++i) {
        const QByteArray bytes = QByteArray::fromHex(raw[i].mid(29));
        ASSERT_EQ(bytes.size(), 60) << i;
        const auto field = [&](int at) {
            return static_cast<std::int16_t>(static_cast<unsigned char>(bytes[at]) |
                                             static_cast<unsigned char>(bytes[at + 1]) << 8);
        };
        const QByteArray expected =
            QString::asprintf("%d, 2026 03 09 07:05:02.040,%.2f,%.2f,%.2f, ,%.2f,%.2f,%.2f, ,%d,%d\r", i + 1,
                              field(7) / 100.0, field(9) / 100.0, field(11) / 100.0, field(39) / 100.0,
                              field(41) / 100.0, field(43) / 100.0, field(48), field(50))
                .toLatin1();
        ASSERT_EQ(table[i + 1], expected) << i;
        different += bytes != before ? 1 : 0;
        before = bytes;
    }
    EXPECT_GT(different, 20);
    EXPECT_TRUE(waitFor([this] { return firstCurve()->count() > 100; }));
    part<QPushButton>("pushButton_start")->click();
}

}  // namespace
