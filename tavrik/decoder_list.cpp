#include "tavrik/decoder_list.h"

extern "C" {
#include <libavutil/hwcontext.h>
}

namespace tavrik {
namespace {

// One device a process: creating a second CUDA context costs 100 MB and more.
AVBufferRef* createDevice(AVHWDeviceType type) {
    AVBufferRef* device = nullptr;
    if (av_hwdevice_ctx_create(&device, type, nullptr, nullptr, 0) < 0) {
        return nullptr;
    }
    return device;
}

}  // namespace

DecoderKind decoderKind(std::uint8_t value) {
    if (value == static_cast<std::uint8_t>(DecoderKind::kCuda)) {
        return DecoderKind::kCuda;
    }
    if (value == static_cast<std::uint8_t>(DecoderKind::kQuickSync)) {
        return DecoderKind::kQuickSync;
    }
    return DecoderKind::kSoftware;
}

BufferPtr hardwareDevice(DecoderKind kind) {
    if (kind == DecoderKind::kCuda) {
        static const BufferPtr cuda(createDevice(AV_HWDEVICE_TYPE_CUDA));
        return BufferPtr(cuda != nullptr ? av_buffer_ref(cuda.get()) : nullptr);
    }
    if (kind == DecoderKind::kQuickSync) {
        static const BufferPtr quickSync(createDevice(AV_HWDEVICE_TYPE_QSV));
        return BufferPtr(quickSync != nullptr ? av_buffer_ref(quickSync.get()) : nullptr);
    }
    return nullptr;
}

int availableDecoders() {
    int mask = 1;
    if (hardwareDevice(DecoderKind::kCuda) != nullptr) {
        mask |= 2;
    }
    if (hardwareDevice(DecoderKind::kQuickSync) != nullptr &&
        avcodec_find_decoder_by_name("h264_qsv") != nullptr) {
        mask |= 4;
    }
    return mask;
}

}  // namespace tavrik
