#include "tavrik/decoder_list.h"

extern "C" {
#include <libavutil/hwcontext.h>
}

namespace tavrik {
namespace {

// One device a process: creating a second CUDA context costs 100 MB and more.
AVBufferRef* createDevice(AVHWDeviceType type) {
    AVBufferRef* device = nullptr;
    if (av_hwdevice_ctx_create(&device, type, nullptr, nullptr, 0) < 0) return nullptr;
    return device;
}

}  // namespace

DecoderKind decoderKind(std::uint8_t value) {
    if (value == static_cast<std::uint8_t>(DecoderKind::Cuda)) return DecoderKind::Cuda;
    if (value == static_cast<std::uint8_t>(DecoderKind::QuickSync)) return DecoderKind::QuickSync;
    return DecoderKind::Software;
}

BufferPtr hardwareDevice(DecoderKind kind) {
    if (kind == DecoderKind::Cuda) {
        static const BufferPtr cuda(createDevice(AV_HWDEVICE_TYPE_CUDA));
        return BufferPtr(cuda != nullptr ? av_buffer_ref(cuda.get()) : nullptr);
    }
    if (kind == DecoderKind::QuickSync) {
        static const BufferPtr quick_sync(createDevice(AV_HWDEVICE_TYPE_QSV));
        return BufferPtr(quick_sync != nullptr ? av_buffer_ref(quick_sync.get()) : nullptr);
    }
    return nullptr;
}

int availableDecoders() {
    int mask = 1;
    if (hardwareDevice(DecoderKind::Cuda) != nullptr) mask |= 2;
    if (hardwareDevice(DecoderKind::QuickSync) != nullptr &&
        avcodec_find_decoder_by_name("h264_qsv") != nullptr) {
        mask |= 4;
    }
    return mask;
}

}  // namespace tavrik
