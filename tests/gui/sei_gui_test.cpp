// The block in the video on its whole road: the simulated pod's stream through the station's own receiver
// into the dialog. What was sent is read off the wire, in between.
#include <QGridLayout>
#include <QLabel>
#include <QSet>
#include <QUdpSocket>

#include "pod_fixture.h"
#include "widgets/common_dlg.h"

namespace {

// Between the pod's sender and the station: passes every datagram on and notes the blocks in them.
class Tap {
public:
    Tap(int codec, int station_port) : m_station_port(station_port) {
        m_head = QByteArray::fromHex(codec == 264 ? "00000001060561" : "000000014e010561");
        QObject::connect(&m_socket, &QUdpSocket::readyRead, [this] { pass(); });
    }
    bool bind() {
        const bool bound = m_socket.bind(QHostAddress(QHostAddress::LocalHost));
        m_socket.setSocketOption(QAbstractSocket::ReceiveBufferSizeSocketOption, 4 << 20);
        return bound;
    }
    int port() const { return m_socket.localPort(); }

    QList<QByteArray> sent;  // payloads without their checksum, clean
    bool damages = false;    // one bit of each block from now on

private:
    void pass() {
        while (m_socket.hasPendingDatagrams()) {
            QByteArray bytes(static_cast<int>(m_socket.pendingDatagramSize()), 0);
            m_socket.readDatagram(bytes.data(), bytes.size());
            const int at = bytes.indexOf(m_head);
            if (at >= 0) {
                take(bytes.mid(at + m_head.size()));
                // The latitude's third byte, or one beside it.
                if (damages) {
                    bytes[at + m_head.size() + 40] = static_cast<char>(bytes[at + m_head.size() + 40] ^ 0x20);
                }
            }
            m_out.writeDatagram(bytes, QHostAddress(QHostAddress::LocalHost),
                                static_cast<quint16>(m_station_port));
        }
    }
    void take(const QByteArray& escaped) {
        QByteArray clean;
        for (int i = 0, zeros = 0; i < escaped.size() && clean.size() < 96; ++i) {
            if (zeros >= 2 && escaped[i] == 3) {
                zeros = 0;
                continue;
            }
            clean += escaped[i];
            zeros = escaped[i] == 0 ? zeros + 1 : 0;
        }
        if (clean.size() == 96) {
            sent << clean;
        }
    }

    QByteArray m_head;
    int m_station_port;
    QUdpSocket m_socket;
    QUdpSocket m_out;
};

int unsigned16(const QByteArray& p, int at) {
    return static_cast<quint8>(p[at]) | static_cast<quint8>(p[at + 1]) << 8;
}
int signed16(const QByteArray& p, int at) { return static_cast<qint16>(unsigned16(p, at)); }
double signed32(const QByteArray& p, int at) {
    return static_cast<qint32>(static_cast<quint32>(unsigned16(p, at)) |
                               static_cast<quint32>(unsigned16(p, at + 2)) << 16);
}

QString dateOf(const QByteArray& p) {
    const int word = unsigned16(p, 29);
    return QString::asprintf("%d/%d/%d", word % 128 + 2000, word / 128 % 16, word / 2048);
}
QString timeOf(const QByteArray& p) {
    const int s = static_cast<int>((unsigned16(p, 31) + static_cast<quint8>(p[33]) * 65536) * 0.01);
    return QString::asprintf("%02d:%02d:%02d", s / 3600, s % 3600 / 60, s % 60);
}
QString trackingOf(const QByteArray& p) {
    return p[76] == 1 ? QStringLiteral("可见光") : p[76] == 2 ? QStringLiteral("红外") : QStringLiteral("--");
}
QString alarmOf(const QByteArray& p) {
    if (p[89] == 1) {
        return QStringLiteral("超温");
    }
    return p[76] == 0 ? QStringLiteral("未超温") : QStringLiteral("--");
}

// Captions and values of both columns for a payload.
QStringList expected(const QByteArray& p) {
    const auto integer = [&p](int at) { return QString::number(unsigned16(p, at)); };
    const auto hundredths = [&p](int at) { return QString::asprintf("%.2f", signed16(p, at) * 0.01); };
    const auto field = [&p](int at) { return QString::asprintf("%.2f", unsigned16(p, at) * 0.01); };
    const auto tenths = [&p](int at) { return QString::asprintf("%.1f", signed16(p, at) * 0.1); };
    const auto degrees = [&p](int at) { return QString::asprintf("%.7f", signed32(p, at) * 1e-7); };
    const auto metres = [&p](int at) { return QString::asprintf("%.3f", signed32(p, at) * 0.001); };
    return {
        "无人机编号：" + integer(16),
        "飞机剩余电量（%）：" + QString::number(static_cast<quint8>(p[18])),
        "剩余续航时间（分）：" + integer(19),
        "已飞行时间（分）：" + integer(21),
        "载机航向角（°）：" + hundredths(23),
        "载机俯仰角（°）：" + hundredths(25),
        "载机滚转角（°）：" + hundredths(27),
        "吊舱方位角（°）：" + hundredths(52),
        "吊舱俯仰角（°）：" + hundredths(54),
        "吊舱滚转角（°）：" + hundredths(56),
        "目标距离（米）：" + integer(70),
        "可见光视场角（°）：" + field(72),
        "红外视场角（°）：" + field(74),
        "图像跟踪模式：" + trackingOf(p),
        "超温报警设置值（℃）：" + tenths(85),
        "超温报警标志：" + alarmOf(p),
        "日期：" + dateOf(p),
        "时间：" + timeOf(p),
        "载机经度（°）：" + degrees(34),
        "载机纬度（°）：" + degrees(38),
        "载机海拔高度（米）：" + metres(42),
        "载机对地高度（米）：" + integer(46),
        "载机水平速度（m/s）：" + field(48) + "m/s",
        "载机垂直速度（m/s）：" + field(50) + "m/s",
        "图像中心经度（°）：" + degrees(58),
        "图像中心纬度（°）：" + degrees(62),
        "图像中心海拔高度（米）：" + metres(66),
        "跟踪框左上角X坐标：" + QString::number(signed16(p, 77)),
        "跟踪框左上角Y坐标：" + QString::number(signed16(p, 79)),
        "跟踪框宽度：" + integer(81),
        "跟踪框高度：" + integer(83),
        "当前图像中心测温值（℃）：" + tenths(87),
    };
}

class Sei : public PodTest {
protected:
    void startWith(int codec) {
        const int station_port = freePort();
        start({{"connection/video1_play_address", QStringList{"127.0.0.1"}},
               {"connection/video1_port", station_port},
               {"system_function/video_type", 1},
               {"decode/decode_method", 0}});
        tap = std::make_unique<Tap>(codec, station_port);
        ASSERT_TRUE(tap->bind());
        startPodFor(freePort(), {"--telemetry-hz", "0", "--codec0", codec == 264 ? "h264" : "h265", "--size0",
                                 "640x512", "--raw0", QStringLiteral("127.0.0.1:%1").arg(tap->port())});
        in().ui_connection()->pushButton_22->click();
        ASSERT_TRUE(in().playing1());
    }
    // Caption and value of each row, as they stand beside each other.
    QStringList shown() const {
        QStringList rows;
        for (const QGridLayout* column : {in().ui_sei_info()->grid_1, in().ui_sei_info()->grid_2}) {
            for (int row = 0; row < column->rowCount(); ++row) {
                const auto text = [&](int at) {
                    return qobject_cast<QLabel*>(column->itemAtPosition(row, at)->widget())->text();
                };
                rows << text(0) + text(1);
            }
        }
        return rows;
    }
    bool wasSent(const QStringList& rows) const {
        for (auto it = tap->sent.crbegin(); it != tap->sent.crend(); ++it) {
            if (expected(*it) == rows) {
                return true;
            }
        }
        return false;
    }
    // Until so many different states have been seen, each of them one that was sent.
    void expectLive(int states) {
        QSet<QString> seen;
        EXPECT_TRUE(waitFor(
            [&] {
                const QStringList rows = shown();
                if (rows[0].endsWith("--") || seen.contains(rows.join('\n'))) {
                    return false;
                }
                EXPECT_TRUE(wasSent(rows)) << rows.join('\n').toStdString();
                seen << rows.join('\n');
                return seen.size() >= states || HasFailure();
            },
            60000))
            << seen.size() << " states, " << tap->sent.size() << " blocks sent";
    }

