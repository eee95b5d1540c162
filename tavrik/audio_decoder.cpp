#include "tavrik/audio_decoder.h"

extern "C" {
#include <libavutil/channel_layout.h>
#include <libswresample/swresample.h>
}

#include <cstring>

namespace tavrik {
namespace {

std::shared_ptr<AVCodecParameters> shareParameters(const AVCodecParameters* parameters) {
    std::shared_ptr<AVCodecParameters> copy(avcodec_parameters_alloc(), AvFree());
    if (copy != nullptr && parameters != nullptr) avcodec_parameters_copy(copy.get(), parameters);
    return copy;
}

}  // namespace

AudioDecoder::~AudioDecoder() {
    swr_free(&resampler_);
}

void AudioDecoder::push(const AVPacket* packet, const AVCodecParameters* parameters) {
    Item item{PacketPtr(av_packet_clone(packet)), nullptr, true};
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (last_parameters_ == nullptr) last_parameters_ = shareParameters(parameters);
        item.parameters = last_parameters_;
    }
    enqueue(std::move(item));
}

void AudioDecoder::push(AVCodecID codec, const std::uint8_t* data, std::size_t size) {
    Item item{PacketPtr(av_packet_alloc()), nullptr, false};
    if (item.packet == nullptr || av_new_packet(item.packet.get(), static_cast<int>(size)) < 0) return;
    std::memcpy(item.packet->data, data, size);
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (last_parameters_ == nullptr || last_parameters_->codec_id != codec) {
            last_parameters_ = shareParameters(nullptr);
            if (last_parameters_ != nullptr) {
                last_parameters_->codec_type = AVMEDIA_TYPE_AUDIO;
                last_parameters_->codec_id = codec;
            }
        }
        item.parameters = last_parameters_;
    }
    enqueue(std::move(item));
}

void AudioDecoder::enqueue(Item item) {
    if (item.packet == nullptr || item.parameters == nullptr) return;
    const std::lock_guard<std::mutex> lock(mutex_);
    if (stopped_) return;
    if (waiting_.size() >= kMaxWaiting) waiting_.pop_front();
    waiting_.push_back(std::move(item));
    changed_.notify_one();
}

bool AudioDecoder::next(Item& item) {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [this] { return stopped_ || !waiting_.empty(); });
    if (stopped_) return false;
    item = std::move(waiting_.front());
    waiting_.pop_front();
    return true;
}

void AudioDecoder::stop() {
    const std::lock_guard<std::mutex> lock(mutex_);
    stopped_ = true;
    waiting_.clear();
    changed_.notify_all();
}

void AudioDecoder::run() {
    Item item;
    std::shared_ptr<AVCodecParameters> opened;
    while (next(item)) {
        if (item.parameters != opened) {
            opened = item.parameters;
            if (!open(item)) context_.reset();
        }
        if (context_ == nullptr) continue;
        if (item.whole) {
            decode(item.packet.get());
        } else {
            parse(item.packet.get());
        }
    }
}

bool AudioDecoder::open(const Item& item) {
    const AVCodec* decoder = avcodec_find_decoder(item.parameters->codec_id);
    if (decoder == nullptr) return false;
    context_.reset(avcodec_alloc_context3(decoder));
    if (context_ == nullptr || avcodec_parameters_to_context(context_.get(), item.parameters.get()) < 0)
        return false;
    context_->thread_count = 1;
    if (avcodec_open2(context_.get(), decoder, nullptr) < 0) return false;
    parser_.reset(item.whole ? nullptr : av_parser_init(item.parameters->codec_id));
    return item.whole || parser_ != nullptr;
}

void AudioDecoder::parse(const AVPacket* packet) {
    const std::uint8_t* at = packet->data;
    int left = packet->size;
    const PacketPtr cut(av_packet_alloc());
    while (left > 0 && cut != nullptr) {
        std::uint8_t* frame = nullptr;
        int size = 0;
        const int used = av_parser_parse2(parser_.get(), context_.get(), &frame, &size, at, left,
                                          AV_NOPTS_VALUE, AV_NOPTS_VALUE, 0);
        if (used < 0 || (used == 0 && size == 0)) return;
        at += used;
        left -= used;
        if (size > 0 && av_new_packet(cut.get(), size) >= 0) {
            std::memcpy(cut->data, frame, static_cast<std::size_t>(size));
            decode(cut.get());
            av_packet_unref(cut.get());
        }
    }
}

void AudioDecoder::decode(const AVPacket* packet) {
    if (avcodec_send_packet(context_.get(), packet) < 0) return;
    const FramePtr frame(av_frame_alloc());
    while (frame != nullptr && avcodec_receive_frame(context_.get(), frame.get()) >= 0) {
        deliver(frame.get());
        av_frame_unref(frame.get());
    }
}

void AudioDecoder::deliver(const AVFrame* frame) {
    const int channels = frame->ch_layout.nb_channels;
    if (channels <= 0 || frame->nb_samples <= 0 || frame->sample_rate <= 0) return;
    const bool same = resampler_ != nullptr && resampler_rate_ == frame->sample_rate &&
                      resampler_channels_ == channels && resampler_format_ == frame->format;
    if (!same) {
        swr_free(&resampler_);
        AVChannelLayout layout{};
        av_channel_layout_default(&layout, channels);
        const auto format = static_cast<AVSampleFormat>(frame->format);
        const bool ready = swr_alloc_set_opts2(&resampler_, &layout, AV_SAMPLE_FMT_S16, frame->sample_rate,
                                               &layout, format, frame->sample_rate, 0, nullptr) >= 0 &&
                           swr_init(resampler_) >= 0;
        av_channel_layout_uninit(&layout);
        if (!ready) {
            swr_free(&resampler_);
            return;
        }
        resampler_rate_ = frame->sample_rate;
        resampler_channels_ = channels;
        resampler_format_ = frame->format;
    }
    const std::size_t sample_bytes = 2u * static_cast<std::size_t>(channels);
    samples_.resize(static_cast<std::size_t>(frame->nb_samples) * sample_bytes);
    std::uint8_t* out[] = {samples_.data()};
    const int got = swr_convert(resampler_, out, frame->nb_samples,
                                const_cast<const std::uint8_t**>(frame->extended_data), frame->nb_samples);
    if (got > 0) sink_(samples_.data(), got * static_cast<int>(sample_bytes), frame->sample_rate, channels);
}

}  // namespace tavrik
