#ifndef QUORVEX_PLATFORM_PICTURE_H
#define QUORVEX_PLATFORM_PICTURE_H

// A picture as the windows and the files of pictures and videos take it.

#include <cstdint>

// Blue, green, red, one byte each; `step` bytes from one row to the next.
struct ZVK_Picture
{
    const uint8_t *pixels;
    int32_t width;
    int32_t height;
    int64_t step;
};

#endif
