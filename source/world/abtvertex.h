#pragma once
// ABTVertex: one corner of the level's geometry, eleven floats without gaps, so that an
// array of them is an interleaved array GL can read directly.

#include "math/hvector2.h"
#include "math/hvector3.h"

struct ABTVertex {
    HVector3 v;  // position
    HVector3 n;  // normal
    HVector2 t;  // texture coordinate
    HVector3 c;  // colour, red green blue; no alpha
};

static_assert(sizeof(ABTVertex) == 11 * sizeof(float), "ABTVertex must be 11 packed floats");
