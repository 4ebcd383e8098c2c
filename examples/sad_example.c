/* A C program that uses zepvc through its installed headers and libraries only:
 * it prints the version record and runs a 16x16 SAD at each half-sample mode. */
#include <stdio.h>

#include <zepvc.h>

int main(void) {
    const ZepLibVersion* v = zepvcGetLibVersion();
    Zep8u cur[16 * 16];
    Zep8u ref[17 * 17];
    Zep32s modes[4] = {0, 4, 8, 12};
    int i;

    printf("zepvc %d.%d (%s, %s)\n", v->major, v->minor, v->versionText, v->libName);
    for (i = 0; i < 16 * 16; ++i) cur[i] = (Zep8u)(i * 7);
    for (i = 0; i < 17 * 17; ++i) ref[i] = (Zep8u)(i * 5 + 3);

    for (i = 0; i < 4; ++i) {
        Zep32s sad = 0;
        ZepStatus st = zepiSAD16x16_8u32s(cur, 16, ref, 17, &sad, modes[i]);
        if (st != zepStatusOk) {
            printf("SAD failed: %d\n", (int)st);
            return 1;
        }
        printf("SAD16x16 mcType %2d: %d\n", (int)modes[i], (int)sad);
    }
    /* A null pointer is refused with its status and nothing is written. */
    if (zepiSAD16x16_8u32s(NULL, 16, ref, 17, NULL, 0) != zepStatusNullPtr) return 1;
    return 0;
}
