// MPEG-4 Part 2 (Simple profile) decoder built on the zepvc public interface:
// the object layer and VOP headers, video packets, macroblock syntax, DC and
// AC prediction, motion-vector prediction and the reference picture are
// here; DC and coefficient decoding, inverse quantisation (both methods, with
// matrices), the inverse DCT and half-sample compensation are library calls.
//
// Scope: rectangular progressive I and P VOPs, one or four vectors,
// unrestricted vectors, AC/DC prediction, resync markers and video packets
// (header extension included), H.263 and MPEG quantisation with default or
// custom matrices, rounding control, VOPs not coded, data partitioning with
// or without reversible codes. B-VOPs, sprites (GMC), quarter-sample motion,
// interlace, shapes, scalability and the other tools beyond Simple are
// refused with a "not supported" error.
//
// Choices where the standard leaves the decoder free: damaged data ends
// decoding with an error (no concealment); output is every VOP in decoding
// order (the only order I and P VOPs have).
#pragma once

#include <functional>
#include <memory>

#include "bits.h"

namespace zdec::mpeg4 {

struct FrameOut {
    const uint8_t *y, *cb, *cr;
    int stride, stride_c;
    int width, height;
};

class Decoder {
public:
    std::function<void(const FrameOut&)> on_frame;
    int max_mbs = 36864;
    Decoder();
    ~Decoder();
    void decode_stream(const uint8_t* data, size_t size);
    void flush() {}

    struct Impl;

private:
    std::unique_ptr<Impl> impl_;
};

}  // namespace zdec::mpeg4