    std::unique_ptr<Tap> tap;
};

TEST_F(Sei, TheDialogShowsWhatAnH264StreamCarries) {
    startWith(264);
    EXPECT_FALSE(in().m_seiDlg()->isVisible());
    expectLive(20);
    ui().action_sei->trigger();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(in().m_seiDlg(), 10000));
    EXPECT_EQ(in().m_seiDlg()->windowTitle(), QStringLiteral("遥测信息"));
    expectLive(20);
}

TEST_F(Sei, TheDialogShowsWhatAnH265StreamCarries) {
    startWith(265);
    expectLive(20);
}

TEST_F(Sei, DamagedBlocksLeaveTheValuesAndGoodOnesMoveThemOn) {
    startWith(264);
    expectLive(3);
    tap->damages = true;
    const QStringList before = expected(tap->sent.back());
    ASSERT_TRUE(waitFor([&] { return shown() == before; }, 60000)) << "the last undamaged one";
    const int until = tap->sent.size() + 50;
    ASSERT_TRUE(waitFor([&] { return tap->sent.size() > until; }, 60000));
    EXPECT_EQ(shown(), before);
    tap->damages = false;
    EXPECT_TRUE(waitFor([&] { return shown() != before; }, 60000));
    expectLive(3);
}

TEST_F(Sei, AClosedChannelLeavesTheValuesAndAnOpenOneMovesThemOn) {
    startWith(264);
    expectLive(3);
    in().ui_connection()->pushButton_22->click();
    ASSERT_FALSE(in().playing1());
    QCoreApplication::processEvents();
    const QStringList last = shown();
    EXPECT_TRUE(wasSent(last));
    const int until = tap->sent.size() + 25;
    ASSERT_TRUE(waitFor([&] { return tap->sent.size() > until; }, 60000));
    EXPECT_EQ(shown(), last);
    in().ui_connection()->pushButton_22->click();
    expectLive(3);
}

// The record button says in either language what a click does.
TEST_F(Sei, TheRecordButtonKeepsItsMeaningThroughALanguageChange) {
    start();
    const auto* button = in().ui_sei_info()->pushButton;
    const auto language = [this](int index) {
        in().m_settings()->ui->cbb_selLang->setCurrentIndex(index);
        QCoreApplication::processEvents();
    };
    for (int click = 0; click < 3; ++click) {
        const bool stops = button->text() == QStringLiteral("停止录制");
        EXPECT_TRUE(stops || button->text() == QStringLiteral("录制视频流"));
        language(1);
        EXPECT_EQ(button->text(), stops ? "Stop recording" : "Record stream");
        language(0);
        EXPECT_EQ(button->text(), stops ? QStringLiteral("停止录制") : QStringLiteral("录制视频流"));
        in().ui_sei_info()->pushButton->click();
    }
}

}  // namespace
