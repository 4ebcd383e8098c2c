// The example decoders on damaged and out-of-scope streams. (Results on the
// bundled streams are checked by the *_streams tests.)
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "h264/h264.h"
#include "dv/dv.h"
#include "h261/h261.h"
#include "h263/h263.h"
#include "mpeg4/mpeg4.h"
#include "mpeg2/mpeg2.h"

namespace {

std::vector<uint8_t> load(const std::string& name, const char* codec = "h264") {
    const std::string path = std::string(ZEPVC_STREAMS_DIR) + "/" + codec + "/" + name;
    std::vector<uint8_t> d;
    FILE* f = std::fopen(path.c_str(), "rb");
    if (!f) return d;
    int c;
    while ((c = std::fgetc(f)) != EOF) d.push_back(static_cast<uint8_t>(c));
    std::fclose(f);
    return d;
}

struct Outcome {
    int frames = 0;
    bool error = false;
    std::string message;
};

// Chroma plane sizes: half the luma (rounded up) unless the frame says otherwise.
template <class F>
int chroma_width(const F& f) {
    if constexpr (requires { f.cwidth; }) return f.cwidth;
    else return (f.width + 1) / 2;
}
template <class F>
int chroma_height(const F& f) {
    if constexpr (requires { f.cheight; }) return f.cheight;
    else return (f.height + 1) / 2;
}

// Decodes a whole stream; every frame handed out must have the stream's size.
template <class Dec = zdec::h264::Decoder>
Outcome decode(const std::vector<uint8_t>& s, int max_mbs = 396) {
    Outcome o;
    Dec d;
    if constexpr (requires { d.max_mbs; }) d.max_mbs = max_mbs;
    int w = -1, h = -1;
    d.on_frame = [&](const auto& f) {
        if (w < 0) w = f.width, h = f.height;
        EXPECT_EQ(f.width, w);
        EXPECT_EQ(f.height, h);
        // Touch the whole visible picture: a frame pointing outside its buffer shows up under ASan.
        unsigned sum = 0;
        for (int y = 0; y < f.height; ++y)
            for (int x = 0; x < f.width; ++x) sum += f.y[y * f.stride + x];
        for (int y = 0; y < chroma_height(f); ++y)
            for (int x = 0; x < chroma_width(f); ++x) sum += f.cb[y * f.stride_c + x] + f.cr[y * f.stride_c + x];
        (void)sum;
        ++o.frames;
    };
    try {
        d.decode_stream(s.data(), s.size());
        if constexpr (requires { d.flush(); }) d.flush();
    } catch (const zdec::DecodeError& e) {
        o.error = true;
        o.message = e.what();
    }
    return o;
}

TEST(H264Decoder, RefusesToolsOutsideItsScopeByName) {
    const struct {
        const char* file;
        const char* message;
    } cases[] = {
        {"unsupported/cabac.264", "not supported: CABAC"},
        {"unsupported/transform8x8.264", "not supported: the 8x8 transform"},
        {"unsupported/interlaced.264", "not supported: field coding"},
    };
    for (const auto& c : cases) {
        const std::vector<uint8_t> s = load(c.file);
        ASSERT_FALSE(s.empty()) << c.file;
        const Outcome o = decode(s);
        EXPECT_TRUE(o.error) << c.file;
        EXPECT_NE(o.message.find(c.message), std::string::npos) << c.file << ": " << o.message;
        EXPECT_EQ(o.frames, 0) << c.file;
    }
}

// ---- rewriting a Baseline stream's sequence parameter set to picture order count type 1

struct BitWriter {
    std::vector<uint8_t> out;
    int bits = 0;
    void put(uint32_t v, int n) {
        for (int i = n - 1; i >= 0; --i) {
            if (bits % 8 == 0) out.push_back(0);
            out.back() |= static_cast<uint8_t>(((v >> i) & 1) << (7 - bits % 8));
            ++bits;
        }
    }
    void ue(uint32_t v) {
        const uint32_t x = v + 1;
        const int len = 32 - __builtin_clz(x);
        put(0, len - 1);
        put(x, len);
    }
    void se(int v) { ue(v > 0 ? static_cast<uint32_t>(2 * v - 1) : static_cast<uint32_t>(-2 * v)); }
};

struct BitReader {
    const std::vector<uint8_t>& in;
    size_t pos = 0;
    uint32_t get(int n) {
        uint32_t v = 0;
        for (int i = 0; i < n; ++i, ++pos) v = (v << 1) | ((in[pos / 8] >> (7 - pos % 8)) & 1);
        return v;
    }
    uint32_t ue() {
        int zeros = 0;
        while (get(1) == 0) ++zeros;
        return (1u << zeros) - 1 + get(zeros);
    }
};

// Replaces every SPS of type 2 order counts with a type 1 one whose cycle
// gives reference frames the deltas {1, 5, 2}, and drops its VUI: the frames
// must still come out in decoding order.
std::vector<uint8_t> to_poc_type1(const std::vector<uint8_t>& s) {
    std::vector<uint8_t> out;
    size_t i = 0;
    while (i < s.size()) {
        const bool sc = i + 3 < s.size() && s[i] == 0 && s[i + 1] == 0 && s[i + 2] == 1;
        if (!sc || (s[i + 3] & 31) != 7) {
            out.push_back(s[i++]);
            continue;
        }
        size_t end = i + 4;
        while (end + 2 < s.size() && !(s[end] == 0 && s[end + 1] == 0 && (s[end + 2] == 1 || s[end + 2] == 0))) ++end;
        if (end + 2 >= s.size()) end = s.size();
        std::vector<uint8_t> rbsp;
        for (size_t k = i + 4; k < end; ++k) {
            if (k >= i + 6 && s[k] == 3 && s[k - 1] == 0 && s[k - 2] == 0) continue;
            rbsp.push_back(s[k]);
        }
        BitReader r{rbsp};
        BitWriter w;
        w.put(r.get(24), 24);                  // profile, constraints, level
        w.ue(r.ue());                          // seq_parameter_set_id
        w.ue(r.ue());                          // log2_max_frame_num_minus4
        EXPECT_EQ(r.ue(), 2u);                 // pic_order_cnt_type
        w.ue(1);
        w.put(1, 1);                           // delta_pic_order_always_zero_flag
        w.se(0);                               // offset_for_non_ref_pic
        w.se(0);                               // offset_for_top_to_bottom_field
        w.ue(3);
        for (int d : {1, 5, 2}) w.se(d);
        w.ue(r.ue());                          // max_num_ref_frames
        w.put(r.get(1), 1);                    // gaps_in_frame_num_value_allowed_flag
        w.ue(r.ue());                          // pic_width_in_mbs_minus1
        w.ue(r.ue());                          // pic_height_in_map_units_minus1
        EXPECT_EQ(r.get(1), 1u);               // frame_mbs_only_flag
        w.put(1, 1);
        w.put(r.get(1), 1);                    // direct_8x8_inference_flag
        const uint32_t crop = r.get(1);
        w.put(crop, 1);
        for (int k = 0; k < (crop ? 4 : 0); ++k) w.ue(r.ue());
        // No VUI: without its reorder limit, output waits for picture order, so order counts matter.
        w.put(0, 1);
        w.put(1, 1);                           // stop bit
        while (w.bits % 8) w.put(0, 1);
        out.insert(out.end(), {0, 0, 1, s[i + 3]});
        int zeros = 0;
        for (uint8_t b : w.out) {
            if (zeros >= 2 && b <= 3) out.push_back(3), zeros = 0;
            out.push_back(b);
            zeros = b == 0 ? zeros + 1 : 0;
        }
        i = end;
    }
    return out;
}

TEST(H264Decoder, PictureOrderCountType1GivesTheSameFrames) {
    const std::vector<uint8_t> s = load("baseline_p.264");
    ASSERT_FALSE(s.empty());
    auto frames = [](const std::vector<uint8_t>& stream, std::string& err) {
        std::vector<uint8_t> all;
        zdec::h264::Decoder d;
        d.on_frame = [&](const zdec::h264::FrameOut& f) {
            for (int y = 0; y < f.height; ++y) all.insert(all.end(), f.y + y * f.stride, f.y + y * f.stride + f.width);
        };
        try {
            d.decode_stream(stream.data(), stream.size());
            d.flush();
        } catch (const zdec::DecodeError& e) {
            err = e.what();
        }
        return all;
    };
    std::string e1, e2;
    const std::vector<uint8_t> a = frames(s, e1);
    const std::vector<uint8_t> b = frames(to_poc_type1(s), e2);
    EXPECT_EQ(e1, "");
    EXPECT_EQ(e2, "");
    ASSERT_FALSE(a.empty());
    EXPECT_TRUE(a == b) << "type 1 order counts changed the output";
}

TEST(H264Decoder, StreamsThatAreNotH264OrLackTheirStartAreRefused) {
    const std::vector<uint8_t> s = load("baseline_p.264");
    ASSERT_GT(s.size(), 100u);
    const std::vector<uint8_t> text = {'n', 'o', 't', ' ', 'a', ' ', 's', 't', 'r', 'e', 'a', 'm'};
    EXPECT_NE(decode(text).message.find("no start code"), std::string::npos);
    // Everything from the second slice on: no parameter sets, no IDR picture.
    size_t cut = 0;
    int slices = 0;
    for (size_t i = 0; i + 3 < s.size(); ++i)
        if (s[i] == 0 && s[i + 1] == 0 && s[i + 2] == 1 && ((s[i + 3] & 31) == 1 || (s[i + 3] & 31) == 5) &&
            ++slices == 2) {
            cut = i;
            break;
        }
    ASSERT_GT(cut, 0u);
    const Outcome o = decode(std::vector<uint8_t>(s.begin() + static_cast<ptrdiff_t>(cut), s.end()));
    EXPECT_TRUE(o.error);
    EXPECT_EQ(o.frames, 0);
    // A picture larger than the decoder accepts.
    EXPECT_NE(decode(load("cif.264"), 99).message.find("too large"), std::string::npos);
}

// Truncated and byte-damaged versions of real streams: each must decode or
// end with a DecodeError, never crash, hang or touch memory it does not own.
// detects: whether the format notices damage at all (DV's fixed layout does
// not: a damaged block only decodes to other coefficients).
template <class Dec>
void damage(const char* codec, std::initializer_list<const char*> names, bool detects = true) {
    uint32_t seed = 12345;
    auto rnd = [&seed]() { return (seed = seed * 1664525u + 1013904223u) >> 8; };
    int errors = 0, runs = 0;
    for (const char* name : names) {
        const std::vector<uint8_t> s = load(name, codec);
        ASSERT_FALSE(s.empty()) << name;
        const Outcome whole = decode<Dec>(s);
        ASSERT_FALSE(whole.error) << name << ": " << whole.message;
        for (int k = 1; k < 8; ++k) {
            const Outcome o =
                decode<Dec>(std::vector<uint8_t>(s.begin(), s.begin() + static_cast<ptrdiff_t>(s.size() * k / 8)));
            EXPECT_LE(o.frames, whole.frames) << name;
            errors += o.error, ++runs;
        }
        for (int k = 0; k < 40; ++k) {
            std::vector<uint8_t> m = s;
            for (int j = 0; j < 1 + k % 4; ++j) m[rnd() % m.size()] ^= static_cast<uint8_t>(1 + rnd() % 255);
            const Outcome o = decode<Dec>(m);
            errors += o.error, ++runs;
        }
    }
    // Damage must actually be noticed in many runs, or the test proves nothing.
    if (detects) EXPECT_GT(errors, runs / 4) << codec;
    else EXPECT_GE(errors, 7 * static_cast<int>(names.size()) - 2) << codec << ": truncations must be noticed";
}

TEST(H264Decoder, DamagedStreamsEndCleanly) {
    damage<zdec::h264::Decoder>("h264", {"bframes_flat.264", "temporal.264", "weightp.264", "slices_deblock.264",
                                         "odd_size.264"});
}

TEST(Mpeg2Decoder, DamagedStreamsEndCleanly) {
    damage<zdec::mpeg2::Decoder>("mpeg2", {"mpeg1_ipb.m1v", "mpeg2_ipb.m2v", "mpeg2_intravlc_altscan.m2v",
                                           "mpeg2_odd_size.m2v"});
}

// A sequence extension that changes the frame size in the middle of a
// picture (a field-coded sequence counts its rows in pairs) must end that
// picture before its frames go (the fuzzer found it used after release).
TEST(Mpeg2Decoder, FrameSizeChangeInsideAPictureEndsItFirst) {
    BitWriter w;
    auto start = [&](int code) {
        while (w.bits % 8) w.put(0, 1);
        w.put(0x000001, 24);
        w.put(static_cast<uint32_t>(code), 8);
    };
    start(0xB3);
    w.put(128, 12);
    w.put(80, 12);  // 5 macroblock rows progressive, 6 for a field-coded sequence
    w.put(1, 4);
    w.put(3, 4);
    w.put(0x3FFFF, 18);
    w.put(1, 1);
    w.put(0, 10 + 1 + 2);
    start(0x00);
    w.put(0, 10);
    w.put(1, 3);  // I picture
    w.put(0xFFFF, 16);
    w.put(0, 1);
    start(0xB5);
    w.put(1, 4);     // sequence extension
    w.put(0x48, 8);  // profile and level
    w.put(0, 1);     // progressive_sequence 0
    w.put(1, 2);     // 4:2:0
    w.put(0, 4 + 12 + 1 + 8 + 1 + 5);
    start(0xB7);
    const Outcome o = decode<zdec::mpeg2::Decoder>(w.out);
    EXPECT_LE(o.frames, 1) << o.message;
}

TEST(Mpeg2Decoder, RefusesWhatIsNotAnMpegVideoStream) {
    const std::vector<uint8_t> text = {'n', 'o', 't', ' ', 'a', ' ', 's', 't', 'r', 'e', 'a', 'm'};
    EXPECT_NE(decode<zdec::mpeg2::Decoder>(text).message.find("no start code"), std::string::npos);
    const std::vector<uint8_t> s = load("mpeg2_ipb.m2v", "mpeg2");
    ASSERT_FALSE(s.empty());
    // Without its sequence header every picture is refused.
    size_t pic = 0;
    for (size_t i = 0; i + 3 < s.size(); ++i)
        if (s[i] == 0 && s[i + 1] == 0 && s[i + 2] == 1 && s[i + 3] == 0) {
            pic = i;
            break;
        }
    ASSERT_GT(pic, 0u);
    const Outcome o = decode<zdec::mpeg2::Decoder>(std::vector<uint8_t>(s.begin() + static_cast<ptrdiff_t>(pic), s.end()));
    EXPECT_NE(o.message.find("before any sequence header"), std::string::npos) << o.message;
    EXPECT_NE(decode<zdec::mpeg2::Decoder>(s, 47).message.find("too large"), std::string::npos);
}

}  // namespace

