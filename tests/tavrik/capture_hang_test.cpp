// A disk that does not answer: what waits for it holds up neither the picture nor the close, and nothing of
// it is lost once the disk answers again.
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>

#include "camera.h"
#include "hanging_file.h"
#include "recording.h"
#include "tavrik/tavrik.h"

namespace tavrik::test {
namespace {

constexpr std::size_t kPictures = 60;

const Film& film() {
    static const Film made = [] {
        FilmSettings settings;
        settings.width = 320;
        settings.height = 240;
        settings.kbps = 1500;
        settings.slices = 1;
        settings.key_interval = 10;
        settings.pictures = kPictures;
        return makeFilm(settings);
    }();
    return made;
}

WireForm transport() {
    WireForm form;
    form.pes_lengths = true;
    return form;
}

std::string runIn(const std::string& path) {
    const Recording recording = readRecording(path);
    return runOf(numbersOf(film(), recording.sums)) + recording.trouble;
}

TEST(CaptureHang, HoldsUpNeitherThePictureNorTheCloseAndLosesNothing) {
    const auto before = std::signal(SIGPIPE, SIG_IGN);
    const Folder folder("hang");
    const HangingFile first(folder / "a.mp4"), still(folder / "a.jpg.part");
    Camera camera(film(), kPictures, Line::kUdp, transport());
    Receiver receiver;
    const int handle = camera.open(receiver);
    camera.sendUpTo(12);
    ASSERT_TRUE(receiver.waitForFrames(12));
    captureBegin((folder / "a.mp4").c_str(), handle, 1);
    StillBegin(handle, folder.path().c_str(), 0, 1, (folder / "a.jpg").c_str());
    camera.sendUpTo(35);
    ASSERT_TRUE(receiver.waitForFrames(35)) << "the picture goes on";
    captureEnd(handle);
    captureBegin((folder / "b.mp4").c_str(), handle, 1);
    camera.sendUpTo(kPictures);
    ASSERT_TRUE(receiver.waitForFrames(kPictures));
    closeInTime(handle);
    EXPECT_FALSE(std::filesystem::exists(folder / "b.mp4")) << "the disk has not answered so far";

    const Bytes picture = still.answer();
    EXPECT_EQ(Bytes(picture.begin(), picture.begin() + 2), (Bytes{0xFF, 0xD8})) << "a JPEG file";
    const Bytes recorded = first.answer();
    const std::string copy = folder / "copy.mp4";
    std::ofstream(copy, std::ios::binary)
        .write(reinterpret_cast<const char*>(recorded.data()), static_cast<std::streamsize>(recorded.size()));
    EXPECT_EQ(runIn(copy), "10..39");
    EXPECT_TRUE(becomes([&] { return isClosed(folder / "b.mp4"); }));
    EXPECT_EQ(runIn(folder / "b.mp4"), "40..59");
    std::signal(SIGPIPE, before);
}

}  // namespace
}  // namespace tavrik::test
