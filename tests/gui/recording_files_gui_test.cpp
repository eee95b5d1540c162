// What recording, pictures and replay leave on the disk: two real streams with a number in each picture,
// their files read by the system's own tools.
#include <QDirIterator>
#include <QFileDialog>
#include <QImage>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QUrl>
#include <atomic>
#include <thread>

#include "pod_fixture.h"
#include "recording_window.h"
#include "tests/fakes/pick_file.h"
#include "tests/tavrik/rtsp_server.h"
#include "video/qmyvideowidget.h"
#include "video/video_surface.h"
#include "widgets/my_trans_dlg.h"

namespace {

namespace stream_test = tavrik::test;

constexpr int kBits = 16;
constexpr int kBlock = 16;
constexpr int kPeriodMs = 40;

// A camera on loopback: numbered pictures, a key picture every ten.
class Camera {
public:
    explicit Camera(tavrik::Codec codec) : m_server(settings(codec)), m_encoder(encoderSettings(codec)) {
        m_thread = std::thread([this] { run(); });
    }
    ~Camera() {
        m_stop = true;
        m_thread.join();
    }
    QString url() const { return QString::fromStdString(m_server.url()); }
    int sent() const { return m_sent; }

private:
    static stream_test::RtspServer::Settings settings(tavrik::Codec codec) {
        stream_test::RtspServer::Settings result;
        result.codec = codec;
        return result;
    }
    static stream_test::EncoderSettings encoderSettings(tavrik::Codec codec) {
        stream_test::EncoderSettings result;
        result.codec = codec;
        return result;
    }
    void run() {
        const auto start = std::chrono::steady_clock::now();
        for (int number = 0; !m_stop; ++number) {
            m_server.sendPicture(m_encoder.encode(number), static_cast<std::uint32_t>(number * 3600));
            m_sent = number;
            std::this_thread::sleep_until(start + std::chrono::milliseconds(kPeriodMs) * (number + 1));
        }
    }

    stream_test::RtspServer m_server;
    stream_test::TestEncoder m_encoder;
    std::atomic<bool> m_stop{false};
    std::atomic<int> m_sent{-1};
    std::thread m_thread;
};

// The number in a grey picture; -1 where its two rows contradict.
int numberIn(const uchar* picture, int width) {
    const auto white = [&](int bit, int row) {
        return picture[(row * kBlock + kBlock / 2) * width + bit * kBlock + kBlock / 2] > 128;
    };
    int number = 0;
    for (int bit = 0; bit < kBits; ++bit) {
        if (white(bit, 0) == white(bit, 1)) {
            return -1;
        }
        number = number * 2 + (white(bit, 0) ? 1 : 0);
    }
    return number;
}

QByteArray outputOf(const QString& program, const QStringList& arguments) {
    QProcess process;
    process.start(program, arguments);
    EXPECT_TRUE(process.waitForFinished(120000));
    EXPECT_EQ(process.exitCode(), 0);
    EXPECT_EQ(process.readAllStandardError(), "") << arguments.join(' ').toStdString();
    return process.readAllStandardOutput();
}

// Of every picture that decodes, in the order shown.
std::vector<int> numbersIn(const QString& path) {
    const QByteArray pixels = outputOf("ffmpeg", {"-v", "error", "-i", path, "-vsync", "drop", "-f",
                                                  "rawvideo", "-pix_fmt", "gray", "pipe:1"});
    constexpr int kSize = stream_test::kWidth * stream_test::kHeight;
    EXPECT_EQ(pixels.size() % kSize, 0);
    std::vector<int> numbers;
    for (int at = 0; at + kSize <= pixels.size(); at += kSize) {
        numbers.push_back(
            numberIn(reinterpret_cast<const uchar*>(pixels.constData()) + at, stream_test::kWidth));
    }
    return numbers;
}

QJsonObject probed(const QString& path) {
    return QJsonDocument::fromJson(
               outputOf("ffprobe", {"-v", "error", "-of", "json", "-show_format", "-show_streams", path}))
        .object();
}

void expectInOrder(const std::vector<int>& numbers, const char* what) {
    ASSERT_FALSE(numbers.empty()) << what;
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        ASSERT_EQ(numbers[i], numbers[0] + static_cast<int>(i)) << what << " picture " << i;
    }
}

