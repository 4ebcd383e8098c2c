// DV (IEC 61834-2 / SMPTE 314M, 25 Mbit/s) decoder built on the zepvc public
// interface: DIF block parsing and the placement of macroblocks are here;
// segment decoding, inverse quantisation with weighting and both inverse DCTs
// are library calls.
//
// Scope: raw DIF streams of 525/60 (4:1:1, 720x480) and 625/50 (4:2:0,
// 720x576) frames. Frames are written whole (720 samples wide) at the
// system's own chroma format. DV100 and the 50 Mbit/s 4:2:2 formats are
// refused with a "not supported" error.
//
// Choices where the standard leaves the decoder free: a frame with a
// damaged header ends decoding; bits a block cannot decode are dropped with
// the rest of that block (the segment decoder's rule), which conceals
// nothing but keeps the frame's geometry.
#pragma once

#include <functional>
#include <memory>

#include "bits.h"

namespace zdec::dv {

struct FrameOut {
    const uint8_t *y, *cb, *cr;
    int stride, stride_c;
    int width, height;   // luma
    int cwidth, cheight; // chroma (180 x 480 for 4:1:1, 360 x 288 for 4:2:0)
};

class Decoder {
public:
    std::function<void(const FrameOut&)> on_frame;
    Decoder();
    ~Decoder();
    void decode_stream(const uint8_t* data, size_t size);
    void flush() {}

    struct Impl;

private:
    std::unique_ptr<Impl> impl_;
};

}  // namespace zdec::dv
