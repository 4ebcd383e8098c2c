// MPEG-1 and MPEG-2 video decoder built on the zepvc public interface: the
// headers, macroblock syntax, motion vectors and the reference pictures live
// here; variable-length decoding, block reconstruction (dequantisation with
// mismatch control), the inverse DCT and motion compensation are library
// calls.
//
// Scope: elementary streams of progressive frame pictures in 4:2:0 (MPEG-1
// I/P/B, MPEG-2 main profile I/P/B with either intra VLC table, either scan,
// quantiser matrices, intra DC precision 8 to 11, linear and non-linear
// quantiser scales, frame DCT or field DCT). Field pictures, field and
// dual-prime motion in frame pictures, scalable extensions, other chroma
// formats and MPEG-1 D-pictures are refused with a "not supported" error.
//
// Choices where the standard leaves the decoder free:
// - Concealment motion vectors are read and ignored.
// - Frames leave in display order: a B picture at once, a reference picture
//   when the next reference picture (or the end of the stream) arrives.
// - Damaged data ends decoding with an error; there is no concealment.
#pragma once

#include <functional>
#include <memory>

#include "bits.h"

namespace zdec::mpeg2 {

struct FrameOut {
    const uint8_t *y, *cb, *cr;
    int stride, stride_c;
    int width, height;  // the luma size shown; chroma is half of it, rounded up
};

class Decoder {
public:
    std::function<void(const FrameOut&)> on_frame;
    int max_mbs = 36864;

    Decoder();
    ~Decoder();
    void decode_stream(const uint8_t* data, size_t size);
    void flush();

    struct Impl;

private:
    std::unique_ptr<Impl> impl_;
};

}  // namespace zdec::mpeg2
