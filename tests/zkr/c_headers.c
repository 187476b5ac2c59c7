/* Compiled as C: the public headers must be usable from C callers. */
#include "zkri.h"
#include "zkrs.h"

/* Adds two 2x2 AC4 8u images and a constant through the C declarations;
 * returns the sum of the status codes and writes the first result pixel. */
int zkrtestCallFromC(Zkr8u out[4]) {
    const Zkr8u a[16] = {10, 20, 30, 40, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1};
    const Zkr8u b[16] = {5, 250, 3, 4, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1};
    const Zkr8u value[3] = {1, 1, 1};
    Zkr8u d[16] = {0};
    ZkriSize roi = {2, 2};
    const ZkrLibraryVersion* v = zkriGetLibVersion();
    int sts = zkriAdd_8u_AC4RSfs(a, 8, b, 8, d, 8, roi, 0);
    sts += zkriAddC_8u_AC4IRSfs(value, d, 8, roi, 0);
    out[0] = d[0];
    out[1] = d[1];
    out[2] = d[2];
    out[3] = d[3];
    return v && v->Name ? sts : -100;
}
