// H.261 decoder built on the zepvc public interface: picture and group of
// blocks headers, macroblock syntax and motion vectors are here; coefficient
// decoding with inverse quantisation, the inverse DCT, the loop filter and
// the block copies are library calls.
//
// Scope: QCIF and CIF pictures, every macroblock type (with the loop
// filter), integer motion vectors. Output: every picture, in order, planar
// 4:2:0.
//
// Choices where the standard leaves the decoder free: macroblocks a picture
// does not code keep the previous picture's samples (as skipped ones do);
// damaged data ends decoding with an error.
#pragma once

#include <functional>
#include <memory>

#include "bits.h"

namespace zdec::h261 {

struct FrameOut {
    const uint8_t *y, *cb, *cr;
    int stride, stride_c;
    int width, height;
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

}  // namespace zdec::h261
