// Sequence and picture parameter sets and slice headers.
#include "h264/impl.h"

namespace zdec::h264 {
namespace {

void skip_scaling_list(Bits& b, int size) {
    int last = 8, next = 8;
    for (int j = 0; j < size; ++j) {
        if (next != 0) next = (last + b.se(-128, 127, "delta_scale") + 256) % 256;
        if (next != 0) throw Unsupported("scaling matrices");
        last = next == 0 ? last : next;
    }
}

void skip_hrd(Bits& b) {
    const Zep32u count = b.ue(31, "cpb_cnt_minus1") + 1;
    b.skip(8);
    for (Zep32u i = 0; i < count; ++i) {
        b.ue();
        b.ue();
        b.skip(1);
    }
    b.skip(20);
}

// The VUI matters here only for max_num_reorder_frames (how long output waits).
void parse_vui(Bits& b, Sps& s) {
    if (b.flag()) {  // aspect_ratio_info_present_flag
        if (b.u(8) == 255) b.skip(32);
    }
    if (b.flag()) b.skip(1);  // overscan
    if (b.flag()) {           // video_signal_type
        b.skip(4);
        if (b.flag()) b.skip(24);
    }
    if (b.flag()) {  // chroma_loc_info
        b.ue();
        b.ue();
    }
    if (b.flag()) b.skip(65);  // timing info
    const bool nal_hrd = b.flag();
    if (nal_hrd) skip_hrd(b);
    const bool vcl_hrd = b.flag();
    if (vcl_hrd) skip_hrd(b);
    if (nal_hrd || vcl_hrd) b.skip(1);
    b.skip(1);       // pic_struct_present_flag
    if (b.flag()) {  // bitstream_restriction_flag
        b.skip(1);
        for (int i = 0; i < 4; ++i) b.ue();
        s.max_reorder = static_cast<int>(b.ue(16, "max_num_reorder_frames"));
        b.ue(16, "max_dec_frame_buffering");
    }
}

}  // namespace

void Decoder::Impl::parse_sps() {
    Bits& b = bits;
    Sps s;
    s.profile_idc = static_cast<int>(b.u(8));
    b.skip(8);  // constraint flags
    s.level_idc = static_cast<int>(b.u(8));
    const Zep32u id = b.ue(31, "seq_parameter_set_id");
    if (s.profile_idc == 100 || s.profile_idc == 110 || s.profile_idc == 122 || s.profile_idc == 244 ||
        s.profile_idc == 44 || s.profile_idc == 83 || s.profile_idc == 86 || s.profile_idc == 118 ||
        s.profile_idc == 128 || s.profile_idc == 138 || s.profile_idc == 139 || s.profile_idc == 134 ||
        s.profile_idc == 135) {
        if (b.ue(3, "chroma_format_idc") != 1) throw Unsupported("chroma formats other than 4:2:0");
        if (b.ue(6, "bit_depth_luma") != 0 || b.ue(6, "bit_depth_chroma") != 0)
            throw Unsupported("bit depths above 8");
        if (b.flag()) throw Unsupported("lossless (transform bypass) coding");
        if (b.flag()) {  // seq_scaling_matrix_present_flag
            for (int i = 0; i < 8; ++i)
                if (b.flag()) skip_scaling_list(b, i < 6 ? 16 : 64);
        }
    }
    s.log2_max_frame_num = static_cast<int>(b.ue(12, "log2_max_frame_num_minus4")) + 4;
    s.poc_type = static_cast<int>(b.ue(2, "pic_order_cnt_type"));
    if (s.poc_type == 0) {
        s.log2_max_poc_lsb = static_cast<int>(b.ue(12, "log2_max_pic_order_cnt_lsb_minus4")) + 4;
    } else if (s.poc_type == 1) {
        s.delta_pic_order_always_zero = b.flag();
        s.offset_for_non_ref_pic = b.se();
        s.offset_for_top_to_bottom_field = b.se();
        const Zep32u n = b.ue(255, "num_ref_frames_in_pic_order_cnt_cycle");
        for (Zep32u i = 0; i < n; ++i) s.offset_for_ref_frame.push_back(b.se());
    }
    s.num_ref_frames = static_cast<int>(b.ue(16, "max_num_ref_frames"));
    s.gaps_allowed = b.flag();
    s.mb_width = static_cast<int>(b.ue(1023, "pic_width_in_mbs_minus1")) + 1;
    s.mb_height = static_cast<int>(b.ue(1023, "pic_height_in_map_units_minus1")) + 1;
    if (!b.flag()) throw Unsupported("field coding (frame_mbs_only_flag 0)");
    s.direct_8x8_inference = b.flag();
    if (b.flag()) {  // frame_cropping_flag: chroma units of 2 samples in 4:2:0 frames
        s.crop_left = 2 * static_cast<int>(b.ue(8 * 1024, "frame_crop_left_offset"));
        s.crop_right = 2 * static_cast<int>(b.ue(8 * 1024, "frame_crop_right_offset"));
        s.crop_top = 2 * static_cast<int>(b.ue(8 * 1024, "frame_crop_top_offset"));
        s.crop_bottom = 2 * static_cast<int>(b.ue(8 * 1024, "frame_crop_bottom_offset"));
        if (s.crop_left + s.crop_right >= 16 * s.mb_width || s.crop_top + s.crop_bottom >= 16 * s.mb_height)
            fail("cropping window is empty");
    }
    if (s.mb_width * s.mb_height > self->max_mbs) fail("picture too large");
    if (b.flag()) {
        try {
            parse_vui(b, s);
        } catch (const DecodeError&) {
            s.max_reorder = 16;  // a VUI we cannot read changes nothing that matters
        }
    }
    s.valid = true;
    sps_table[id] = s;
}

void Decoder::Impl::parse_pps() {
    Bits& b = bits;
    Pps p;
    const Zep32u id = b.ue(255, "pic_parameter_set_id");
    p.sps_id = static_cast<int>(b.ue(31, "seq_parameter_set_id"));
    if (b.flag()) throw Unsupported("CABAC entropy coding");
    p.bottom_field_pic_order_present = b.flag();
    if (b.ue(7, "num_slice_groups_minus1") != 0) throw Unsupported("slice groups (FMO)");
    p.num_ref_idx_default[0] = static_cast<int>(b.ue(31, "num_ref_idx_l0_default_active_minus1")) + 1;
    p.num_ref_idx_default[1] = static_cast<int>(b.ue(31, "num_ref_idx_l1_default_active_minus1")) + 1;
    p.weighted_pred = b.flag();
    p.weighted_bipred_idc = static_cast<int>(b.u(2));
    if (p.weighted_bipred_idc == 3) fail("weighted_bipred_idc 3");
    p.pic_init_qp = 26 + b.se(-26, 25, "pic_init_qp_minus26");
    b.se(-26, 25, "pic_init_qs_minus26");
    p.chroma_qp_offset[0] = p.chroma_qp_offset[1] = b.se(-12, 12, "chroma_qp_index_offset");
    p.deblocking_control_present = b.flag();
    p.constrained_intra_pred = b.flag();
    p.redundant_pic_cnt_present = b.flag();
    if (b.more_rbsp_data()) {
        if (b.flag()) throw Unsupported("the 8x8 transform");
        if (b.flag()) {  // pic_scaling_matrix_present_flag
            for (int i = 0; i < 6; ++i)
                if (b.flag()) skip_scaling_list(b, 16);
        }
        p.chroma_qp_offset[1] = b.se(-12, 12, "second_chroma_qp_index_offset");
    }
    p.valid = true;
    pps_table[id] = p;
}

void Decoder::Impl::parse_slice_header(int nal_type, int nal_ref_idc) {
    Bits& b = bits;
    SliceHeader h;
    h.idr = nal_type == 5;
    h.nal_ref_idc = nal_ref_idc;
    h.first_mb = static_cast<int>(b.ue(1u << 20, "first_mb_in_slice"));
    const Zep32u st = b.ue(9, "slice_type") % 5;
    if (st > 2) throw Unsupported("SP and SI slices");
    h.type = static_cast<int>(st);
    h.pps_id = static_cast<int>(b.ue(255, "pic_parameter_set_id"));
    const Pps& p = pps_table[h.pps_id];
    if (!p.valid) fail("slice refers to a missing picture parameter set");
    const Sps& s = sps_table[p.sps_id];
    if (!s.valid) fail("slice refers to a missing sequence parameter set");
    if (h.idr && h.type != kI) fail("IDR picture with a P or B slice");
    h.frame_num = static_cast<int>(b.u(s.log2_max_frame_num));
    if (h.idr) h.idr_pic_id = static_cast<int>(b.ue(65535, "idr_pic_id"));
    if (s.poc_type == 0) {
        h.poc_lsb = static_cast<int>(b.u(s.log2_max_poc_lsb));
        if (p.bottom_field_pic_order_present) h.delta_poc_bottom = b.se();
    } else if (s.poc_type == 1 && !s.delta_pic_order_always_zero) {
        h.delta_poc[0] = b.se();
        if (p.bottom_field_pic_order_present) h.delta_poc[1] = b.se();
    }
    if (p.redundant_pic_cnt_present && b.ue(127, "redundant_pic_cnt") != 0)
        throw Unsupported("redundant pictures");
    if (h.type == kB) h.direct_spatial = b.flag();
    if (h.type != kI) {
        h.num_ref_idx[0] = p.num_ref_idx_default[0];
        h.num_ref_idx[1] = h.type == kB ? p.num_ref_idx_default[1] : 0;
        if (b.flag()) {
            h.num_ref_idx[0] = static_cast<int>(b.ue(31, "num_ref_idx_l0_active_minus1")) + 1;
            if (h.type == kB) h.num_ref_idx[1] = static_cast<int>(b.ue(31, "num_ref_idx_l1_active_minus1")) + 1;
        }
        if (h.num_ref_idx[0] > 16 || h.num_ref_idx[1] > 16) fail("more than 16 active references in a frame");
        for (int list = 0; list < (h.type == kB ? 2 : 1); ++list) {
            if (!b.flag()) continue;
            for (int n = 0;; ++n) {
                const int idc = static_cast<int>(b.ue(3, "modification_of_pic_nums_idc"));
                if (idc == 3) break;
                if (n > h.num_ref_idx[list]) fail("too many reference list modifications");
                h.mods[list].push_back({idc, static_cast<int>(b.ue())});
            }
        }
        const bool explicit_w = (h.type == kP && p.weighted_pred) || (h.type == kB && p.weighted_bipred_idc == 1);
        if (explicit_w) {
            h.luma_log2_denom = static_cast<int>(b.ue(7, "luma_log2_weight_denom"));
            h.chroma_log2_denom = static_cast<int>(b.ue(7, "chroma_log2_weight_denom"));
        }
        for (int list = 0; list < (h.type == kB ? 2 : 1); ++list)
            for (int i = 0; i < h.num_ref_idx[list]; ++i) {
                SliceHeader::Weight& w = h.weights[list][i];
                w = {{1 << h.luma_log2_denom, 1 << h.chroma_log2_denom, 1 << h.chroma_log2_denom}, {0, 0, 0},
                     false, false};
                if (!explicit_w) continue;
                if ((w.explicit_luma = b.flag())) {
                    w.w[0] = b.se(-128, 127, "luma_weight");
                    w.o[0] = b.se(-128, 127, "luma_offset");
                }
                if ((w.explicit_chroma = b.flag())) {
                    for (int c = 1; c < 3; ++c) {
                        w.w[c] = b.se(-128, 127, "chroma_weight");
                        w.o[c] = b.se(-128, 127, "chroma_offset");
                    }
                }
            }
    }
    if (nal_ref_idc != 0) {
        if (h.idr) {
            h.no_output_of_prior_pics = b.flag();
            h.long_term_reference = b.flag();
        } else if ((h.adaptive_marking = b.flag())) {
            for (int n = 0;; ++n) {
                const int op = static_cast<int>(b.ue(6, "memory_management_control_operation"));
                if (op == 0) break;
                if (n >= 66) fail("too many memory management operations");
                Mmco m{op, 0, 0};
                if (op == 1 || op == 3) m.a = static_cast<int>(b.ue());
                if (op == 2) m.b = static_cast<int>(b.ue());
                if (op == 3 || op == 6) m.b = static_cast<int>(b.ue(15, "long_term_frame_idx"));
                if (op == 4) m.a = static_cast<int>(b.ue(16, "max_long_term_frame_idx_plus1"));
                h.mmco.push_back(m);
            }
        }
    }
    h.qp = p.pic_init_qp + b.se(-87, 77, "slice_qp_delta");
    if (h.qp < 0 || h.qp > 51) fail("slice QP out of range");
    if (p.deblocking_control_present) {
        h.disable_deblocking = static_cast<int>(b.ue(2, "disable_deblocking_filter_idc"));
        if (h.disable_deblocking != 1) {
            h.alpha_offset = 2 * b.se(-6, 6, "slice_alpha_c0_offset_div2");
            h.beta_offset = 2 * b.se(-6, 6, "slice_beta_offset_div2");
        }
    }
    b.check();
    sh = std::move(h);
}

}  // namespace zdec::h264
