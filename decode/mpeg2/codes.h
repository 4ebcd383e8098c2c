// The MPEG-1/2 coefficient and DC size codes as descriptions for the
// library's table builders: each (run, |level|) code with its sign bit
// appended, end of block as run 254, escape as run 255. The decoder, the
// tests, the benchmark and the fuzz target build their tables from these.
#pragma once

#include <string>

#include "mpeg2/code_tables.h"
#include "vlc_desc.h"

namespace zdec::mpeg2 {

template <size_t N>
CodeList run_level_codes(const RlCode (&codes)[N]) {
    CodeList c;
    for (const RlCode& r : codes) {
        if (r.run == -1) c.push_back({r.code, {254, 0}});
        else if (r.run == -2) c.push_back({r.code, {255, 0}});
        else if (r.run >= 0) {
            c.push_back({std::string(r.code) + "0", {r.run, r.level}});
            c.push_back({std::string(r.code) + "1", {r.run, -r.level}});
        }
    }
    return c;
}

template <size_t N>
CodeList dc_codes(const DcCode (&codes)[N]) {
    CodeList c;
    for (const DcCode& d : codes) c.push_back({d.code, {d.size}});
    return c;
}

}  // namespace zdec::mpeg2
