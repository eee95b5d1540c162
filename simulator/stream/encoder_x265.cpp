// That header needs the integer types before it.
#include <cstdint>

#include <x265.h>

#include <algorithm>

#include "simulator/stream/encoder.h"

namespace podsim {
namespace {

void setRate(x265_param& p, int kbps) {
    p.rc.rateControlMode = X265_RC_ABR;
    p.rc.bitrate = kbps;
    p.rc.vbvMaxBitrate = kbps;
    p.rc.vbvBufferSize = std::max(1, kbps / 2);
}

class X265Encoder final : public Encoder {
public:
    X265Encoder(x265_param* param, x265_encoder* encoder) : m_param(param), m_encoder(encoder) {}
    ~X265Encoder() override {
        x265_encoder_close(m_encoder);
        x265_param_free(m_param);
    }

    bool encode(const PictureView& picture, bool force_key_frame, AccessUnit& out) override {
        x265_picture in;
        x265_picture_init(m_param, &in);
        for (int i = 0; i < 3; ++i) {
            in.planes[i] = const_cast<std::uint8_t*>(picture.planes[i]);  // read only, by its contract
            in.stride[i] = picture.strides[i];
        }
        in.bitDepth = 8;
        in.colorSpace = X265_CSP_I420;
        in.sliceType = force_key_frame ? X265_TYPE_IDR : X265_TYPE_AUTO;
        in.pts = m_count++;
        x265_picture done;
        x265_picture_init(m_param, &done);
        x265_nal* nals = nullptr;
        std::uint32_t nal_count = 0;
        out.bytes.clear();
        if (x265_encoder_encode(m_encoder, &nals, &nal_count, &in, &done) <= 0) {
            return false;
        }
        for (std::uint32_t i = 0; i < nal_count; ++i) {
            out.bytes.insert(out.bytes.end(), nals[i].payload, nals[i].payload + nals[i].sizeBytes);
        }
        out.key_frame = done.sliceType == X265_TYPE_IDR || done.sliceType == X265_TYPE_I;
        return !out.bytes.empty();
    }

    bool setBitrate(int kbps) override {
        setRate(*m_param, kbps);
        return x265_encoder_reconfig(m_encoder, m_param) >= 0;
    }

private:
    x265_param* m_param;
    x265_encoder* m_encoder;
    std::int64_t m_count = 0;
};

}  // namespace

std::unique_ptr<Encoder> makeX265Encoder(const EncoderSettings& s) {
    x265_param* p = x265_param_alloc();
    if (!p) {
        return nullptr;
    }
    if (x265_param_default_preset(p, "ultrafast", "zerolatency") < 0) {
        x265_param_free(p);
        return nullptr;
    }
    p->logLevel = X265_LOG_ERROR;
    p->frameNumThreads = 1;
    p->bEnableWavefront = 0;
    p->lookaheadSlices = 0;  // with this the last user of a thread pool is gone
    p->sourceWidth = s.width;
    p->sourceHeight = s.height;
    p->internalCsp = X265_CSP_I420;
    p->fpsNum = static_cast<std::uint32_t>(s.fps);
    p->fpsDenom = 1;
    p->keyframeMax = s.key_interval;
    p->keyframeMin = 1;
    p->scenecutThreshold = 0;
    p->bOpenGOP = 0;
    p->bRepeatHeaders = 1;
    p->bAnnexB = 1;
    p->bEmitInfoSEI = 0;
    setRate(*p, s.bitrate_kbps);
    x265_encoder* encoder = x265_encoder_open(p);
    if (!encoder) {
        x265_param_free(p);
        return nullptr;
    }
    return std::make_unique<X265Encoder>(p, encoder);
}

}  // namespace podsim
