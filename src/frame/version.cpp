#include "zepvc.h"

namespace {
// cpuCode "rt": this build carries kernels for several CPU generations and picks
// them at run time, so the record names that variant rather than one CPU.
constexpr ZepLibVersion kVersion = {
    6, 1, 137, 796, {'r', 't', 0, 0}, "libzepvc_rt-6.1.so", "6.1 build 137.53", "Jan 23 2010",
};
}  // namespace

extern "C" ZEPVC_API const ZepLibVersion* zepvcGetLibVersion(void) { return &kVersion; }