// No descriptor of this process leads there.
bool isClosed(const QString& path) {
    const QFileInfoList links = QDir("/proc/self/fd").entryInfoList(QDir::Files | QDir::System);
    return std::none_of(links.begin(), links.end(),
                        [&](const QFileInfo& link) { return link.symLinkTarget() == path; });
}

QStringList filesUnder(const QString& base, const QString& filter) {
    QStringList files;
    QDirIterator walk(base, {filter}, QDir::Files, QDirIterator::Subdirectories);
    while (walk.hasNext()) {
        files << walk.next();
    }
    files.sort();
    return files;
}

class RecordingFiles : public RecordingWindow<KorvathTest> {
protected:
    void startWithCameras(const QString& base) {
        startRecorder({{"connection/video1_play_address", QStringList{camera1.url()}},
                       {"connection/video2_play_address", camera2.url()},
                       {"common/check_video_ms", 600000},
                       {"dataSave/default_video_saving_directory", base}});
        open1();
        open2();
        ASSERT_TRUE(waitForMorePictures());
    }
    // Files of a channel end in its handle plus one; handles count on from test to test.
    QString filter(int channel, const char* kind) const {
        QWidget* picture = channel == 1 ? ui().videoWin1 : ui().videoWin2;
        return QStringLiteral("*_%1.%2").arg(in().findSurface(picture)->player_handle + 1).arg(kind);
    }
    // Each camera has sent some groups more.
    bool waitForMorePictures() {
        const int first = camera1.sent() + 25;
        const int second = camera2.sent() + 25;
        return waitFor([&] { return camera1.sent() >= first && camera2.sent() >= second; }, 60000);
    }

    Camera camera1{tavrik::Codec::kH264};
    Camera camera2{tavrik::Codec::kH265};
};

TEST_F(RecordingFiles, RollOversLoseNoPictureAndDoubleNone) {
    startWithCameras(recordBase());
    record()->trigger();
    for (int roll_over = 0; roll_over < 3; ++roll_over) {
        ASSERT_TRUE(waitForMorePictures());
        now.minute += 10;
        tick(in().m_recSplitTimer());
    }
    ASSERT_TRUE(waitForMorePictures());
    record()->trigger();
    for (const auto& [channel, codec] : {std::pair(1, "h264"), std::pair(2, "hevc")}) {
        const QStringList files = filesUnder(recordBase(), filter(channel, "mp4"));
        ASSERT_EQ(files.size(), 4) << channel;
        ASSERT_TRUE(waitFor([&] { return isClosed(files.last()); }));
        std::vector<int> all;
        for (const QString& file : files) {
            const QJsonObject description = probed(file);
            const QJsonObject video = description["streams"].toArray().at(0).toObject();
            EXPECT_EQ(video["codec_name"].toString(), codec);
            EXPECT_EQ(video["width"].toInt(), stream_test::kWidth);
            EXPECT_TRUE(description["format"].toObject()["format_name"].toString().contains("mp4"));
            const std::vector<int> numbers = numbersIn(file);
            EXPECT_GE(numbers.size(), 10U) << qPrintable(file);
            all.insert(all.end(), numbers.begin(), numbers.end());
        }
        expectInOrder(all, codec);
    }
}

TEST_F(RecordingFiles, TheRawButtonWritesTheStreamAndGoesOnAsMp4) {
    startWithCameras(recordBase());
    raw()->click();
    ASSERT_TRUE(waitForMorePictures());
    now.minute += 10;
    tick(in().m_recSplitTimer());
    ASSERT_TRUE(waitForMorePictures());
    raw()->click();
    for (const int channel : {1, 2}) {
        const QStringList raw_files = filesUnder(recordBase(), filter(channel, "dat"));
        const QStringList mp4_files = filesUnder(recordBase(), filter(channel, "mp4"));
        ASSERT_EQ(raw_files.size(), 1);
        ASSERT_EQ(mp4_files.size(), 1);
        ASSERT_TRUE(waitFor([&] { return isClosed(mp4_files[0]); }));
        QFile file(raw_files[0]);
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        const QByteArray head = file.read(5);
        EXPECT_TRUE(head.startsWith(QByteArray("\0\0\0\1", 4)) || head.startsWith(QByteArray("\0\0\1", 3)));
        std::vector<int> all = numbersIn(raw_files[0]);
        EXPECT_GE(all.size(), 10U);
        const std::vector<int> rest = numbersIn(mp4_files[0]);
        all.insert(all.end(), rest.begin(), rest.end());
        expectInOrder(all, channel == 1 ? "first" : "second");
    }
}

