/* Compiled as strict C99: the public headers must stay C-clean. */
#include "zepvc.h"
#include "zepcore.h"

int zepvc_header_c99_probe(void) {
    const ZepLibVersion* v = zepvcGetLibVersion();
    ZepSize s = {16, 16};
    ZepPoint p = {0, 0};
    return v->major + s.width + p.x + (int)zepStatusOk;
}
