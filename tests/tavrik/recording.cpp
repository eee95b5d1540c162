#include "recording.h"

#include <cstdio>
#include <fstream>
#include <iterator>
#include <unordered_map>

namespace tavrik::test {
namespace {

class Reader {
public:
    explicit Reader(const std::string& path) {
        AVFormatContext* format = nullptr;
        if (avformat_open_input(&format, path.c_str(), nullptr, nullptr) < 0) {
            m_out.trouble = "does not open";
            return;
        }
        m_format.reset(format);
        if (avformat_find_stream_info(format, nullptr) < 0) {
            m_out.trouble = "no stream info";
            return;
        }
        m_video = open(AVMEDIA_TYPE_VIDEO, m_videoIndex);
        m_audio = open(AVMEDIA_TYPE_AUDIO, m_audioIndex);
        if (m_video == nullptr) {
            m_out.trouble = "no picture";
        }
    }
    Recording read() {
        const PacketPtr packet(av_packet_alloc());
        while (m_out.trouble.empty() && av_read_frame(m_format.get(), packet.get()) >= 0) {
            if (packet->stream_index == m_videoIndex) {
                ++m_out.packets;
                decode(m_video.get(), packet.get());
            } else if (packet->stream_index == m_audioIndex) {
                decode(m_audio.get(), packet.get());
            }
            av_packet_unref(packet.get());
        }
        if (m_out.trouble.empty()) {
            decode(m_video.get(), nullptr);
        }
        return std::move(m_out);
    }

private:
    CodecContextPtr open(AVMediaType type, int& index) {
        index = av_find_best_stream(m_format.get(), type, -1, -1, nullptr, 0);
        if (index < 0) {
            return nullptr;
        }
        const AVCodecParameters* parameters = m_format->streams[index]->codecpar;
        CodecContextPtr context(avcodec_alloc_context3(avcodec_find_decoder(parameters->codec_id)));
        avcodec_parameters_to_context(context.get(), parameters);
        context->thread_count = 1;
        context->err_recognition = AV_EF_EXPLODE;
        return avcodec_open2(context.get(), nullptr, nullptr) >= 0 ? std::move(context) : nullptr;
    }
    void decode(AVCodecContext* context, const AVPacket* packet) {
        const int result = avcodec_send_packet(context, packet);
        if (result < 0) {
            m_out.trouble = "a packet does not decode, number " + std::to_string(m_out.packets) + ", error " +
                            std::to_string(result) + ", bytes " +
                            std::to_string(packet != nullptr ? packet->size : 0);
            return;
        }
        while (avcodec_receive_frame(context, m_frame.get()) >= 0) {
            if (context->codec_type == AVMEDIA_TYPE_VIDEO) {
                takePicture();
            } else {
                takeSound();
            }
            av_frame_unref(m_frame.get());
        }
    }
    void takePicture() {
        if (m_frame->decode_error_flags != 0) {
            m_out.trouble = "a damaged picture, number " + std::to_string(m_out.sums.size());
        }
        const AVRational unit = m_format->streams[m_videoIndex]->time_base;
        m_out.sums.push_back(sumOf(m_frame.get()));
        m_out.times.push_back(av_rescale_q(m_frame->best_effort_timestamp, unit, AVRational{1, 90000}));
        m_out.widths.push_back(m_frame->width);
    }
    void takeSound() {
        if (m_out.sound.empty()) {
            const AVRational unit = m_format->streams[m_audioIndex]->time_base;
            m_out.sound_begin = static_cast<double>(m_frame->best_effort_timestamp) * av_q2d(unit);
        }
        m_out.sound_rate = m_frame->sample_rate;
        for (int i = 0; i < m_frame->nb_samples; ++i) {
            const bool floats = m_frame->format == AV_SAMPLE_FMT_FLTP;
            m_out.sound.push_back(floats ? reinterpret_cast<const float*>(m_frame->data[0])[i] : 0);
        }
    }

    FormatPtr m_format;
    CodecContextPtr m_video, m_audio;
    int m_videoIndex = -1, m_audioIndex = -1;
    FramePtr m_frame{av_frame_alloc()};
    Recording m_out;
};

std::string outputOf(const std::string& command) {
    std::string out;
    FILE* pipe = ::popen(command.c_str(), "r");
    if (pipe == nullptr) {
        return "no pipe";
    }
    char buffer[4096];
    for (std::size_t got = 0; (got = std::fread(buffer, 1, sizeof(buffer), pipe)) > 0;) {
        out.append(buffer, got);
    }
    ::pclose(pipe);
    while (!out.empty() && (out.back() == '\n' || out.back() == ',')) {
        out.pop_back();
    }
    return out;
}

}  // namespace

Recording readRecording(const std::string& path) { return Reader(path).read(); }

std::vector<int> numbersOf(const Film& film, const std::vector<std::uint32_t>& sums) {
    std::unordered_map<std::uint32_t, int> known;
    for (std::size_t i = 0; i < film.sums.size(); ++i) {
        known[film.sums[i]] = static_cast<int>(i);
    }
    std::vector<int> out;
    for (const std::uint32_t sum : sums) {
        const auto found = known.find(sum);
        out.push_back(found != known.end() ? found->second : -1);
    }
    return out;
}

std::string runOf(const std::vector<int>& numbers) {
    if (numbers.empty()) {
        return "nothing";
    }
    for (std::size_t i = 1; i < numbers.size(); ++i) {
        if (numbers[i] != numbers[i - 1] + 1) {
            return std::to_string(numbers[i]) + " after " + std::to_string(numbers[i - 1]) + " at " +
                   std::to_string(i);
        }
    }
    return std::to_string(numbers.front()) + ".." + std::to_string(numbers.back());
}

bool isClosed(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(file)), {});
    return bytes.size() > 16 && bytes.compare(bytes.size() - 12, 4, "mfro") == 0;
}

int probedPictures(const std::string& path) {
    const std::string out = outputOf(
        "ffprobe -v warning -threads 1 -count_frames -select_streams v:0 -show_entries stream=nb_read_frames "
        "-of csv=p=0 '" +
        path + "' 2>&1");
    const bool number = !out.empty() && out.find_first_not_of("0123456789") == std::string::npos;
    if (!number) {
        std::fprintf(stderr, "ffprobe: %s\n", out.c_str());
    }
    return number ? std::stoi(out) : -1;
}

std::string probed(const std::string& path, const std::string& stream, const std::string& entry) {
    const std::string select = stream.empty() ? "" : "-select_streams " + stream + " ";
    return outputOf("ffprobe -v error " + select + "-show_entries " + entry + " -of csv=p=0 '" + path +
                    "' 2>&1");
}

}  // namespace tavrik::test
