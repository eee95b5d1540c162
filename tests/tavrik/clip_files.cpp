#include "clip_files.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

namespace tavrik::test {
namespace {

constexpr int kSoundRate = 48000;
constexpr int kSoundFrame = 1024;

void setExtra(AVStream* stream, const Bytes& extra) {
    AVCodecParameters* parameters = stream->codecpar;
    parameters->extradata =
        static_cast<std::uint8_t*>(av_mallocz(extra.size() + AV_INPUT_BUFFER_PADDING_SIZE));
    std::memcpy(parameters->extradata, extra.data(), extra.size());
    parameters->extradata_size = static_cast<int>(extra.size());
}

AVStream* addVideo(AVFormatContext* format, const TestEncoder& encoder, const Bytes& first) {
    AVStream* stream = avformat_new_stream(format, nullptr);
    avcodec_parameters_from_context(stream->codecpar, encoder.context());
    std::vector<Bytes> sets;
    for (const Bytes& nal : nalsOf(first)) {
        if (nal[0] % 32 == 7 || nal[0] % 32 == 8) {
            sets.push_back(nal);
        }
    }
    setExtra(stream, annexB(sets));
    stream->time_base = {1, 90000};
    return stream;
}

AVStream* addSound(AVFormatContext* format) {
    AVStream* stream = avformat_new_stream(format, nullptr);
    stream->codecpar->codec_type = AVMEDIA_TYPE_AUDIO;
    stream->codecpar->codec_id = AV_CODEC_ID_AAC;
    stream->codecpar->sample_rate = kSoundRate;
    stream->codecpar->frame_size = kSoundFrame;
    stream->codecpar->ch_layout = AV_CHANNEL_LAYOUT_STEREO;
    setExtra(stream, {0x11, 0x90});
    stream->time_base = {1, kSoundRate};
    return stream;
}

void write(AVFormatContext* format, AVStream* stream, const Bytes& bytes, std::int64_t from_us,
           std::int64_t length_us, bool key) {
    const PacketPtr packet(av_packet_alloc());
    ASSERT_GE(av_new_packet(packet.get(), static_cast<int>(bytes.size())), 0);
    std::memcpy(packet->data, bytes.data(), bytes.size());
    packet->stream_index = stream->index;
    packet->pts = packet->dts = av_rescale_q(from_us, {1, 1000000}, stream->time_base);
    packet->duration = av_rescale_q(length_us, {1, 1000000}, stream->time_base);
    packet->flags = key ? AV_PKT_FLAG_KEY : 0;
    EXPECT_GE(av_write_frame(format, packet.get()), 0);
}

}  // namespace

std::string writeClip(const std::string& name, const ClipForm& form) {
    std::string path = testing::TempDir() + name;
    EncoderSettings settings;
    settings.width = form.width;
    settings.height = form.height;
    TestEncoder encoder(settings);
    std::vector<Bytes> units;
    for (int n = 0; n < form.pictures; ++n) {
        units.push_back(encoder.encode(n));
    }
    AVFormatContext* format = nullptr;
    EXPECT_GE(avformat_alloc_output_context2(&format, nullptr, "mp4", path.c_str()), 0);
    AVStream* video = form.video ? addVideo(format, encoder, units[0]) : nullptr;
    AVStream* sound = form.sound ? addSound(format) : nullptr;
    EXPECT_GE(avio_open(&format->pb, path.c_str(), AVIO_FLAG_WRITE), 0);
    Dictionary options;
    if (!form.movflags.empty()) {
        options.set("movflags", form.movflags.c_str());
    }
    EXPECT_GE(avformat_write_header(format, options.out()), 0);
    const Bytes silence{0x21, 0x10, 0x04, 0x60, 0x8C, 0x1C};
    std::int64_t sounded = 0;
    for (int n = 0; n < form.pictures; ++n) {
        for (; sound != nullptr && sounded * kSoundFrame * 25 < n * kSoundRate; ++sounded) {
            write(format, sound, silence, sounded * kSoundFrame * 1000000 / kSoundRate,
                  kSoundFrame * 1000000LL / kSoundRate, true);
        }
        if (video != nullptr) {
            write(format, video, units[static_cast<std::size_t>(n)], n * 40000LL, 40000, n % 10 == 0);
        }
    }
    EXPECT_GE(av_write_trailer(format), 0);
    avio_closep(&format->pb);
    avformat_free_context(format);
    return path;
}

std::string writeFile(const std::string& name, const Bytes& bytes) {
    std::string path = testing::TempDir() + name;
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    return path;
}

Bytes readFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
}

int openDescriptors(const std::string& path) {
    const std::filesystem::path wanted = std::filesystem::canonical(path);
    int count = 0;
    std::error_code error;
    for (const auto& each : std::filesystem::directory_iterator("/proc/self/fd")) {
        count += std::filesystem::read_symlink(each, error) == wanted ? 1 : 0;
    }
    return count;
}

}  // namespace tavrik::test
