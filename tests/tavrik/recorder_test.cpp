// Which picture begins a file, by a clock of the test's, and the files on the disk, without a stream.
#include "tavrik/recorder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <thread>

#include "camera.h"
#include "clip_files.h"
#include "hanging_file.h"
#include "memory.h"
#include "recording.h"

namespace tavrik::test {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t kGroup = 10;

const Film& filmIn(Codec codec) {
    const auto make = [](Codec c) {
        FilmSettings settings;
        settings.codec = c;
        settings.width = 320;
        settings.height = 240;
        settings.kbps = 1500;
        settings.slices = 1;
        settings.key_interval = static_cast<int>(kGroup);
        settings.pictures = 60;
        return makeFilm(settings);
    };
    static const Film h264 = make(Codec::kH264);
    static const Film h265 = make(Codec::kH265);
    return codec == Codec::kH265 ? h265 : h264;
}

// What a stream says of a picture.
enum class Told { kNothing, kRecoveryPoint, kKey };

AccessUnitPtr unitOf(const Film& film, std::size_t number, Told told, Clock::time_point arrival) {
    auto unit = std::make_shared<AccessUnit>();
    unit->codec = film.settings.codec;
    unit->padded = annexB(nalsOf(film.unit(number)));
    sealBytes(unit->padded);
    unit->stamp = {static_cast<std::int64_t>(number) * 3600, kNoTime, arrival};
    unit->decoding_can_begin = told != Told::kNothing;
    unit->file_can_begin = told == Told::kKey;
    return unit;
}

// Every group of the film begins with a picture that needs none before it, whatever is told of it.
class RecorderClock : public testing::Test {
protected:
    RecorderClock() {
        m_writer = std::thread([this] { m_recorder.run(); });
    }
    ~RecorderClock() override { stop(); }
    void stop() {
        m_recorder.stop();
        if (m_writer.joinable()) {
            m_writer.join();
        }
    }
    void pass(std::chrono::milliseconds time) { m_passedMs += static_cast<int>(time.count()); }
    void give(std::size_t from, std::size_t to, Told told_of_first = Told::kNothing) {
        for (std::size_t n = from; n < to; ++n) {
            const bool first = n % kGroup == 0;
            m_recorder.picture(unitOf(m_film, n, first ? told_of_first : Told::kNothing, m_start + n * 40ms),
                               AV_CODEC_ID_H264, nullptr);
        }
    }
    std::string run(const std::string& name) {
        const Recording recording = readRecording(m_folder / name);
        return runOf(numbersOf(m_film, recording.sums)) + recording.trouble;
    }

