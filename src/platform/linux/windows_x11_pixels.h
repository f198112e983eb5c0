#ifndef QUORVEX_PLATFORM_WINDOWS_X11_PIXELS_H
#define QUORVEX_PLATFORM_WINDOWS_X11_PIXELS_H

// Pictures in the form that a screen takes: from blue, green, red bytes to the bits of its visual.

#include "platform/windows.h"

#include <vector>

// How a screen wants its pixels. The masks are those of a true-colour visual.
struct ZVK_ScreenFormat
{
    uint32_t redMask = 0;
    uint32_t greenMask = 0;
    uint32_t blueMask = 0;
    int32_t bytesPerPixel = 4;  // 2, 3 or 4
    bool highByteFirst = false;
};

// Where the pixels go: a block of height * step bytes that the caller owns.
struct ZVK_ScreenBlock
{
    uint8_t *pixels = nullptr;
    int32_t width = 0;
    int32_t height = 0;
    int64_t step = 0;
};

// Which column of the picture each column of the window shows, and the same for rows: the nearest
// one. `shown` and `picture` are above 0.
int32_t NearestPixel(int32_t position, int32_t shown, int32_t picture);

// Fills the block with the picture, stretched to the block's size. `columns` is scratch that is
// kept between calls, so that no frame allocates.
void FillScreenBlock(const ZVK_Picture &picture, const ZVK_ScreenFormat &format,
                     const ZVK_ScreenBlock &block, std::vector<int32_t> &columns);

#endif
