// The decoder's state, shared by its parts (syntax, pictures, macroblocks,
// deblocking).
#pragma once

#include <cstring>

#include "h264/h264.h"

namespace zdec::h264 {

enum MbKind : uint8_t { kMbInter = 0, kMbSkip, kMbIntra4x4, kMbIntra16x16, kMbPcm };

struct MbState {
    int32_t slice = -1;  // index of its slice in the picture; -1 not decoded
    uint8_t kind = kMbInter;
    int8_t qp = 0;
    uint8_t nz[16] = {};     // total_coeff per luma 4x4 block, raster order in the macroblock
    uint8_t nzc[2][4] = {};  // the same for the chroma AC blocks
    int8_t i4[16] = {};      // Intra_4x4 modes, raster order; 2 (DC) for every other kind
    bool intra() const { return kind >= kMbIntra4x4; }
};

// What deblocking needs of each slice of the picture.
struct SliceInfo {
    int disable = 0, alpha_offset = 0, beta_offset = 0;
    int chroma_qp_offset[2] = {0, 0};
};

// 4x4 block index <-> position in the macroblock (in 4x4 units).
inline constexpr int kBlkX[16] = {0, 1, 0, 1, 2, 3, 2, 3, 0, 1, 0, 1, 2, 3, 2, 3};
inline constexpr int kBlkY[16] = {0, 0, 1, 1, 0, 0, 1, 1, 2, 2, 3, 3, 2, 2, 3, 3};
inline constexpr int kRasterBlk[16] = {0, 1, 4, 5, 2, 3, 6, 7, 8, 9, 12, 13, 10, 11, 14, 15};

inline int clip3(int lo, int hi, int v) { return v < lo ? lo : (v > hi ? hi : v); }

// Motion of one 4x4 block for one list, as used by prediction.
struct Motion {
    bool avail = false;  // the block exists, is in the slice and is decoded
    int ref = -1;        // -1: not using this list (or intra)
    int mvx = 0, mvy = 0;
};

struct Decoder::Impl {
    Decoder* self = nullptr;

    // Parameter sets and CAVLC tables.
    Sps sps_table[32];
    Pps pps_table[256];
    Zep32s* coeff_token[3] = {};
    Zep32s* coeff_token_dc = nullptr;
    const Zep32s* total_zeros[16] = {};
    const Zep32s* total_zeros_dc[4] = {};
    const Zep32s* run_before[15] = {};
    std::vector<Zep32s*> owned_tables;
    Zep16s level_scale[6][16];

    Bits bits;

    // The active sequence and the picture being decoded.
    Sps sps;
    bool have_sps = false;
    int mbw = 0, mbh = 0;
    std::vector<std::unique_ptr<Picture>> pool;
    std::vector<Picture*> dpb;  // references and frames waiting for output
    Picture* cur = nullptr;
    SliceHeader first;  // first slice of the current picture
    SliceHeader sh;     // current slice
    const Pps* pps = nullptr;
    std::vector<MbState> mbs;
    std::vector<SliceInfo> slices;
    int next_id = 1;
    int first_sps_id = 0;

    // Reference lists of the current slice.
    Picture* ref_list[2][32] = {};
    int ref_count[2] = {0, 0};
    // Implicit bi-prediction weights [ref0][ref1] (luma and chroma alike).
    int implicit_w[32][32][2];

    // Picture order count and frame_num history.
    int prev_poc_msb = 0, prev_poc_lsb = 0;
    int prev_frame_num = 0, prev_frame_num_offset = 0, prev_ref_frame_num = 0;
    int poc_msb = 0, frame_num_offset = 0;
    int max_long_term_idx = -1;  // -1: no long-term frame index allowed

    // Macroblock decoding state.
    int mb_x = 0, mb_y = 0, mb_addr = 0, qp = 0, slice_index = -1;
    Zep16s coeff_luma[16 * 16 + 16];
    Zep16s coeff_chroma[2 * 4 + 8 * 16];
    uint8_t pred_tmp[16 * 16], pred_tmp_c[2][8 * 8];

    Impl();
    ~Impl();

    // syntax.cpp
    void parse_sps();
    void parse_pps();
    void parse_slice_header(int nal_type, int nal_ref_idc);

    // picture.cpp
    void start_picture();
    void finish_picture();
    void compute_poc();
    void handle_frame_num_gap();
    Picture* new_picture();
    void build_ref_lists();
    void mark_references();
    void output_ready(bool all);
    void compute_implicit_weights();

    // macroblock.cpp
    void decode_slice_data();
    void decode_macroblock(bool skipped);

    // deblock.cpp
    void deblock_picture();

    const Pps& cur_pps() const { return *pps; }
    int mbs_total() const { return mbw * mbh; }
    // The macroblock at (x, y) when it lies in the picture and was decoded in
    // the current slice (the only neighbours prediction may use).
    const MbState* neighbour(int x, int y) const {
        if (x < 0 || y < 0 || x >= mbw || y >= mbh) return nullptr;
        const MbState& m = mbs[static_cast<size_t>(y * mbw + x)];
        return m.slice == slice_index ? &m : nullptr;
    }
    size_t blk4(int bx, int by) const { return static_cast<size_t>(by * mbw * 4 + bx); }
};

}  // namespace zdec::h264
