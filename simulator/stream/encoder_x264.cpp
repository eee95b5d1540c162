// That header needs the integer types before it.
#include <cstdint>

#include <x264.h>

#include <algorithm>

#include "simulator/stream/encoder.h"

namespace podsim {
namespace {

void setRate(x264_param_t& p, int kbps) {
    p.rc.i_rc_method = X264_RC_ABR;
    p.rc.i_bitrate = kbps;
    // Half a second of buffer bounds the size of a key frame, and with it its time on the wire.
    p.rc.i_vbv_max_bitrate = kbps;
    p.rc.i_vbv_buffer_size = std::max(1, kbps / 2);
}

class X264Encoder final : public Encoder {
public:
    explicit X264Encoder(x264_t* encoder, const x264_param_t& param) : m_encoder(encoder), m_param(param) {}
    ~X264Encoder() override { x264_encoder_close(m_encoder); }

    bool encode(const PictureView& picture, bool force_key_frame, AccessUnit& out) override {
        x264_picture_t in;
        x264_picture_init(&in);
        in.img.i_csp = X264_CSP_I420;
        in.img.i_plane = 3;
        for (int i = 0; i < 3; ++i) {
            in.img.plane[i] = const_cast<std::uint8_t*>(picture.planes[i]);  // read only, by its contract
            in.img.i_stride[i] = picture.strides[i];
        }
        in.i_type = force_key_frame ? X264_TYPE_IDR : X264_TYPE_AUTO;
        in.i_pts = m_count++;
        x264_picture_t done;
        x264_nal_t* nals = nullptr;
        int nal_count = 0;
        const int size = x264_encoder_encode(m_encoder, &nals, &nal_count, &in, &done);
        out.bytes.clear();
        if (size <= 0) {
            return false;
        }
        // The library lays the units of one picture out one behind the other.
        out.bytes.assign(nals[0].p_payload, nals[0].p_payload + size);
        out.key_frame = done.b_keyframe != 0;
        return true;
    }

    bool setBitrate(int kbps) override {
        setRate(m_param, kbps);
        return x264_encoder_reconfig(m_encoder, &m_param) == 0;
    }

private:
    x264_t* m_encoder;
    x264_param_t m_param;
    std::int64_t m_count = 0;
};

}  // namespace

std::unique_ptr<Encoder> makeX264Encoder(const EncoderSettings& s) {
    x264_param_t p;
    if (x264_param_default_preset(&p, "ultrafast", "zerolatency") < 0) {
        return nullptr;
    }
    p.i_log_level = X264_LOG_ERROR;
    p.i_threads = 1;
    p.i_width = s.width;
    p.i_height = s.height;
    p.i_csp = X264_CSP_I420;
    p.i_fps_num = static_cast<std::uint32_t>(s.fps);
    p.i_fps_den = 1;
    p.i_timebase_num = 1;
    p.i_timebase_den = static_cast<std::uint32_t>(s.fps);
    p.b_vfr_input = 0;
    p.i_keyint_max = s.key_interval;
    p.i_keyint_min = 1;
    p.i_scenecut_threshold = 0;
    p.i_slice_count = s.slices;
    p.b_repeat_headers = 1;
    p.b_annexb = 1;
    p.vui.b_fullrange = 0;
    setRate(p, s.bitrate_kbps);
    if (x264_param_apply_profile(&p, "main") < 0) {
        return nullptr;
    }
    x264_t* encoder = x264_encoder_open(&p);
    if (!encoder) {
        return nullptr;
    }
    return std::make_unique<X264Encoder>(encoder, p);
}

}  // namespace podsim
