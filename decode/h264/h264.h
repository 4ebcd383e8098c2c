// H.264 decoder built on the zepvc public interface: parameter sets, slice
// headers, macroblock syntax, motion-vector prediction, reference lists and
// the picture buffer live here; every pixel operation (interpolation,
// weighting, intra prediction, reconstruction, deblocking) and all CAVLC and
// Exp-Golomb decoding is a library call.
//
// Scope: progressive frames coded with CAVLC (Constrained Baseline, Baseline,
// Main, and High-profile streams that use none of the High tools), 8-bit
// 4:2:0. CABAC, field coding (field pictures, MBAFF), the 8x8 transform,
// scaling matrices, slice groups and other chroma formats or bit depths are
// refused with a "not supported" error.
//
// Choices where the standard leaves the decoder free:
// - Output: frames are released in picture-order-count order once more
//   frames wait than the stream's max_num_reorder_frames (16 when the VUI does
//   not say), and all at once at an IDR, a memory_management_control_operation
//   5 and the end of the stream.
// - Concealment is not attempted: a damaged slice, a reference that does not
//   exist or a value outside its range ends decoding with an error. A gap in
//   frame_num inserts grey "non-existing" frames as the standard's gap
//   process does, so sliding-window marking stays right.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "bits.h"

namespace zdec::h264 {

struct Sps {
    bool valid = false;
    int profile_idc = 0, level_idc = 0;
    int log2_max_frame_num = 4, poc_type = 0, log2_max_poc_lsb = 4;
    bool delta_pic_order_always_zero = false;
    int offset_for_non_ref_pic = 0, offset_for_top_to_bottom_field = 0;
    std::vector<int> offset_for_ref_frame;
    int num_ref_frames = 0;
    bool gaps_allowed = false;
    int mb_width = 0, mb_height = 0;
    bool direct_8x8_inference = true;
    int crop_left = 0, crop_right = 0, crop_top = 0, crop_bottom = 0;  // in samples
    int max_reorder = 16;
};

struct Pps {
    bool valid = false;
    int sps_id = 0;
    bool bottom_field_pic_order_present = false;
    int num_ref_idx_default[2] = {1, 1};
    bool weighted_pred = false;
    int weighted_bipred_idc = 0;
    int pic_init_qp = 26;
    int chroma_qp_offset[2] = {0, 0};
    bool deblocking_control_present = false, constrained_intra_pred = false, redundant_pic_cnt_present = false;
};

enum SliceType { kP = 0, kB = 1, kI = 2 };

struct RefMod {
    int idc, value;
};
struct Mmco {
    int op, a, b;
};

struct SliceHeader {
    int first_mb = 0, type = kI, pps_id = 0, frame_num = 0, idr_pic_id = 0;
    bool idr = false;
    int nal_ref_idc = 0;
    int poc_lsb = 0, delta_poc_bottom = 0, delta_poc[2] = {0, 0};
    bool direct_spatial = true;
    int num_ref_idx[2] = {0, 0};
    std::vector<RefMod> mods[2];
    // Weighted prediction: per list and reference index, luma then Cb, Cr.
    int luma_log2_denom = 0, chroma_log2_denom = 0;
    struct Weight {
        int w[3], o[3];
        bool explicit_luma, explicit_chroma;
    };
    std::array<std::array<Weight, 32>, 2> weights{};
    bool no_output_of_prior_pics = false, long_term_reference = false, adaptive_marking = false;
    std::vector<Mmco> mmco;
    int qp = 26;
    int disable_deblocking = 0, alpha_offset = 0, beta_offset = 0;
};

// A decoded frame with its borders padded for motion compensation, plus the
// motion it was coded with (needed when it is the co-located picture of a
// direct-predicted B slice).
struct Picture {
    static constexpr int kPad = 32, kPadC = 16;
    std::vector<uint8_t> mem;
    uint8_t *y = nullptr, *cb = nullptr, *cr = nullptr;
    int stride = 0, stride_c = 0, width = 0, height = 0;

    int id = 0;  // unique per decoded picture: identifies references across pictures
    int poc = 0, frame_num = 0, frame_num_wrap = 0, long_term_idx = 0;
    bool short_ref = false, long_ref = false, waiting_output = false, non_existing = false;
    bool mmco5 = false;

    // Per 4x4 block, picture raster order of blocks.
    std::vector<int16_t> mv[2];  // x, y pairs
    std::vector<int8_t> ref_idx[2];
    std::vector<int32_t> ref_id[2];  // id of the picture referenced, -1 none
    std::vector<uint8_t> mb_intra;   // per macroblock

    void allocate(int mbw, int mbh);
    bool is_ref() const { return short_ref || long_ref; }
    void pad_borders();
};

struct FrameOut {
    const uint8_t *y, *cb, *cr;
    int stride, stride_c;
    int width, height;  // cropped luma size
};

class Decoder {
public:
    // Called for every output frame, in display order.
    std::function<void(const FrameOut&)> on_frame;
    // Largest picture accepted, in macroblocks (the fuzz target lowers it).
    int max_mbs = 36864;  // 4096 x 2304

    Decoder();
    ~Decoder();
    // Decodes an Annex B byte stream given whole (start codes included).
    void decode_stream(const uint8_t* data, size_t size);
    // Decodes one NAL unit (without its start code).
    void decode_nal(const uint8_t* nal, size_t size);
    // Ends the stream: finishes the last picture and outputs every frame left.
    void flush();
    int frames_output() const { return frames_out_; }

    struct Impl;

private:
    std::unique_ptr<Impl> impl_;
    int frames_out_ = 0;
};

}  // namespace zdec::h264
