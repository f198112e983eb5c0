#ifndef QUORVEX_NUMERICS_TRANSFORM_H
#define QUORVEX_NUMERICS_TRANSFORM_H

// The discrete Fourier transform of real samples, a thin face over the transform library, which
// nothing else in the tree names. No platform.

#include <cstdint>

// A transform of one length with its work space. One thread at a time.
struct ZVK_Transform;

// Null when the length is below 1 or memory ran out.
ZVK_Transform *MakeTransform(int64_t length) noexcept;
void FreeTransform(ZVK_Transform *transform) noexcept;  // null is harmless

// Transforms `length` samples, unscaled: bin k is the sum of x[j] exp(-2 pi i j k / length). Gives
// the bins 0 to length / 2 as pairs of real and imaginary part, which stay until the next call.
const double *TransformReal(ZVK_Transform *transform, const double *samples) noexcept;

#endif
