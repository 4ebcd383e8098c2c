/* zepvc block difference, motion compensation and block statistics. Included by zepvc.h. */
#ifndef ZEPVC_MC_H
#define ZEPVC_MC_H

#include "zepvc_types.h"

ZEPVC_EXTERN_C_BEGIN

ZEPVC_EXTERN_C_END

#endif /* ZEPVC_MC_H */
