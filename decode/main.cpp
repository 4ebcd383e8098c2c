// zepvc_decode: decodes an elementary stream to raw planar YUV with the
// zepvc primitives.
//
//   zepvc_decode [--codec h264] INPUT OUTPUT   decode; OUTPUT "-" is standard output
//   zepvc_decode --md5 [--codec h264] INPUT    print the MD5 of the decoded output
//   zepvc_decode --check LIST...               decode every stream the lists name and compare: lines
//                                              "MD5  file" (bit-exact) or "psnr  file  reference.yuv.gz"
//                                              (every frame at least 50 dB, the average at least 55 dB)
//
// Frames are written in display order, Y then Cb then Cr, each plane cropped
// to the stream's display window. Statistics go to standard error. A stream
// that cannot be decoded ends with a message and exit status 1.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "h264/h264.h"
#include "md5.h"
#include "mpeg2/mpeg2.h"
#include "dv/dv.h"
#include "h261/h261.h"
#include "h263/h263.h"
#include "mpeg4/mpeg4.h"
#ifdef ZEPVC_HAVE_ZLIB
#include <zlib.h>
#endif

namespace {

struct Frame {
    const uint8_t* plane[3];
    int stride[3], width[3], height[3];
};
using FrameFn = std::function<void(const Frame&)>;

void decode_h264(const std::vector<uint8_t>& data, const FrameFn& out) {
    zdec::h264::Decoder d;
    d.on_frame = [&](const zdec::h264::FrameOut& f) {
        Frame fr{{f.y, f.cb, f.cr},
                 {f.stride, f.stride_c, f.stride_c},
                 {f.width, f.width / 2, f.width / 2},
                 {f.height, f.height / 2, f.height / 2}};
        out(fr);
    };
    d.decode_stream(data.data(), data.size());
    d.flush();
}

void decode_mpeg2(const std::vector<uint8_t>& data, const FrameFn& out) {
    zdec::mpeg2::Decoder d;
    d.on_frame = [&](const zdec::mpeg2::FrameOut& f) {
        const int cw = (f.width + 1) / 2, ch = (f.height + 1) / 2;
        out(Frame{{f.y, f.cb, f.cr}, {f.stride, f.stride_c, f.stride_c}, {f.width, cw, cw}, {f.height, ch, ch}});
    };
    d.decode_stream(data.data(), data.size());
    d.flush();
}

void decode_dv(const std::vector<uint8_t>& data, const FrameFn& out) {
    zdec::dv::Decoder d;
    d.on_frame = [&](const zdec::dv::FrameOut& f) {
        out(Frame{{f.y, f.cb, f.cr}, {f.stride, f.stride_c, f.stride_c}, {f.width, f.cwidth, f.cwidth},
                  {f.height, f.cheight, f.cheight}});
    };
    d.decode_stream(data.data(), data.size());
}

void decode_h261(const std::vector<uint8_t>& data, const FrameFn& out) {
    zdec::h261::Decoder d;
    d.on_frame = [&](const zdec::h261::FrameOut& f) {
        out(Frame{{f.y, f.cb, f.cr}, {f.stride, f.stride_c, f.stride_c}, {f.width, f.width / 2, f.width / 2},
                  {f.height, f.height / 2, f.height / 2}});
    };
    d.decode_stream(data.data(), data.size());
}

void decode_h263(const std::vector<uint8_t>& data, const FrameFn& out) {
    zdec::h263::Decoder d;
    d.on_frame = [&](const zdec::h263::FrameOut& f) {
        const int cw = (f.width + 1) / 2, ch = (f.height + 1) / 2;
        out(Frame{{f.y, f.cb, f.cr}, {f.stride, f.stride_c, f.stride_c}, {f.width, cw, cw}, {f.height, ch, ch}});
    };
    d.decode_stream(data.data(), data.size());
}

void decode_mpeg4(const std::vector<uint8_t>& data, const FrameFn& out) {
    zdec::mpeg4::Decoder d;
    d.on_frame = [&](const zdec::mpeg4::FrameOut& f) {
        const int cw = (f.width + 1) / 2, ch = (f.height + 1) / 2;
        out(Frame{{f.y, f.cb, f.cr}, {f.stride, f.stride_c, f.stride_c}, {f.width, cw, cw}, {f.height, ch, ch}});
    };
    d.decode_stream(data.data(), data.size());
}

struct Codec {
    const char* name;
    std::vector<std::string> extensions;
    void (*decode)(const std::vector<uint8_t>&, const FrameFn&);
};
const Codec kCodecs[] = {
    {"h264", {".264", ".h264", ".avc", ".26l", ".jsv"}, decode_h264},
    {"mpeg2", {".m2v", ".mpg", ".mpeg", ".mpv"}, decode_mpeg2},
    {"mpeg1", {".m1v"}, decode_mpeg2},  // one decoder: the sequence extension tells them apart
    {"dv", {".dv", ".dif"}, decode_dv},
    {"h261", {".261", ".h261"}, decode_h261},
    {"h263", {".263", ".h263"}, decode_h263},
    {"mpeg4", {".m4v", ".cmp"}, decode_mpeg4},
};

const Codec* codec_by_name(const std::string& n) {
    for (const Codec& c : kCodecs)
        if (n == c.name) return &c;
    return nullptr;
}

const Codec* codec_for_file(const std::string& path) {
    const size_t dot = path.rfind('.');
    if (dot == std::string::npos) return nullptr;
    std::string ext = path.substr(dot);
    for (char& ch : ext) ch = static_cast<char>(std::tolower(static_cast<unsigned char>(ch)));
    for (const Codec& c : kCodecs)
        for (const std::string& e : c.extensions)
            if (e == ext) return &c;
    return nullptr;
}

bool read_file(const std::string& path, std::vector<uint8_t>& data) {
    FILE* f = std::fopen(path.c_str(), "rb");
    if (!f) return false;
    data.clear();
    uint8_t buf[1 << 16];
    size_t n;
    while ((n = std::fread(buf, 1, sizeof buf, f)) > 0) data.insert(data.end(), buf, buf + n);
    const bool ok = !std::ferror(f);
    std::fclose(f);
    return ok;
}

struct Result {
    bool ok = false;
    std::string error;
    int frames = 0;
    double seconds = 0;
};

// Decodes and hands each output plane row to `row`.
Result run(const Codec& codec, const std::vector<uint8_t>& data, const std::function<void(const uint8_t*, size_t)>& row) {
    Result r;
    const auto t0 = std::chrono::steady_clock::now();
    try {
        codec.decode(data, [&](const Frame& f) {
            for (int p = 0; p < 3; ++p)
                for (int y = 0; y < f.height[p]; ++y)
                    row(f.plane[p] + static_cast<ptrdiff_t>(y) * f.stride[p], static_cast<size_t>(f.width[p]));
            ++r.frames;
        });
        r.ok = true;
    } catch (const std::exception& e) {
        r.error = e.what();
    }
    r.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
    return r;
}

void stats(const char* name, const Result& r) {
    std::fprintf(stderr, "%s: %d frames in %.3f s (%.1f fps)\n", name, r.frames, r.seconds,
                 r.seconds > 0 ? r.frames / r.seconds : 0.0);
}

int usage() {
    std::fprintf(stderr,
                 "usage: zepvc_decode [--codec NAME] INPUT OUTPUT\n"
                 "       zepvc_decode --md5 [--codec NAME] INPUT\n"
                 "       zepvc_decode --check LIST...\n"
                 "codecs: h264, mpeg2, mpeg1, dv, h261, h263, mpeg4\n");
    return 2;
}

// Per-frame PSNR of decoded frames against a gzip-compressed raw reference decode.
struct PsnrCheck {
    double min = 1e9, sum = 0;
    int frames = 0;
    bool size_mismatch = false;
#ifdef ZEPVC_HAVE_ZLIB
    gzFile ref = nullptr;
    std::vector<uint8_t> buf;
    void frame(const Frame& f) {
        double se = 0;
        size_t n = 0;
        for (int p = 0; p < 3; ++p) {
            buf.resize(static_cast<size_t>(f.width[p]));
            for (int y = 0; y < f.height[p]; ++y) {
                if (gzread(ref, buf.data(), static_cast<unsigned>(buf.size())) != static_cast<int>(buf.size())) {
                    size_mismatch = true;
                    return;
                }
                const uint8_t* row = f.plane[p] + static_cast<ptrdiff_t>(y) * f.stride[p];
                for (size_t x = 0; x < buf.size(); ++x) {
                    const int d = row[x] - buf[x];
                    se += d * d;
                }
                n += buf.size();
            }
        }
        const double psnr = se == 0 ? 100.0 : std::min(100.0, 10 * std::log10(255.0 * 255.0 * n / se));
        min = std::min(min, psnr);
        sum += psnr;
        ++frames;
    }
#endif
};

int check(const std::string& list) {
    std::ifstream f(list);
    if (!f) {
        std::fprintf(stderr, "cannot read %s\n", list.c_str());
        return 1;
    }
    const size_t slash = list.rfind('/');
    const std::string dir = slash == std::string::npos ? "" : list.substr(0, slash + 1);
    std::string line;
    int bad = 0, total = 0;
    while (std::getline(f, line)) {
        std::istringstream ls(line);
        std::string sum, name;
        if (!(ls >> sum >> name)) continue;
        ++total;
        const Codec* c = codec_for_file(name);
        std::vector<uint8_t> data;
        if (!c || !read_file(dir + name, data)) {
            std::printf("%-28s cannot read or unknown codec\n", name.c_str());
            ++bad;
            continue;
        }
        if (sum == "psnr") {
            std::string refname;
            ls >> refname;
#ifdef ZEPVC_HAVE_ZLIB
            PsnrCheck pc;
            pc.ref = gzopen((dir + refname).c_str(), "rb");
            if (!pc.ref) {
                std::printf("%-28s cannot read %s\n", name.c_str(), refname.c_str());
                ++bad;
                continue;
            }
            Result r;
            const auto t0 = std::chrono::steady_clock::now();
            try {
                c->decode(data, [&](const Frame& f) {
                    pc.frame(f);
                    ++r.frames;
                });
                r.ok = true;
            } catch (const std::exception& e) {
                r.error = e.what();
            }
            r.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
            uint8_t extra;
            const bool ref_left = gzread(pc.ref, &extra, 1) == 1;
            gzclose(pc.ref);
            const double avg = pc.frames ? pc.sum / pc.frames : 0;
            // Two conforming inverse DCTs typically agree at about 60 dB.
            const bool ok = r.ok && !pc.size_mismatch && !ref_left && pc.frames > 0 && pc.min >= 50 && avg >= 55;
            std::printf("%-28s %4d frames %8.1f fps  PSNR min %.1f avg %.1f dB  %s%s\n", name.c_str(), r.frames,
                        r.seconds > 0 ? r.frames / r.seconds : 0.0, pc.frames ? pc.min : 0.0, avg,
                        ok ? "within limits" : "OUT OF LIMITS",
                        r.ok ? (pc.size_mismatch || ref_left ? " (frame count or size differs)" : "")
                             : (" (" + r.error + ")").c_str());
            bad += !ok;
#else
            std::printf("%-28s cannot compare: built without zlib\n", name.c_str());
            ++bad;
#endif
            continue;
        }
        zdec::Md5 md5;
        const Result r = run(*c, data, [&](const uint8_t* p, size_t n) { md5.update(p, n); });
        const bool match = r.ok && md5.hex() == sum;
        std::printf("%-28s %4d frames %8.1f fps  %s%s\n", name.c_str(), r.frames,
                    r.seconds > 0 ? r.frames / r.seconds : 0.0, match ? "MD5 matches" : "MD5 MISMATCH",
                    r.ok ? "" : (" (" + r.error + ")").c_str());
        bad += !match;
    }
    std::printf("%d of %d streams decoded as recorded\n", total - bad, total);
    return bad ? 1 : 0;
}

}  // namespace