namespace {

TEST(DvDecoder, DamagedStreamsEndCleanly) {
    damage<zdec::dv::Decoder>("dv", {"ntsc_411.dv", "pal_420.dv"}, false);
}

TEST(DvDecoder, RefusesWhatIsNotWholeDvFrames) {
    const std::vector<uint8_t> s = load("pal_420.dv", "dv");
    ASSERT_EQ(s.size(), 144000u);
    EXPECT_NE(decode<zdec::dv::Decoder>(std::vector<uint8_t>(s.begin(), s.begin() + 100000)).message.find("truncated"),
              std::string::npos);
    std::vector<uint8_t> longer = s;
    longer.resize(s.size() + 80, 0);
    const Outcome o = decode<zdec::dv::Decoder>(longer);
    EXPECT_EQ(o.frames, 1);
    EXPECT_NE(o.message.find("truncated"), std::string::npos);
    std::vector<uint8_t> moved = s;
    moved[0] = 0x3F;  // the header's section type made a video block's
    EXPECT_NE(decode<zdec::dv::Decoder>(moved).message.find("header block"), std::string::npos);
}

}  // namespace

namespace {

TEST(H261Decoder, DamagedStreamsEndCleanly) {
    damage<zdec::h261::Decoder>("h261", {"qcif_moving.261", "cif.261"});
}

TEST(H261Decoder, RefusesWhatIsNotH261) {
    const std::vector<uint8_t> text = {'n', 'o', 't', ' ', 'a', ' ', 's', 't', 'r', 'e', 'a', 'm'};
    EXPECT_NE(decode<zdec::h261::Decoder>(text).message.find("no picture start code"), std::string::npos);
    // A group number QCIF does not have.
    std::vector<uint8_t> s = load("qcif_moving.261", "h261");
    ASSERT_GT(s.size(), 8u);
    ASSERT_EQ(s[6] >> 4, 1);  // the first group's number
    s[6] = static_cast<uint8_t>((2 << 4) | (s[6] & 15));
    EXPECT_NE(decode<zdec::h261::Decoder>(s).message.find("group of blocks number"), std::string::npos);
}

}  // namespace

