#ifndef QUORVEX_IMAGING_COLOR_MODE_H
#define QUORVEX_IMAGING_COLOR_MODE_H

// The bits of key COLORMODE. Any number of them may be set.

#include <cstdint>

constexpr int32_t kColor = 1;
constexpr int32_t kMonochrome = 2;
constexpr int32_t k8Bit = 4;
constexpr int32_t k12Bit = 8;
constexpr int32_t k14Bit = 16;
constexpr int32_t k16Bit = 32;

#endif