TEST_F(RecordingFiles, AChannelThatClosesLeavesItsFileWhole) {
    startWithCameras(recordBase());
    record()->trigger();
    ASSERT_TRUE(waitForMorePictures());
    open1();
    const QStringList files = filesUnder(recordBase(), filter(1, "mp4"));
    ASSERT_EQ(files.size(), 1);
    EXPECT_TRUE(isClosed(files[0])) << "at once";
    expectInOrder(numbersIn(files[0]), "closed");
    window->close();
    const QStringList others = filesUnder(recordBase(), filter(2, "mp4"));
    ASSERT_EQ(others.size(), 1);
    EXPECT_TRUE(isClosed(others[0]));
    expectInOrder(numbersIn(others[0]), "window closed");
}

TEST_F(RecordingFiles, PicturesAreAsLargeAsTheStream) {
    startWithCameras(recordBase());
    const int before = camera1.sent();
    ui().action_ctrlSingleSnap->trigger();
    for (const char* number : {"1", "2"}) {
        const QString path = snapBase() + QStringLiteral("/20260309/070502_%1.jpg").arg(number);
        QImage image;
        ASSERT_TRUE(waitFor([&] { return image.load(path); }, 60000)) << qPrintable(path);
        EXPECT_EQ(image.size(), QSize(stream_test::kWidth, stream_test::kHeight));
        const QImage grey = image.convertToFormat(QImage::Format_Grayscale8);
        const int shown = numberIn(grey.constBits(), grey.bytesPerLine());
        EXPECT_GE(shown, 0);
        EXPECT_GE(shown, before - 25) << "a picture of now";
    }
}

TEST_F(RecordingFiles, ARecordingPlaysAndGivesItsFileBack) {
    const QString base = folder.filePath("record");
    startWithCameras(base);
    record()->trigger();
    ASSERT_TRUE(waitForMorePictures());
    record()->trigger();
    open1();
    open2();
    const QString path = filesUnder(base, filter(1, "mp4")).value(0);
    ASSERT_FALSE(path.isEmpty());
    ASSERT_TRUE(isClosed(path));
    in().frame_width() = 0;
    QTimer hand;
    QObject::connect(&hand, &QTimer::timeout, &hand, [&] {
        if (auto* chooser = qobject_cast<QFileDialog*>(QApplication::activeModalWidget())) {
            pickFile(*chooser, path);
        }
    });
    hand.start(20);
    ui().action_fileOpenAvi->trigger();
    hand.stop();
    ASSERT_TRUE(waitFor([this] { return in().m_replayState() == 1; }));
    EXPECT_FALSE(isClosed(path));
    EXPECT_TRUE(in().m_panePlayCtrl()->isVisible());
    EXPECT_GE(in().replay_left_ms(), 10 * kPeriodMs - kPeriodMs);
    ASSERT_TRUE(waitFor([this] { return in().frame_width() == stream_test::kWidth; }));
    ASSERT_TRUE(waitFor([this] { return in().m_replayState() == 0; }, 60000)) << "its end";
    EXPECT_TRUE(isClosed(path));
    EXPECT_FALSE(in().m_panePlayCtrl()->isVisible());
    EXPECT_FALSE(ui().action_fileOpenAvi->isChecked());
}

class PodFiles : public RecordingWindow<PodTest> {
protected:
    // Lines of this machine to the pod's streams.
    static int linesTo(const QString& url) {
        const QByteArray port =
            ":" + QByteArray::number(QUrl(url).port(), 16).rightJustified(4, '0').toUpper();
        QFile table("/proc/net/tcp");
        EXPECT_TRUE(table.open(QIODevice::ReadOnly));
        int lines = 0;
        for (const QByteArray& line : table.readAll().split('\n')) {
            const QList<QByteArray> fields = line.simplified().split(' ');
            const bool established = fields.value(3) == "01";
            lines += established && fields.value(2).endsWith(port) ? 1 : 0;
        }
        return lines;
    }
    static int descriptors() { return QDir("/proc/self/fd").entryList(QDir::Files | QDir::System).size(); }
    bool showsWidth(int width) {
        in().frame_width() = 0;
        return waitFor([&] { return in().frame_width() == width; }, 60000);
    }
    QComboBox& address() const { return *in().ui_connection()->comboBox_2; }
};

