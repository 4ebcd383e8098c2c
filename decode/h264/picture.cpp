// Pictures: NAL dispatch, picture boundaries, picture order count, the
// decoded picture buffer (reference marking, lists, output order).
#include <algorithm>
#include <cstdlib>

#include "h264/cavlc_codes.h"
#include "frame.h"
#include "h264/impl.h"

namespace zdec::h264 {

// ---------------------------------------------------------------- Picture

void Picture::allocate(int mbw, int mbh) {
    width = 16 * mbw;
    height = 16 * mbh;
    stride = width + 2 * kPad;
    stride_c = width / 2 + 2 * kPadC;
    const size_t luma = static_cast<size_t>(stride) * static_cast<size_t>(height + 2 * kPad);
    const size_t chroma = static_cast<size_t>(stride_c) * static_cast<size_t>(height / 2 + 2 * kPadC);
    mem.assign(luma + 2 * chroma, 128);
    y = mem.data() + static_cast<size_t>(kPad) * static_cast<size_t>(stride) + kPad;
    cb = mem.data() + luma + static_cast<size_t>(kPadC) * static_cast<size_t>(stride_c) + kPadC;
    cr = cb + chroma;
    const size_t blocks = static_cast<size_t>(16 * mbw * mbh);
    for (int l = 0; l < 2; ++l) {
        mv[l].assign(2 * blocks, 0);
        ref_idx[l].assign(blocks, -1);
        ref_id[l].assign(blocks, -1);
    }
    mb_intra.assign(static_cast<size_t>(mbw * mbh), 0);
}


void Picture::pad_borders() {
    pad_plane(y, stride, width, height, kPad);
    pad_plane(cb, stride_c, width / 2, height / 2, kPadC);
    pad_plane(cr, stride_c, width / 2, height / 2, kPadC);
}

// ---------------------------------------------------------------- set-up

Decoder::Impl::Impl() {
    auto build = [this](const Zep32s* desc) {
        Zep32s* t = nullptr;
        if (zepiHuffmanTableInitAlloc_32s(desc, &t) != zepStatusOk) throw std::bad_alloc();
        owned_tables.push_back(t);
        return t;
    };
    using namespace cavlc;
    for (int i = 0; i < 3; ++i) coeff_token[i] = build(kCoeffTokenDesc[i]);
    coeff_token_dc = build(kCoeffTokenDc420Desc);
    for (int i = 1; i < 16; ++i) total_zeros[i] = build(kTotalZeros4x4Desc[i]);
    for (int i = 1; i < 4; ++i) total_zeros_dc[i] = build(kTotalZerosDc420Desc[i]);
    for (int i = 1; i < 15; ++i) run_before[i] = i <= 7 ? build(kRunBeforeDesc[i]) : run_before[7];
    // Flat LevelScale4x4: 16 times the normalisation factor of each position.
    static const int v[6][3] = {{10, 16, 13}, {11, 18, 14}, {13, 20, 16}, {14, 23, 18}, {16, 25, 20}, {18, 29, 23}};
    for (int m = 0; m < 6; ++m)
        for (int i = 0; i < 16; ++i) {
            const int r = i / 4, c = i % 4;
            const int cls = (r % 2 == 0 && c % 2 == 0) ? 0 : (r % 2 == 1 && c % 2 == 1) ? 1 : 2;
            level_scale[m][i] = static_cast<Zep16s>(16 * v[m][cls]);
        }
}

Decoder::Impl::~Impl() {
    for (Zep32s* t : owned_tables) zepiHuffmanTableFree_32s(t);
}

Decoder::Decoder() : impl_(std::make_unique<Impl>()) { impl_->self = this; }
Decoder::~Decoder() = default;

// ---------------------------------------------------------------- NAL units

void Decoder::decode_stream(const uint8_t* data, size_t size) {
    // Start codes: 0x000001 (a leading zero byte of 0x00000001 ends the previous unit's trailing zeros).
    size_t i = 0, start = SIZE_MAX;
    while (i + 2 < size) {
        if (data[i] == 0 && data[i + 1] == 0 && data[i + 2] == 1) {
            if (start != SIZE_MAX) decode_nal(data + start, i - start);
            i += 3;
            start = i;
        } else {
            ++i;
        }
    }
    if (start != SIZE_MAX && start < size) decode_nal(data + start, size - start);
    if (start == SIZE_MAX && size > 0) fail("no start code found: not an Annex B H.264 stream");
}

void Decoder::decode_nal(const uint8_t* nal, size_t size) {
    while (size > 0 && nal[size - 1] == 0) --size;  // trailing_zero_8bits and the next start code's zero
    if (size == 0) return;
    if (nal[0] & 0x80) fail("forbidden_zero_bit set");
    const int ref_idc = (nal[0] >> 5) & 3, type = nal[0] & 31;
    Impl& d = *impl_;
    switch (type) {
        case 1:
        case 5: {
            d.bits.load(nal + 1, size - 1);
            d.parse_slice_header(type, ref_idc);
            d.start_picture();
            d.decode_slice_data();
            break;
        }
        case 2:
        case 3:
        case 4:
            throw Unsupported("data partitioning");
        case 7:
            d.bits.load(nal + 1, size - 1);
            d.parse_sps();
            break;
        case 8:
            d.bits.load(nal + 1, size - 1);
            d.parse_pps();
            break;
        case 10:
        case 11:  // end of sequence / stream: the next picture is an IDR
            if (d.cur) d.finish_picture();
            break;
        default:
            break;  // SEI, access unit delimiters, filler and the rest change nothing decoded
    }
}

void Decoder::flush() {
    Impl& d = *impl_;
    if (d.cur) d.finish_picture();
    d.output_ready(true);
}

// ---------------------------------------------------------------- picture boundaries

void Decoder::Impl::start_picture() {
    // A slice continues the current picture unless one of the fields that
    // tell primary pictures apart changed.
    if (cur) {
        const bool same = sh.first_mb != 0 && sh.frame_num == first.frame_num && sh.pps_id == first.pps_id &&
                          (sh.nal_ref_idc == 0) == (first.nal_ref_idc == 0) && sh.idr == first.idr &&
                          sh.idr_pic_id == first.idr_pic_id && sh.poc_lsb == first.poc_lsb &&
                          sh.delta_poc_bottom == first.delta_poc_bottom && sh.delta_poc[0] == first.delta_poc[0] &&
                          sh.delta_poc[1] == first.delta_poc[1];
        if (same) {
            pps = &pps_table[sh.pps_id];
            if (pps->sps_id != first_sps_id) fail("sequence parameter set changed within a picture");
            return;
        }
        finish_picture();
    }
    pps = &pps_table[sh.pps_id];
    const Sps& s = sps_table[pps->sps_id];
    if (!have_sps || sh.idr) {
        if (!sh.idr && !have_sps) fail("stream does not start with an IDR picture");
        const bool resize = !have_sps || s.mb_width != sps.mb_width || s.mb_height != sps.mb_height;
        if (resize) {
            output_ready(true);
            dpb.clear();
            pool.clear();
        }
        sps = s;
        have_sps = true;
        mbw = sps.mb_width;
        mbh = sps.mb_height;
    } else if (s.mb_width != sps.mb_width || s.mb_height != sps.mb_height) {
        fail("picture size changed without an IDR picture");
    }
    first_sps_id = pps->sps_id;
    first = sh;
    if (first.first_mb != 0) fail("picture does not start at its first macroblock");
    if (!sh.idr && sh.frame_num != prev_ref_frame_num &&
        sh.frame_num != (prev_ref_frame_num + 1) % (1 << sps.log2_max_frame_num))
        handle_frame_num_gap();
    cur = new_picture();
    cur->frame_num = sh.frame_num;
    compute_poc();
    mbs.assign(static_cast<size_t>(mbs_total()), MbState{});
    slices.clear();
    slice_index = -1;
}

Picture* Decoder::Impl::new_picture() {
    Picture* p = nullptr;
    for (auto& q : pool)
        if (!q->is_ref() && !q->waiting_output && q.get() != cur) {
            p = q.get();
            break;
        }
    if (!p) {
        if (pool.size() > 40) fail("decoded picture buffer overflow");
        pool.push_back(std::make_unique<Picture>());
        p = pool.back().get();
        p->allocate(mbw, mbh);
    }
    p->id = next_id++;
    p->short_ref = p->long_ref = p->waiting_output = p->non_existing = p->mmco5 = false;
    p->long_term_idx = 0;
    std::fill(p->mb_intra.begin(), p->mb_intra.end(), 0);
    return p;
}

void Decoder::Impl::handle_frame_num_gap() {
    const int max_frame_num = 1 << sps.log2_max_frame_num;
    if (!sps.gaps_allowed) {
        // Lost pictures; decode on as the gap process would, which keeps the
        // sliding window right.
    }
    int missing = (sh.frame_num - prev_ref_frame_num - 1 + max_frame_num) % max_frame_num;
    int fn = (prev_ref_frame_num + 1) % max_frame_num;
    // Only the last num_ref_frames of the missing frames can still be references.
    const int keep = std::max(sps.num_ref_frames, 1);
    if (missing > keep) {
        fn = (fn + missing - keep) % max_frame_num;
        missing = keep;
    }
    for (int i = 0; i < missing; ++i) {
        Picture* p = new_picture();
        std::fill(p->mem.begin(), p->mem.end(), 128);
        for (int l = 0; l < 2; ++l) {
            std::fill(p->ref_idx[l].begin(), p->ref_idx[l].end(), -1);
            std::fill(p->ref_id[l].begin(), p->ref_id[l].end(), -1);
        }
        p->frame_num = fn;
        p->non_existing = true;
        p->poc = 0;
        cur = p;
        first.adaptive_marking = false;
        first.idr = false;
        first.nal_ref_idc = 1;
        first.frame_num = fn;
        mark_references();
        cur = nullptr;
        prev_ref_frame_num = fn;
        prev_frame_num = fn;
        fn = (fn + 1) % max_frame_num;
    }
    first = sh;
}

void Decoder::Impl::finish_picture() {
    for (const MbState& m : mbs)
        if (m.slice < 0) fail("picture has macroblocks that no slice covers");
    deblock_picture();
    cur->pad_borders();
    if (first.nal_ref_idc != 0) mark_references();
    // The state the next picture's order count and frame_num derive from.
    if (cur->mmco5) {
        prev_frame_num = 0;
        prev_frame_num_offset = 0;
    } else {
        prev_frame_num = first.frame_num;
        prev_frame_num_offset = frame_num_offset;
    }
    if (first.nal_ref_idc != 0) {
        prev_ref_frame_num = cur->mmco5 ? 0 : first.frame_num;
        prev_poc_msb = cur->mmco5 ? 0 : poc_msb;
        prev_poc_lsb = cur->mmco5 ? cur->poc : first.poc_lsb;
    }
    if (first.idr || cur->mmco5) output_ready(true);
    cur->waiting_output = true;
    if (std::find(dpb.begin(), dpb.end(), cur) == dpb.end()) dpb.push_back(cur);
    cur = nullptr;
    output_ready(false);
}

// ---------------------------------------------------------------- order count

void Decoder::Impl::compute_poc() {
    const int max_frame_num = 1 << sps.log2_max_frame_num;
    const SliceHeader& h = first;
    if (sps.poc_type == 0) {
        if (h.idr) prev_poc_msb = prev_poc_lsb = 0;
        const int max_lsb = 1 << sps.log2_max_poc_lsb;
        int msb = prev_poc_msb;
        if (h.poc_lsb < prev_poc_lsb && prev_poc_lsb - h.poc_lsb >= max_lsb / 2)
            msb += max_lsb;
        else if (h.poc_lsb > prev_poc_lsb && h.poc_lsb - prev_poc_lsb > max_lsb / 2)
            msb -= max_lsb;
        poc_msb = msb;
        const int top = msb + h.poc_lsb;
        cur->poc = std::min(top, top + h.delta_poc_bottom);
        return;
    }
    if (h.idr)
        frame_num_offset = 0;
    else if (prev_frame_num > h.frame_num)
        frame_num_offset = prev_frame_num_offset + max_frame_num;
    else
        frame_num_offset = prev_frame_num_offset;
    if (sps.poc_type == 2) {
        if (h.idr)
            cur->poc = 0;
        else
            cur->poc = 2 * (frame_num_offset + h.frame_num) - (h.nal_ref_idc == 0 ? 1 : 0);
        return;
    }
    const int cycle = static_cast<int>(sps.offset_for_ref_frame.size());
    int abs_frame_num = cycle != 0 ? frame_num_offset + h.frame_num : 0;
    if (h.nal_ref_idc == 0 && abs_frame_num > 0) --abs_frame_num;
    int expected = 0;
    if (abs_frame_num > 0) {
        int delta_cycle = 0;
        for (int v : sps.offset_for_ref_frame) delta_cycle += v;
        const int cycle_cnt = (abs_frame_num - 1) / cycle, in_cycle = (abs_frame_num - 1) % cycle;
        expected = cycle_cnt * delta_cycle;
        for (int i = 0; i <= in_cycle; ++i) expected += sps.offset_for_ref_frame[static_cast<size_t>(i)];
    }
    if (h.nal_ref_idc == 0) expected += sps.offset_for_non_ref_pic;
    const int top = expected + h.delta_poc[0];
    const int bottom = top + sps.offset_for_top_to_bottom_field + h.delta_poc[1];
    cur->poc = std::min(top, bottom);
}

// ---------------------------------------------------------------- reference marking

void Decoder::Impl::mark_references() {
    const int max_frame_num = 1 << sps.log2_max_frame_num;
    auto unmark = [](Picture* p) { p->short_ref = p->long_ref = false; };
    auto refs_only = [this]() {
        dpb.erase(std::remove_if(dpb.begin(), dpb.end(), [](Picture* p) { return !p->is_ref() && !p->waiting_output; }),
                  dpb.end());
    };
    if (first.idr) {
        for (Picture* p : dpb) unmark(p);
        if (first.long_term_reference) {
            cur->long_ref = true;
            cur->long_term_idx = 0;
            max_long_term_idx = 0;
        } else {
            cur->short_ref = true;
            max_long_term_idx = -1;
        }
        refs_only();
        return;
    }
    const int curr_pic_num = first.frame_num;
    auto pic_num = [&](const Picture* p) {
        return p->frame_num > first.frame_num ? p->frame_num - max_frame_num : p->frame_num;
    };
    bool current_long = false;
    if (first.adaptive_marking) {
        for (const Mmco& m : first.mmco) {
            switch (m.op) {
                case 1: {
                    const int n = curr_pic_num - (m.a + 1);
                    for (Picture* p : dpb)
                        if (p->short_ref && pic_num(p) == n) p->short_ref = false;
                    break;
                }
                case 2:
                    for (Picture* p : dpb)
                        if (p->long_ref && p->long_term_idx == m.b) p->long_ref = false;
                    break;
                case 3: {
                    const int n = curr_pic_num - (m.a + 1);
                    Picture* target = nullptr;
                    for (Picture* p : dpb)
                        if (p->short_ref && pic_num(p) == n) target = p;
                    if (!target) break;
                    for (Picture* p : dpb)
                        if (p->long_ref && p->long_term_idx == m.b && p != target) p->long_ref = false;
                    target->short_ref = false;
                    target->long_ref = true;
                    target->long_term_idx = m.b;
                    break;
                }
                case 4:
                    max_long_term_idx = m.a - 1;
                    for (Picture* p : dpb)
                        if (p->long_ref && p->long_term_idx > max_long_term_idx) p->long_ref = false;
                    break;
                case 5:
                    for (Picture* p : dpb) unmark(p);
                    max_long_term_idx = -1;
                    cur->mmco5 = true;
                    break;
                case 6:
                    for (Picture* p : dpb)
                        if (p->long_ref && p->long_term_idx == m.b) p->long_ref = false;
                    cur->long_ref = true;
                    cur->long_term_idx = m.b;
                    current_long = true;
                    break;
                default:
                    break;
            }
        }
    } else {
        int short_count = 0, long_count = 0;
        for (Picture* p : dpb) {
            short_count += p->short_ref;
            long_count += p->long_ref;
        }
        if (short_count + long_count >= std::max(sps.num_ref_frames, 1) && short_count > 0) {
            Picture* oldest = nullptr;
            for (Picture* p : dpb)
                if (p->short_ref && (!oldest || pic_num(p) < pic_num(oldest))) oldest = p;
            oldest->short_ref = false;
        }
    }
    if (cur->mmco5) {
        // The picture now counts as frame 0 of a new period, its order count relative to itself.
        cur->frame_num = 0;
        cur->poc = 0;
    }
    if (!current_long) cur->short_ref = true;
    refs_only();
    if (std::find(dpb.begin(), dpb.end(), cur) == dpb.end()) dpb.push_back(cur);
}

// ---------------------------------------------------------------- reference lists

void Decoder::Impl::build_ref_lists() {
    const int max_frame_num = 1 << sps.log2_max_frame_num;
    for (Picture* p : dpb)
        if (p->short_ref) p->frame_num_wrap = p->frame_num > sh.frame_num ? p->frame_num - max_frame_num : p->frame_num;
    std::vector<Picture*> shorts, longs;
    for (Picture* p : dpb) {
        if (p->short_ref) shorts.push_back(p);
        if (p->long_ref) longs.push_back(p);
    }
    std::sort(longs.begin(), longs.end(), [](Picture* a, Picture* b) { return a->long_term_idx < b->long_term_idx; });
    std::vector<Picture*> init[2];
    if (sh.type == kP) {
        std::sort(shorts.begin(), shorts.end(),
                  [](Picture* a, Picture* b) { return a->frame_num_wrap > b->frame_num_wrap; });
        init[0] = shorts;
        init[0].insert(init[0].end(), longs.begin(), longs.end());
    } else if (sh.type == kB) {
        std::vector<Picture*> before, after;
        for (Picture* p : shorts) (p->poc < cur->poc ? before : after).push_back(p);
        std::sort(before.begin(), before.end(), [](Picture* a, Picture* b) { return a->poc > b->poc; });
        std::sort(after.begin(), after.end(), [](Picture* a, Picture* b) { return a->poc < b->poc; });
        init[0] = before;
        init[0].insert(init[0].end(), after.begin(), after.end());
        init[0].insert(init[0].end(), longs.begin(), longs.end());
        init[1] = after;
        init[1].insert(init[1].end(), before.begin(), before.end());
        init[1].insert(init[1].end(), longs.begin(), longs.end());
        if (init[1].size() > 1 && init[0] == init[1]) std::swap(init[1][0], init[1][1]);
    }
    for (int list = 0; list < 2; ++list) {
        const int n = sh.num_ref_idx[list];
        ref_count[list] = n;
        std::vector<Picture*> l = init[list];
        l.resize(static_cast<size_t>(n) + 1, nullptr);
        int pred = first.frame_num;
        int idx = 0;
        for (const RefMod& m : sh.mods[list]) {
            Picture* pic = nullptr;
            if (m.idc < 2) {
                const int d = m.value + 1;
                if (d > max_frame_num) fail("abs_diff_pic_num out of range");
                int no_wrap = m.idc == 0 ? pred - d : pred + d;
                if (no_wrap < 0) no_wrap += max_frame_num;
                if (no_wrap >= max_frame_num) no_wrap -= max_frame_num;
                pred = no_wrap;
                const int num = no_wrap > first.frame_num ? no_wrap - max_frame_num : no_wrap;
                for (Picture* p : shorts)
                    if (p->frame_num_wrap == num) pic = p;
            } else {
                for (Picture* p : longs)
                    if (p->long_term_idx == m.value) pic = p;
            }
            if (!pic) fail("reference list modification names a missing picture");
            l.insert(l.begin() + idx, pic);
            int w = ++idx;
            for (int r = idx; r < static_cast<int>(l.size()); ++r)
                if (l[static_cast<size_t>(r)] != pic) l[static_cast<size_t>(w++)] = l[static_cast<size_t>(r)];
            l.resize(static_cast<size_t>(n) + 1);
        }
        for (int i = 0; i < n; ++i) {
            ref_list[list][i] = l[static_cast<size_t>(i)];
            // A list longer than the references held: the entries past the end stay empty and are an error if used.
        }
        for (int i = n; i < 32; ++i) ref_list[list][i] = nullptr;
    }
}

void Decoder::Impl::compute_implicit_weights() {
    for (int i = 0; i < ref_count[0]; ++i)
        for (int j = 0; j < ref_count[1]; ++j) {
            const Picture* p0 = ref_list[0][i];
            const Picture* p1 = ref_list[1][j];
            int w0 = 32, w1 = 32;
            if (p0 && p1 && !p0->long_ref && !p1->long_ref) {
                const int tb = clip3(-128, 127, cur->poc - p0->poc);
                const int td = clip3(-128, 127, p1->poc - p0->poc);
                if (td != 0) {
                    const int tx = (16384 + std::abs(td / 2)) / td;
                    const int dsf = clip3(-1024, 1023, (tb * tx + 32) >> 6);
                    if ((dsf >> 2) >= -64 && (dsf >> 2) <= 128) {
                        w0 = 64 - (dsf >> 2);
                        w1 = dsf >> 2;
                    }
                }
            }
            implicit_w[i][j][0] = w0;
            implicit_w[i][j][1] = w1;
        }
}

// ---------------------------------------------------------------- output

void Decoder::Impl::output_ready(bool all) {
    for (;;) {
        std::vector<Picture*> waiting;
        for (Picture* p : dpb)
            if (p->waiting_output) waiting.push_back(p);
        if (waiting.empty() || (!all && static_cast<int>(waiting.size()) <= sps.max_reorder)) break;
        Picture* next = *std::min_element(waiting.begin(), waiting.end(), [](Picture* a, Picture* b) {
            return a->poc != b->poc ? a->poc < b->poc : a->id < b->id;
        });
        next->waiting_output = false;
        if (!next->non_existing && self->on_frame) {
            FrameOut f;
            const int cx = sps.crop_left, cy = sps.crop_top;
            f.y = next->y + static_cast<ptrdiff_t>(cy) * next->stride + cx;
            f.cb = next->cb + static_cast<ptrdiff_t>(cy / 2) * next->stride_c + cx / 2;
            f.cr = next->cr + static_cast<ptrdiff_t>(cy / 2) * next->stride_c + cx / 2;
            f.stride = next->stride;
            f.stride_c = next->stride_c;
            f.width = next->width - sps.crop_left - sps.crop_right;
            f.height = next->height - sps.crop_top - sps.crop_bottom;
            self->on_frame(f);
        }
        self->frames_out_ += next->non_existing ? 0 : 1;
        if (!next->is_ref()) dpb.erase(std::find(dpb.begin(), dpb.end(), next));
    }
}

}  // namespace zdec::h264
