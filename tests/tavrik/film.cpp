#include "film.h"

extern "C" {
#include <libavutil/crc.h>
#include <libavutil/pixdesc.h>
}

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <numeric>
#include <set>
#include <stdexcept>
#include <unordered_map>

namespace tavrik::test {
namespace {

class Decoder {
public:
    explicit Decoder(Codec codec)
        : m_context(avcodec_alloc_context3(
              avcodec_find_decoder(codec == Codec::kH264 ? AV_CODEC_ID_H264 : AV_CODEC_ID_HEVC))),
          m_frame(av_frame_alloc()),
          m_packet(av_packet_alloc()) {
        m_context->thread_count = 1;
        if (avcodec_open2(m_context.get(), nullptr, nullptr) < 0) {
            throw std::runtime_error("decoder does not open");
        }
    }
    // An empty unit: the end.
    void decode(const Bytes& unit, Film& film) {
        if (unit.empty()) {
            avcodec_send_packet(m_context.get(), nullptr);
        } else {
            if (av_new_packet(m_packet.get(), static_cast<int>(unit.size())) < 0) {
                throw std::runtime_error("no packet");
            }
            std::memcpy(m_packet->data, unit.data(), unit.size());
            avcodec_send_packet(m_context.get(), m_packet.get());
            av_packet_unref(m_packet.get());
        }
        while (avcodec_receive_frame(m_context.get(), m_frame.get()) >= 0) {
            film.sums.push_back(sumOf(m_frame.get()));
            film.means.push_back(meansOf(m_frame.get()));
        }
    }

private:
    CodecContextPtr m_context;
    FramePtr m_frame;
    PacketPtr m_packet;
};

}  // namespace

std::uint32_t sumOf(const AVFrame* frame) {
    const AVPixFmtDescriptor* format = av_pix_fmt_desc_get(static_cast<AVPixelFormat>(frame->format));
    const AVCRC* table = av_crc_get_table(AV_CRC_32_IEEE_LE);
    std::uint32_t sum = 0;
    for (int plane = 0; plane < 3 && frame->data[plane] != nullptr; ++plane) {
        const int width = plane == 0 ? frame->width : -((-frame->width) >> format->log2_chroma_w);
        const int height = plane == 0 ? frame->height : -((-frame->height) >> format->log2_chroma_h);
        for (int y = 0; y < height; ++y) {
            sum = av_crc(table, sum, frame->data[plane] + y * frame->linesize[plane],
                         static_cast<std::size_t>(width));
        }
    }
    return sum;
}

Bytes meansOf(const AVFrame* frame) {
    constexpr int kSide = 8;
    Bytes means;
    for (int row = 0; row + kSide <= frame->height; row += kSide) {
        for (int column = 0; column + kSide <= frame->width; column += kSide) {
            int total = 0;
            for (int y = row; y < row + kSide; ++y) {
                const std::uint8_t* at = frame->data[0] + y * frame->linesize[0] + column;
                total = std::accumulate(at, at + kSide, total);
            }
            means.push_back(static_cast<std::uint8_t>(total / (kSide * kSide)));
        }
    }
    return means;
}

std::uint32_t visibleSumOf(const Film& film, const AVFrame* frame) {
    constexpr int kUnseen = 2;  // levels
    const std::uint32_t sum = sumOf(frame);
    const int number = readNumber(frame);
    if (number < 0 || static_cast<std::size_t>(number) >= film.means.size()) {
        return sum;
    }
    const Bytes& right = film.means[static_cast<std::size_t>(number)];
    const Bytes means = meansOf(frame);
    const bool same = std::equal(means.begin(), means.end(), right.begin(), right.end(),
                                 [](int a, int b) { return std::abs(a - b) <= kUnseen; });
    return same ? film.sums[static_cast<std::size_t>(number)] : sum;
}

Film makeFilm(const FilmSettings& settings) {
    Film film;
    film.settings = settings;
    EncoderSettings how{settings.codec, settings.width, settings.height, settings.key_interval,
                        settings.slices};
    how.kbps = settings.kbps;
    how.detail = true;
    how.delimiters = settings.delimiters;
    TestEncoder encoder(how);
    Decoder decoder(settings.codec);
    for (std::size_t n = 0; n < settings.pictures; ++n) {
        film.units.push_back(encoder.encode(static_cast<int>(n)));
        decoder.decode(film.units.back(), film);
    }
    decoder.decode({}, film);
    const std::set<std::uint32_t> different(film.sums.begin(), film.sums.end());
    if (film.sums.size() != settings.pictures || different.size() != settings.pictures) {
        throw std::runtime_error("the film is no reference");
    }
    return film;
}

std::string Comparison::text() const {
    return "shown=" + std::to_string(shown) + " damaged=" + std::to_string(damaged) +
           " missing=" + std::to_string(missing) + " repeated=" + std::to_string(repeated) +
           " groups_hurt=" + std::to_string(groups_hurt);
}

Comparison compare(const Film& film, const std::vector<std::uint32_t>& shown, std::size_t count,
                   std::size_t sent) {
    std::unordered_map<std::uint32_t, std::size_t> numbers;
    for (std::size_t i = 0; i < film.sums.size(); ++i) {
        numbers[film.sums[i]] = i;
    }
    const std::size_t length = film.sums.size();
    const auto group_size = static_cast<std::size_t>(film.settings.key_interval);
    std::vector<bool> right(count, false);
    std::set<std::size_t> hurt;
    Comparison result;
    result.shown = shown.size();
    std::size_t next = 0;
    for (const std::uint32_t sum : shown) {
        const auto found = numbers.find(sum);
        if (found == numbers.end()) {
            ++result.damaged;
            hurt.insert(std::min(next, count - 1) / group_size);
            continue;
        }
        // In a film that repeats: the nearest picture of that content, or one behind.
        const std::size_t ahead = (found->second + length - next % length) % length;
        const bool behind = sent > length ? ahead > length / 2 : found->second < next;
        if (behind) {
            ++result.repeated;
            continue;
        }
        const std::size_t number = next + ahead;
        if (number < count) {
            right[number] = true;
        }
        next = number + 1;
    }
    for (std::size_t n = 0; n < count; ++n) {
        if (!right[n]) {
            ++result.missing;
            hurt.insert(n / group_size);
        }
    }
    result.groups_hurt = hurt.size();
    for (std::size_t group = 0; (group + 1) * group_size <= count; ++group) {
        if (hurt.count(group) == 0) {
            result.whole_groups.push_back(group);
        }
    }
    return result;
}

}  // namespace tavrik::test