// By hand or by the stall check: what is opened again is what stands in the field.
TEST_F(PodFiles, AnotherAddressWhileItPlaysIsTheNextStream) {
    const QString base = folder.filePath("record");
    startRecorder({{"dataSave/default_video_saving_directory", base}, {"common/check_video_ms", 600000}});
    startPodFor(freePort(),
                {"--telemetry-hz", "0", "--rtsp-port", "0", "--size0", "640x512", "--size1", "512x288"});
    ASSERT_FALSE(HasFatalFailure());
    const QString first = podAddress("rtsp0"), second = podAddress("rtsp1");
    address().setEditText(first);
    open1();
    ASSERT_TRUE(showsWidth(640));
    open1();
    ASSERT_TRUE(waitFor([&] { return linesTo(first) == 0; }, 20000));
    const int before = descriptors();
    open1();
    ASSERT_TRUE(showsWidth(640));
    for (const bool by_hand : {true, false}) {
        const int old_width = by_hand ? 640 : 512;
        record()->trigger();
        const QString file = in().record_file();
        ASSERT_TRUE(waitFor([&] { return QFileInfo(file).size() > 50000; }, 60000));
        address().setEditText(by_hand ? second : first);
        ASSERT_TRUE(showsWidth(old_width)) << "it plays on";
        if (by_hand) {
            open1();
            open1();
        } else {
            tick(in().m_videoCheckTimer());
            tick(in().m_videoCheckTimer());
        }
        EXPECT_TRUE(waitFor([&] { return isClosed(file); }, 20000));
        ASSERT_TRUE(showsWidth(by_hand ? 512 : 640));
        EXPECT_EQ(address().currentText(), by_hand ? second : first);
        EXPECT_EQ(probed(file)["streams"].toArray().at(0).toObject()["width"].toInt(), old_width);
        outputOf("ffmpeg",
                 {"-v", "error", "-i", file, "-vsync", "drop", "-f", "rawvideo", "-y", "/dev/null"});
        EXPECT_TRUE(waitFor([&] { return linesTo(first) == 1; }, 20000)) << linesTo(first);
    }
    open1();
    EXPECT_TRUE(waitFor([&] { return linesTo(first) == 0 && descriptors() <= before; }, 20000))
        << descriptors() << " were " << before;
}

// The block stream keeps no handle: whatever stands on its surface, files and pictures are the pull's.
TEST_F(PodFiles, TheBlockStreamIsRecordedToo) {
    const int port = freePort();
    startRecorder({{"connection/video1_play_address", QStringList{"127.0.0.1"}},
                   {"connection/video1_port", port},
                   {"system_function/video_type", 2},
                   {"decode/decode_method", 0},
                   {"decode/head_422", "POD1"},
                   {"decode/cache_frame_count_start", 1}});
    startPodFor(freePort(), {"--telemetry-hz", "0", "--size0", "640x512", "--blocks0",
                             QStringLiteral("127.0.0.1:%1").arg(port), "--block-header0", "POD1"});
    open1();
    ASSERT_TRUE(waitFor([this] { return in().frame_width() == 640; }, 60000));
    record()->trigger();
    const auto file = [this] { return filesUnder(recordBase(), "*.mp4").value(0); };
    ASSERT_TRUE(waitFor([&] { return QFileInfo(file()).size() > 200000; }, 60000));
    ui().action_ctrlSingleSnap->trigger();
    QImage image;
    EXPECT_TRUE(waitFor([&] { return image.load(in().snap_file()); }, 60000));
    EXPECT_EQ(image.size(), QSize(640, 512));
    record()->trigger();
    ASSERT_TRUE(waitFor([&] { return isClosed(file()); }));
    const QByteArray frames =
        outputOf("ffprobe", {"-v", "fatal", "-count_frames", "-select_streams", "v:0", "-show_entries",
                             "stream=nb_read_frames", "-of", "csv=p=0", file()});
    EXPECT_GE(frames.trimmed().toInt(), 10) << frames.constData();
}

}  // namespace