namespace {

TEST(H263Decoder, DamagedStreamsEndCleanly) {
    damage<zdec::h263::Decoder>("h263", {"baseline.263", "advanced_prediction.263", "plus_aic.263", "plus_deblock.263"});
}

TEST(H263Decoder, RefusesWhatIsNotH263OrOutsideItsScope) {
    const std::vector<uint8_t> text = {'n', 'o', 't', ' ', 'a', ' ', 's', 't', 'r', 'e', 'a', 'm'};
    EXPECT_NE(decode<zdec::h263::Decoder>(text).message.find("no picture start code"), std::string::npos);
    // PB-frames announced in the first picture's PTYPE (its last mode bit, bit 3 of byte 5).
    std::vector<uint8_t> s = load("baseline.263", "h263");
    ASSERT_GT(s.size(), 8u);
    ASSERT_EQ(s[4] >> 2, 2);  // QCIF, I picture
    s[5] |= 0x20;
    EXPECT_NE(decode<zdec::h263::Decoder>(s).message.find("PB-frames"), std::string::npos);
    EXPECT_NE(decode<zdec::h263::Decoder>(load("baseline.263", "h263"), 98).message.find("too large"), std::string::npos);
}

}  // namespace

namespace {

TEST(Mpeg4Decoder, DamagedStreamsEndCleanly) {
    damage<zdec::mpeg4::Decoder>(
        "mpeg4", {"h263_quant.m4v", "mv4_acpred.m4v", "packets.m4v", "custom_matrices.m4v", "partitioned_mv4_acpred.m4v"});
}

TEST(Mpeg4Decoder, RefusesWhatIsNotMpeg4OrOutsideItsScope) {
    const std::vector<uint8_t> text = {'n', 'o', 't', ' ', 'a', ' ', 's', 't', 'r', 'e', 'a', 'm'};
    EXPECT_NE(decode<zdec::mpeg4::Decoder>(text).message.find("no start code"), std::string::npos);
    // VOPs without their object layer header.
    const std::vector<uint8_t> s = load("h263_quant.m4v", "mpeg4");
    size_t vop = 0;
    for (size_t i = 0; i + 3 < s.size(); ++i)
        if (s[i] == 0 && s[i + 1] == 0 && s[i + 2] == 1 && s[i + 3] == 0xB6) {
            vop = i;
            break;
        }
    ASSERT_GT(vop, 0u);
    EXPECT_NE(decode<zdec::mpeg4::Decoder>(std::vector<uint8_t>(s.begin() + static_cast<ptrdiff_t>(vop), s.end()))
                  .message.find("before any video object layer"),
              std::string::npos);
    EXPECT_NE(decode<zdec::mpeg4::Decoder>(s, 98).message.find("too large"), std::string::npos);
}

}  // namespace