int main(int argc, char** argv) {
    std::vector<std::string> args(argv + 1, argv + argc);
    const Codec* codec = nullptr;
    bool md5_mode = false;
    std::vector<std::string> files;
    for (size_t i = 0; i < args.size(); ++i) {
        if (args[i] == "--codec" && i + 1 < args.size()) {
            codec = codec_by_name(args[++i]);
            if (!codec) return usage();
        } else if (args[i] == "--check" && i + 1 < args.size()) {
            int rc = 0;
            for (size_t k = i + 1; k < args.size(); ++k) rc |= check(args[k]);
            return rc;
        } else if (args[i] == "--md5") {
            md5_mode = true;
        } else if (args[i].size() > 1 && args[i][0] == '-' && args[i] != "-") {
            return usage();
        } else {
            files.push_back(args[i]);
        }
    }
    if (files.size() != (md5_mode ? 1u : 2u)) return usage();
    if (!codec) codec = codec_for_file(files[0]);
    if (!codec) {
        std::fprintf(stderr, "cannot tell the codec of %s: use --codec\n", files[0].c_str());
        return 2;
    }
    std::vector<uint8_t> data;
    if (!read_file(files[0], data)) {
        std::fprintf(stderr, "cannot read %s\n", files[0].c_str());
        return 1;
    }
    Result r;
    if (md5_mode) {
        zdec::Md5 md5;
        r = run(*codec, data, [&](const uint8_t* p, size_t n) { md5.update(p, n); });
        if (r.ok) std::printf("%s\n", md5.hex().c_str());
    } else {
        FILE* out = files[1] == "-" ? stdout : std::fopen(files[1].c_str(), "wb");
        if (!out) {
            std::fprintf(stderr, "cannot write %s\n", files[1].c_str());
            return 1;
        }
        bool write_ok = true;
        r = run(*codec, data, [&](const uint8_t* p, size_t n) { write_ok &= std::fwrite(p, 1, n, out) == n; });
        write_ok &= std::fflush(out) == 0;
        if (out != stdout) write_ok &= std::fclose(out) == 0;
        if (!write_ok) {
            std::fprintf(stderr, "error writing %s\n", files[1].c_str());
            return 1;
        }
    }
    stats(files[0].c_str(), r);
    if (!r.ok) {
        std::fprintf(stderr, "error: %s\n", r.error.c_str());
        return 1;
    }
    return 0;
}
