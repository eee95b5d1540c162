// Pictures that come faster than the window can draw them.
#include <atomic>
#include <thread>

#include "video_fixture.h"

namespace {

class PictureFlood : public VideoTest {};

// As many not yet released as the stream library lets wait.
constexpr int kMostWaiting = 250;

}  // namespace

TEST_F(PictureFlood, LeavesTheWindowAnswering) {
    start({{"common/video_display_mode", 0}, {"common/check_video_ms", 600000}});
    foldStatusPane();
    window->OnOpenVideo1();
    ASSERT_TRUE(in().playing1());
    const auto on_frame = library().opens.back().on_frame;
    std::atomic<int> waiting{0};
    std::atomic<bool> stop{false};
    std::thread decoder([&] {
        AVFrame* picture = makeFrame(1920, 1080, kGrey, kRed);
        while (!stop) {
            if (waiting >= kMostWaiting) {
                std::this_thread::yield();
                continue;
            }
            AVFrame* frame = av_frame_clone(picture);
            frame->opaque_ref = av_buffer_create(
                static_cast<std::uint8_t*>(av_malloc(1)), 1,
                [](void* counter, std::uint8_t* byte) {
                    --*static_cast<std::atomic<int>*>(counter);
                    av_free(byte);
                },
                &waiting, 0);
            ++waiting;
            on_frame(frame, 25.0F, 1000);
            av_frame_free(&frame);
        }
        av_frame_free(&picture);
    });
    int ticks = 0;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, [&] { ++ticks; });
    timer.start(10);
    EXPECT_TRUE(waitFor([&] { return ticks >= 20; }, 20000)) << ticks;
    stop = true;
    decoder.join();
    // What waits is drawn, one picture a turn: seconds on a busy machine.
    EXPECT_TRUE(waitFor([&] { return waiting == 0; }, 60000));
}
