// H.263 decoder (baseline and H.263+ headers) built on the zepvc public
// interface: picture and GOB headers, macroblock syntax, motion-vector
// prediction and the reference picture are here; coefficient decoding with
// inverse quantisation (with Annexes I and T), the inverse DCT, half-sample
// compensation, overlapped motion compensation (Annex F) and the deblocking
// filter (Annex J) are library calls.
//
// Scope: I and P pictures in the standard formats and custom sizes, with
// Annexes D (unrestricted vectors), F (four vectors, overlapped
// compensation), I (advanced intra coding), J (deblocking) and T (modified
// quantisation), and the rounding type of H.263+ P pictures. PB and B
// pictures, arithmetic coding, slices, reference picture selection and the
// other optional modes are refused with a "not supported" error.
//
// Choices where the standard leaves the decoder free: damaged data ends
// decoding with an error; output is every picture in decoding order
// (the only order I and P pictures have).
#pragma once

#include <functional>
#include <memory>

#include "bits.h"

namespace zdec::h263 {

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

}  // namespace zdec::h263
