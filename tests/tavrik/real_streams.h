// Parameter sets and slices whose heads can be read, unlike those of nal_streams.h.
#pragma once

#include "bit_writer.h"
#include "nal_streams.h"

namespace tavrik::test {

struct Sequence264 {
    std::uint32_t profile = 77;
    std::uint32_t order_type = 0;
    bool frames_only = true;
    bool scaling = false;
};

inline Bytes sequence264(const Sequence264& s = {}) {
    BitWriter w;
    w.u(8, s.profile).u(8, 0).u(8, 30).ue(0);
    if (s.profile >= 100) {
        w.ue(1).ue(0).ue(0).u(1, 0).u(1, s.scaling ? 1 : 0);
        if (s.scaling) {
            // One list of 16 steps, one that ends at its second, no others.
            w.u(1, 1);
            for (int i = 0; i < 16; ++i) {
                w.se(1);
            }
            w.u(1, 1).se(2).se(-10).u(6, 0);
        }
    }
    w.ue(4).ue(s.order_type);
    if (s.order_type == 0) {
        w.ue(2);
    } else if (s.order_type == 1) {
        w.u(1, 0).se(-1).se(2).ue(2).se(3).se(-4);
    }
    w.ue(1).u(1, 0).ue(19).ue(14).u(1, s.frames_only ? 1 : 0).u(1, 1).u(1, 0).u(1, 0);
    return w.nal({0x67});
}

inline Bytes picture264(bool bottom_order = false) {
    return BitWriter().ue(0).ue(0).u(1, 0).u(1, bottom_order ? 1 : 0).ue(0).ue(0).nal({0x68}, 6);
}

struct Slice264 {
    std::uint32_t address = 0;
    std::uint32_t frame = 0;  // 8 bits
    std::uint32_t order = 0;  // 6 bits
    bool idr = false;
    std::uint32_t idr_id = 0;
    bool reference = true;
    int field = 0;  // 1 top, 2 bottom
    int delta = 0;
};

inline Bytes realSlice264(const Slice264& s, const Sequence264& q = {}, bool bottom_order = false,
                          std::size_t size = 60) {
    BitWriter w;
    w.ue(s.address).ue(s.idr ? 7 : 5).ue(0).u(8, s.frame);
    if (!q.frames_only) {
        w.u(1, s.field != 0 ? 1 : 0);
        if (s.field != 0) {
            w.u(1, s.field == 2 ? 1 : 0);
        }
    }
    if (s.idr) {
        w.ue(s.idr_id);
    }
    if (q.order_type == 0) {
        w.u(6, s.order);
    } else if (q.order_type == 1) {
        w.se(s.delta);
    }
    if (bottom_order && s.field == 0 && q.order_type != 2) {
        w.se(q.order_type == 0 ? s.delta : 0);
    }
    const auto head = static_cast<std::uint8_t>((s.reference ? 0x60 : 0) | (s.idr ? 5 : 1));
    return w.nal({head}, size);
}

inline Bytes sequence265(bool sub_layers = false, bool window = true) {
    BitWriter w;
    w.u(4, 0).u(3, sub_layers ? 2 : 0).u(1, 1).u(8, 1).u(32, 0x60000000).u(16, 0x9000).u(32, 0).u(8, 93);
    if (sub_layers) {
        w.u(2, 3).u(2, 1).u(12, 0);
        w.u(32, 1).u(32, 2).u(24, 3).u(8, 90).u(8, 91);
    }
    // 640x480 in blocks of 16, so 1200 of them.
    w.ue(0).ue(1).ue(640).ue(480).u(1, window ? 1 : 0);
    if (window) {
        w.ue(0).ue(0).ue(0).ue(4);
    }
    w.ue(0).ue(0).ue(4);
    w.u(1, 1);
    for (int i = 0; i <= (sub_layers ? 2 : 0); ++i) {
        w.ue(4).ue(2).ue(0);
    }
    w.ue(0).ue(1).ue(0).ue(3);
    return w.nal({0x42, 0x01});
}

inline Bytes picture265(bool dependent = true) {
    return BitWriter().ue(0).ue(0).u(1, dependent ? 1 : 0).u(1, 1).u(3, 2).u(1, 0).nal({0x44, 0x01}, 6);
}

struct Slice265 {
    std::uint32_t address = 0;
    std::uint32_t order = 0;  // 8 bits
    bool idr = false;
    bool dependent = false;
};

// dependent_slices: as its picture's parameter set says.
inline Bytes realSlice265(const Slice265& s, std::size_t size = 60, bool dependent_slices = true) {
    BitWriter w;
    w.u(1, s.address == 0 ? 1 : 0);
    if (s.idr) {
        w.u(1, 0);
    }
    w.ue(0);
    if (s.address != 0) {
        if (dependent_slices) {
            w.u(1, s.dependent ? 1 : 0);
        }
        w.u(11, s.address);
    }
    if (!s.dependent) {
        w.u(2, 3).ue(1).u(1, 1);
        if (!s.idr) {
            w.u(8, s.order);
        }
    }
    return w.nal({static_cast<std::uint8_t>((s.idr ? 19 : 1) << 1), 0x01}, size);
}

}  // namespace tavrik::test
