// The log files without the window: what stands on the disk after reports, rotations and faults.
#include <sys/resource.h>

#include <QAbstractEventDispatcher>
#include <QProcess>
#include <QTextCodec>
#include <climits>
#include <csignal>

#include "tests/telemetry/log_fixture.h"

namespace {

class TelemetryLogPart : public LogFiles {
protected:
    int interval() const {
        for (const auto& info :
             QAbstractEventDispatcher::instance()->registeredTimers(const_cast<QObject*>(&timers))) {
            if (info.timerId == rotation_timer) {
                return info.interval;
            }
        }
        return -1;
    }
};

sorvane::TelemetryRecord knownRecord() {
    sorvane::TelemetryRecord record;
    record.load_type = 4;
    record.frame_yaw = 12345;
    record.frame_pitch = -1234;
    record.frame_roll = -5;
    record.attitude_yaw = 10000;
    record.attitude_pitch = -1;
    record.attitude_roll = 5;
    record.track_x = -128;
    record.track_y = 64;
    record.max_temperature = 0x1234;
    return record;
}

// The whole of both files, byte by byte.
TEST_F(TelemetryLogPart, BothFilesHoldWhatIsTold) {
    record = knownRecord();
    report();
    now.millisecond = 80;
    report();
    log->closeFiles();
    const QByteArray bytes =
        "04 00 00 00 00 00 00 39 30 2e fb fb ff 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 "
        "00 00 00 00 00 00 00 00 00 10 27 ff ff 05 00 00 00 00 80 ff 40 00 00 00 00 00 00 00 34 12 \r\n";
    EXPECT_EQ(contents(in("20260309/070502.dat")),
              "2026 03 09 07:05:02.040(60): " + bytes + "2026 03 09 07:05:02.080(60): " + bytes);
    const QByteArray values = ",123.45,-12.34,-0.05, ,100.00,-0.01,0.05, ,-128,64\r\n";
    const QByteArray heading = QTextCodec::codecForName("gb2312")->fromUnicode(QString::fromUtf8(
        "序号,时间, 框架方位角, 框架俯仰角, 框架横滚角, ,姿态方位角, 姿态俯仰角, 姿态横滚角, "
        ",跟踪宽偏差, 跟踪高偏差\r\n"));
    EXPECT_EQ(contents(in("20260309/070502_params.csv")),
              heading + "1, 2026 03 09 07:05:02.040" + values + "2, 2026 03 09 07:05:02.080" + values);
    EXPECT_EQ(filesOf("20260309"), QStringList({"070502.dat", "070502_params.csv"}));
}

// A program that others have written reads the table.
TEST_F(TelemetryLogPart, APythonReaderFindsTheColumnsUnderTheirHeadings) {
    record = knownRecord();
    report();
    report();
    QProcess python;
    python.start("python3", {"-c",
                             "import csv, sys\n"
                             "rows = list(csv.reader(open(sys.argv[1], encoding='gb2312', newline='')))\n"
                             "sys.stdout.reconfigure(encoding='utf-8')\n"
                             "columns = {h.strip(): i for i, h in enumerate(rows[0]) if h.strip()}\n"
                             "print(len(rows), *{len(r) for r in rows})\n"
                             "for h, i in columns.items(): print(h + '=' + rows[2][i].strip())\n",
                             in("20260309/070502_params.csv")});
    ASSERT_TRUE(python.waitForFinished(30000));
    EXPECT_EQ(python.readAllStandardError(), QByteArray());
    EXPECT_EQ(QString::fromUtf8(python.readAllStandardOutput()),
              QString("3 12\n序号=2\n时间=2026 03 09 07:05:02.040\n框架方位角=123.45\n框架俯仰角=-12.34\n"
                      "框架横滚角=-0.05\n姿态方位角=100.00\n姿态俯仰角=-0.01\n姿态横滚角=0.05\n"
                      "跟踪宽偏差=-128\n跟踪高偏差=64\n"));
}

// --- options ---

TEST_F(TelemetryLogPart, WithoutTheRawFileAndItsDirectoryNoTableIsMadeAndEachReportSaysSo) {
    config.telemetry_saving_option = 14;
    const DebugLines debug;
    report();
    report();
    report();
    EXPECT_FALSE(QDir(root()).exists());
    EXPECT_EQ(DebugLines::all(), QStringList({"SaveTelemIndividuals: Create dir failed!",
                                              "SaveTelemIndividuals: Create dir failed!",
                                              "SaveTelemIndividuals: Create dir failed!"}));
    EXPECT_EQ(log->saveTable(record), -1);
}

TEST_F(TelemetryLogPart, ADirectoryOfTheSameDayIsEnoughForTheTable) {
    config.telemetry_saving_option = 14;
    ASSERT_TRUE(QDir().mkpath(in("20260309")));
    report();
    EXPECT_EQ(filesOf("20260309"), QStringList({"070502_params.csv"}));
}

TEST_F(TelemetryLogPart, OptionOneMakesTheRawFileAlone) {
    config.telemetry_saving_option = 1;
    report();
    EXPECT_EQ(filesOf("20260309"), QStringList({"070502.dat"}));
    EXPECT_EQ(log->saveTable(record), 0);
    EXPECT_EQ(filesOf("20260309"), QStringList({"070502.dat"}));
}

TEST_F(TelemetryLogPart, OptionZeroWritesNothing) {
    config.telemetry_saving_option = 0;
    const DebugLines debug;
    log->toggle();
    ASSERT_TRUE(saving);
    report();
    EXPECT_FALSE(QDir(root()).exists());
    EXPECT_TRUE(DebugLines::all().isEmpty());
}

TEST_F(TelemetryLogPart, RowsFollowTheOptionOfTheMomentAndTheHeadingThatOfTheOpening) {
    config.telemetry_saving_option = 1 | 2;
    report();
    config.telemetry_saving_option = 1 | 8;
    report(7);
    const auto rows = lines(in("20260309/070502_params.csv"));
    ASSERT_EQ(rows.size(), 3);
    EXPECT_EQ(QTextCodec::codecForName("gb2312")->toUnicode(rows[0]),
              QString::fromUtf8("序号,时间, 框架方位角, 框架俯仰角, 框架横滚角"));
    EXPECT_EQ(rows[1], "1, 2026 03 09 07:05:02.040,0.00,0.00,0.00");
    EXPECT_EQ(rows[2], "2, 2026 03 09 07:05:02.040, ,7,0");
}

// --- directory ---

TEST_F(TelemetryLogPart, ARootThatEndsInABackslashKeepsIt) {
    config.default_telemetry_saving_directory = root() + "\\";
    report();
    EXPECT_EQ(QDir(folder.path()).entryList(QDir::Dirs | QDir::NoDotAndDotDot),
              QStringList({"telem\\20260309"}));
    EXPECT_EQ(lines(folder.path() + "/telem\\20260309/070502.dat").size(), 1);
}

TEST_F(TelemetryLogPart, ARootThatEndsInASlashGetsNoSecondOne) {
    config.default_telemetry_saving_directory = root() + "/";
    report();
    EXPECT_EQ(filesOf("20260309").size(), 2);
}

TEST_F(TelemetryLogPart, TheFirstReportMakesTheDirectoryWithAllItsParents) {
    config.default_telemetry_saving_directory = root() + "/一/二";
    report();
    EXPECT_EQ(lines(root() + "/一/二/20260309/070502.dat").size(), 1);
    EXPECT_EQ(lines(root() + "/一/二/20260309/070502_params.csv").size(), 2);
}

// --- time ---

TEST_F(TelemetryLogPart, ARotationNamesTheNewFilesByTheReportThatFollows) {
    report(1);
    report(2);
    now.minute = 15;
    log->onRotationTimer();
    // Nothing is opened by the expiry itself.
    EXPECT_EQ(filesOf("20260309").size(), 2);
    now.second = 9;
    report(3);
    EXPECT_EQ(filesOf("20260309"),
              QStringList({"070502.dat", "070502_params.csv", "071509.dat", "071509_params.csv"}));
    EXPECT_EQ(lines(in("20260309/070502.dat")).size(), 2);
    const auto rows = lines(in("20260309/071509_params.csv"));
    ASSERT_EQ(rows.size(), 2);
    EXPECT_TRUE(rows[1].startsWith("1, 2026 03 09 07:15:09.040,")) << rows[1].constData();
}

TEST_F(TelemetryLogPart, AcrossMidnightTheOldDirectoryServesUntilTheRotation) {
    now = {2026, 3, 9, 23, 59, 59, 900};
    report(1);
    now = {2026, 3, 10, 0, 0, 0, 100};
    report(2);
    EXPECT_FALSE(QDir(in("20260310")).exists());
    EXPECT_EQ(lines(in("20260309/235959.dat")).size(), 2);
    const auto rows = lines(in("20260309/235959_params.csv"));
    ASSERT_EQ(rows.size(), 3);
    EXPECT_TRUE(rows[2].startsWith("2, 2026 03 10 00:00:00.100,")) << rows[2].constData();
    log->onRotationTimer();
    report(3);
    EXPECT_EQ(filesOf("20260310"), QStringList({"000000.dat", "000000_params.csv"}));
}

TEST_F(TelemetryLogPart, AClockThatIsSetBackOrForwardAcrossMidnightChangesNoOpenFile) {
    now = {2026, 3, 10, 0, 0, 1, 0};
    report(1);
    for (const sorvane::CalendarTime& set : {sorvane::CalendarTime{2026, 3, 9, 23, 0, 0, 0},
                                             {2027, 1, 1, 0, 0, 0, 0},
                                             {1999, 12, 31, 1, 2, 3, 4}}) {
        now = set;
        report(2);
    }
    EXPECT_EQ(QDir(root()).entryList(QDir::Dirs | QDir::NoDotAndDotDot), QStringList({"20260310"}));
    EXPECT_EQ(lines(in("20260310/000001.dat")).size(), 4);
    EXPECT_EQ(lines(in("20260310/000001_params.csv")).size(), 5);
    log->onRotationTimer();
    report(3);
    EXPECT_EQ(filesOf("19991231").size(), 2);
}

// --- the switch ---

TEST_F(TelemetryLogPart, TheSwitchIsRefusedBothWaysWhileTheLinkIsClosed) {
    link_open = false;
    log->toggle();
    EXPECT_EQ(refused, 1);
    EXPECT_FALSE(saving);
    EXPECT_EQ(rotation_timer, 0);
    link_open = true;
    log->toggle();
    ASSERT_TRUE(saving);
    EXPECT_EQ(interval(), 600000);
    report(1);
    link_open = false;
    log->toggle();
    EXPECT_EQ(refused, 2);
    EXPECT_TRUE(saving);
    report(2);
    EXPECT_EQ(lines(in("20260309/070502.dat")).size(), 2);
    link_open = true;
    log->toggle();
    EXPECT_EQ(refused, 2);
    EXPECT_FALSE(saving);
    EXPECT_EQ(rotation_timer, 0);
    EXPECT_EQ(QAbstractEventDispatcher::instance()->registeredTimers(&timers).size(), 0);
    // Closed, so that what comes next is another file.
    now.second = 30;
    log->toggle();
    report(3);
    EXPECT_EQ(filesOf("20260309").size(), 4);
}

TEST_F(TelemetryLogPart, AnyIntervalIsHarmless) {
    for (const auto& [minutes, ms] : {std::pair<int, int>{0, 60000},
                                      {-5, 60000},
                                      {INT_MIN, 60000},
                                      {1, 60000},
                                      {30, 1800000},
                                      {INT_MAX, INT_MAX / 60000 * 60000}}) {
        config.telemetry_saving_interval = minutes;
        log->toggle();
        ASSERT_TRUE(saving) << minutes;
        EXPECT_EQ(interval(), ms) << minutes;
        log->toggle();
        ASSERT_FALSE(saving) << minutes;
    }
}

TEST_F(TelemetryLogPart, TheEndOfThePartClosesBothFiles) {
    const auto opened = [this] {
        int count = 0;
        for (const QFileInfo& fd : QDir("/proc/self/fd").entryInfoList(QDir::Files | QDir::System)) {
            count += fd.symLinkTarget().startsWith(root()) ? 1 : 0;
        }
        return count;
    };
    report();
    ASSERT_EQ(opened(), 2);
    log.reset();
    EXPECT_EQ(opened(), 0);
}

// --- faults ---

TEST_F(TelemetryLogPart, ADirectoryThatCannotBeMadeIsToldAndTriedAgain) {
    QFile file(root());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.close();
    {
        const DebugLines debug;
        EXPECT_EQ(log->saveRaw(record), -1);
        EXPECT_EQ(log->saveTable(record), -1);
        report();
        EXPECT_EQ(DebugLines::count("SaveTelemParams: Create dir failed!"), 2);
        EXPECT_EQ(DebugLines::count("SaveTelemIndividuals: Create dir failed!"), 2);
        EXPECT_EQ(DebugLines::all().size(), 4);
    }
    ASSERT_TRUE(file.remove());
    report();
    EXPECT_EQ(filesOf("20260309").size(), 2);
}

TEST_F(TelemetryLogPart, ARawFileThatDoesNotOpenRestsUntilTheRotationAndTheTableGoesOn) {
    ASSERT_TRUE(QDir().mkpath(in("20260309/070502.dat")));
    const DebugLines debug;
    EXPECT_EQ(log->saveRaw(record), -2);
    EXPECT_EQ(DebugLines::all(),
              QStringList({QString("open file \"%1\" failed!").arg(in("20260309/070502.dat"))}));
    for (int i = 0; i < 5; ++i) {
        now.second = 10 + i;
        report(i);
    }
    // Neither another attempt nor a warning about a file that is not open.
    EXPECT_EQ(DebugLines::all().size(), 1) << DebugLines::all().join('\n').toStdString();
    EXPECT_EQ(filesOf("20260309"), QStringList({"070510_params.csv"}));
    EXPECT_EQ(lines(in("20260309/070510_params.csv")).size(), 6);
    log->onRotationTimer();
    now.second = 40;
    report();
    EXPECT_EQ(lines(in("20260309/070540.dat")).size(), 1);
}

TEST_F(TelemetryLogPart, ATableThatDoesNotOpenIsTriedAgainWithTheNextReport) {
    ASSERT_TRUE(QDir().mkpath(in("20260309/070502_params.csv")));
    {
        const DebugLines debug;
        EXPECT_EQ(log->saveTable(record), -2);
        EXPECT_EQ(DebugLines::all(),
                  QStringList({QString("open file \"%1\" failed!").arg(in("20260309/070502_params.csv"))}));
    }
    now.second = 3;
    EXPECT_EQ(log->saveTable(record), 0);
    const auto rows = lines(in("20260309/070503_params.csv"));
    ASSERT_EQ(rows.size(), 2);
    EXPECT_TRUE(rows[1].startsWith("1, ")) << rows[1].constData();
}

TEST_F(TelemetryLogPart, ADirectoryThatIsRemovedOrReplacedHoldsNothingUp) {
    report(1);
    ASSERT_TRUE(QDir(in("20260309")).removeRecursively());
    for (int i = 0; i < 100; ++i) {
        report(i);
    }
    EXPECT_FALSE(QDir(in("20260309")).exists());
    QFile file(in("20260309"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.close();
    report(2);
    log->onRotationTimer();
    {
        const DebugLines debug;
        report(3);
        EXPECT_EQ(DebugLines::count("Create dir failed!"), 2);
    }
    ASSERT_TRUE(file.remove());
    report(4);
    EXPECT_EQ(filesOf("20260309").size(), 2);
}

// Files may not grow beyond a limit while it lives, as on a full disk.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) : m_signal(std::signal(SIGXFSZ, SIG_IGN)) {
        getrlimit(RLIMIT_FSIZE, &m_before);
        rlimit limit = m_before;
        limit.rlim_cur = bytes;
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() {
        setrlimit(RLIMIT_FSIZE, &m_before);
        std::signal(SIGXFSZ, m_signal);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit m_before = {};
    void (*m_signal)(int);
};

TEST_F(TelemetryLogPart, AFullDiskStopsOneFileWhileTheOtherGoesOnAndEveryRowStaysWhole) {
    constexpr int kLimit = 8000;
    const QString raw = in("20260309/070502.dat");
    const QString table = in("20260309/070502_params.csv");
    {
        const FileSizeLimit limit(kLimit);
        const DebugLines debug;
        // A raw row has more than three times the bytes of one of the table.
        for (int i = 1; i <= 70; ++i) {
            report(i);
        }
        EXPECT_EQ(contents(raw).size(), kLimit);
        EXPECT_LT(contents(table).size(), kLimit);
        EXPECT_EQ(lines(table).size(), 71);
        for (int i = 71; i <= 3000; ++i) {
            report(i);
        }
        EXPECT_EQ(contents(table).size(), kLimit);
        EXPECT_TRUE(DebugLines::all().isEmpty()) << DebugLines::all().first().toStdString();
    }
    for (int i = 3001; i <= 3010; ++i) {
        report(i);
    }
    for (const QByteArray& row : lines(raw)) {
        EXPECT_EQ(row.size(), 29 + 180) << row.constData();
    }
    int last = 0;
    for (const QByteArray& row : lines(table).mid(1)) {
        EXPECT_EQ(row.count(','), 11) << row.constData();
        EXPECT_GT(row.left(row.indexOf(',')).toInt(), last);
        last = row.left(row.indexOf(',')).toInt();
    }
    EXPECT_EQ(last, 3010);
}

// --- a crash ---

TEST_F(TelemetryLogPart, AProcessThatIsKilledLosesAtMostTheRowBeingWritten) {
    QProcess child;
    child.start(QStringLiteral(SORVANE_LOG_CHILD), {root()});
    ASSERT_TRUE(child.waitForStarted());
    QByteArray told;
    while (told.count('\n') < 300) {
        ASSERT_TRUE(child.waitForReadyRead(30000));
        told += child.readAllStandardOutput();
    }
    child.kill();
    ASSERT_TRUE(child.waitForFinished(30000));
    ASSERT_EQ(child.exitStatus(), QProcess::CrashExit);
    told += child.readAllStandardOutput();
    const int saved = told.left(told.lastIndexOf('\n')).split('\n').last().toInt();
    ASSERT_GE(saved, 300);
    const auto raw = lines(in("20260309/070502.dat"));
    const auto table = lines(in("20260309/070502_params.csv"));
    ASSERT_GE(raw.size(), saved);
    ASSERT_GE(table.size(), saved + 1);
    for (int i = 1; i <= saved; ++i) {
        // track_x at byte 48, low byte first.
        const QByteArray bytes = raw[i - 1].mid(29);
        ASSERT_EQ(bytes.mid(48 * 3, 5).toStdString(),
                  QString::asprintf("%02x %02x", i & 0xFF, i >> 8 & 0xFF).toStdString());
        ASSERT_TRUE(table[i].startsWith(QByteArray::number(i) + ", ")) << table[i].constData();
        ASSERT_TRUE(table[i].endsWith(", ," + QByteArray::number(i) + ",0")) << table[i].constData();
    }
}

}  // namespace