    const Film& m_film = filmIn(Codec::kH264);
    const Folder m_folder{"recorder"};
    const Clock::time_point m_start = Clock::now();
    std::atomic<int> m_passedMs{0};
    Recorder m_recorder{[this] { return m_start + std::chrono::milliseconds(m_passedMs); }};
    std::thread m_writer;
};

TEST_F(RecorderClock, ARecoveryPointBeginsAFileWhereNoKeyPictureHasComeForLong) {
    m_recorder.begin(m_folder / "a.mp4", true);
    give(0, 20, Told::kRecoveryPoint);
    pass(Recorder::kMaxWaitForKey);
    give(20, 25, Told::kRecoveryPoint);
    pass(1ms);
    // Not in the middle of a group, though.
    give(25, 47, Told::kRecoveryPoint);
    stop();
    EXPECT_EQ(run("a.mp4"), "30..46");
}

TEST_F(RecorderClock, AnyPictureDoesAfterTwiceTheTime) {
    m_recorder.begin(m_folder / "a.mp4", true);
    give(0, 15);
    pass(2 * Recorder::kMaxWaitForKey);
    give(15, 20);
    give(20, 22);
    EXPECT_FALSE(std::filesystem::exists(m_folder / "a.mp4"));
    give(22, 30);
    pass(1ms);
    give(30, 45);
    stop();
    EXPECT_EQ(run("a.mp4"), "30..44");
}

TEST_F(RecorderClock, ARollOverIsCutAtARecoveryPointOnlyWhereNoKeyPictureComes) {
    give(0, 5, Told::kKey);
    m_recorder.begin(m_folder / "a.mp4", true);
    pass(3600s);
    m_recorder.begin(m_folder / "b.mp4", true);
    give(5, 25, Told::kRecoveryPoint);
    pass(Recorder::kMaxWaitForKey + 1ms);
    give(25, 45, Told::kRecoveryPoint);
    stop();
    EXPECT_EQ(run("a.mp4"), "0..29");
    EXPECT_EQ(run("b.mp4"), "30..44");
}

// Between an end and the next beginning: within the time that a file stays open it is a roll-over, later the
// file is whole and the next one begins with the group in memory.
TEST_F(RecorderClock, AnEndedFileGoesOnWhereTheNextOneIsAskedForInTime) {
    give(0, 5, Told::kKey);
    m_recorder.begin(m_folder / "a.mp4", true);
    m_recorder.end();
    pass(Recorder::kStaysOpen - 1ms);
    m_recorder.begin(m_folder / "b.mp4", true);
    pass(1h);
    give(5, 25, Told::kKey);
    m_recorder.end();
    pass(Recorder::kStaysOpen);
    m_recorder.begin(m_folder / "c.mp4", true);
    give(25, 35, Told::kKey);
    stop();
    EXPECT_EQ(run("a.mp4"), "0..9");
    EXPECT_EQ(run("b.mp4"), "10..24");
    EXPECT_EQ(run("c.mp4"), "20..34");
    EXPECT_EQ(Recorder::kStaysOpen, 50ms);
}

// Nothing is lost by waiting while a file is open.
TEST_F(RecorderClock, ARollOverWaitsForEverWhereNeitherComes) {
    give(0, 5, Told::kKey);
    m_recorder.begin(m_folder / "a.mp4", true);
    m_recorder.begin(m_folder / "b.mp4", true);
    pass(1h);
    give(5, 45);
    stop();
    EXPECT_EQ(run("a.mp4"), "0..44");
    EXPECT_FALSE(std::filesystem::exists(m_folder / "b.mp4"));
}

TEST_F(RecorderClock, WithoutParameterSetsNothingBeginsHoweverLongItWaits) {
    m_recorder.begin(m_folder / "a.mp4", true);
    pass(1h);
    give(1, 10);
    stop();
    EXPECT_TRUE(std::filesystem::is_empty(m_folder.path()));
}

// What waits is bounded by what it takes in memory, not by what it carries.
TEST_F(RecorderClock, PiecesOfSoundOfAFewBytesDoNotFillTheMemoryWhileTheDiskHangs) {
    const HangingFile disk(m_folder / "a.dat");
    give(0, 1, Told::kKey);
    m_recorder.begin(m_folder / "a.dat", false);
    const std::uint8_t bytes[] = {1, 2};
    const SoundPiece piece{bytes, sizeof bytes, {}, true};
    const std::size_t before = bytesInUse();
    for (int n = 0; n < 1000000; ++n) {
        m_recorder.sound(piece, nullptr);
    }
    const std::size_t more = bytesInUse() - before;
    EXPECT_GT(more, Recorder::kMaxWaitingBytes / 2) << "the disk hangs";
    EXPECT_LT(more, 2 * Recorder::kMaxWaitingBytes);
    m_recorder.stop();
    const Bytes written = disk.answer();
    EXPECT_EQ(Bytes(written.begin(), written.begin() + 4), (Bytes{0, 0, 0, 1}));
}

// The file before is kept open for pictures that are shown before the next one's first.
TEST(CaptureFilesH265, AFileThatWasToBeFollowedIsWholeWhenItsSuccessorFails) {
    const Film& film = filmIn(Codec::kH265);
    const Folder folder("successor");
    std::vector<std::uint64_t> broken;
    CaptureFiles files([&](std::uint64_t serial) { broken.push_back(serial); });
    const Clock::time_point now = Clock::now();
    const auto put = [&](std::size_t from, std::size_t to) {
        for (std::size_t n = from; n < to; ++n) {
            files.put(
                {unitOf(film, n, n % kGroup == 0 ? Told::kKey : Told::kNothing, now + n * 40ms), nullptr});
        }
    };
    const auto format = [&] {
        CaptureFormat out;
        ParameterSets sets(Codec::kH265);
        const AccessUnitPtr first = unitOf(film, 0, Told::kKey, now);
        sets.learn(first->data(), first->size());
        out.codec = AV_CODEC_ID_HEVC;
        out.sets = sets.bytes();
        return out;
    };
    testing::internal::CaptureStderr();
    files.begin({folder / "a.mp4", true}, format(), 1);
    put(0, 20);
    files.begin({folder / "none/b.mp4", true}, format(), 2);
    EXPECT_EQ(broken, std::vector<std::uint64_t>{2});
    EXPECT_TRUE(isClosed(folder / "a.mp4")) << "nothing will come that would end it";
    put(20, 30);
    files.begin({folder / "c.mp4", true}, format(), 3);
    put(30, 40);
    files.end("the test is over");
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_NE(log.find("none/b.mp4 ended: No such file or directory, 0 pictures"), std::string::npos) << log;
    EXPECT_NE(log.find("a.mp4 ended: another one follows, 20 pictures"), std::string::npos) << log;
    const Recording a = readRecording(folder / "a.mp4"), c = readRecording(folder / "c.mp4");
    EXPECT_EQ(runOf(numbersOf(film, a.sums)) + a.trouble, "0..19");
    EXPECT_EQ(runOf(numbersOf(film, c.sums)) + c.trouble, "30..39");
}

// The disk fills up under the successor: the file before has got what it waits for, or is ended too.
TEST(CaptureFilesH265, AFileThatWasToBeFollowedIsWholeWhenItsSuccessorsDiskIsFull) {
    const Film& film = filmIn(Codec::kH265);
    const Folder folder("full");
    std::vector<std::uint64_t> broken;
    CaptureFiles files([&](std::uint64_t serial) { broken.push_back(serial); });
    const Clock::time_point now = Clock::now();
    CaptureFormat format;
    format.codec = AV_CODEC_ID_HEVC;
    files.begin({folder / "a.dat", false}, format, 1);
    const auto unit = [&](std::size_t n) {
        return unitOf(film, n, n % kGroup == 0 ? Told::kKey : Told::kNothing, now + n * 40ms);
    };
    for (std::size_t n = 0; n < kGroup; ++n) {
        files.put({unit(n), nullptr});
    }
    files.begin({"/dev/full", false}, format, 2);
    EXPECT_EQ(openDescriptors(folder / "a.dat"), 1) << "it may get pictures yet";
    // A raw file is written picture by picture.
    files.put({unit(kGroup), nullptr});
    EXPECT_EQ(broken, std::vector<std::uint64_t>{2});
    EXPECT_EQ(openDescriptors(folder / "a.dat"), 0);
    const Recording a = readRecording(folder / "a.dat");
    EXPECT_EQ(runOf(numbersOf(film, a.sums)) + a.trouble, "0..9");
}

}  // namespace
}  // namespace tavrik::test
