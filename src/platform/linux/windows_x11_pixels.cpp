// Pictures in the form that a screen takes.

#include "platform/linux/windows_x11_pixels.h"

#include <bit>
#include <cstddef>

constexpr int kChannels = 3;  // blue, green, red

// One colour of a visual: the byte's upper bits go to where the mask is.
struct ChannelPlace
{
    int drop = 0;   // bits of the byte that the screen has no room for
    int shift = 0;  // to the left
};

static ChannelPlace PlaceOf(uint32_t mask)
{
    const int bits = std::popcount(mask);
    const int lowest = mask == 0 ? 0 : std::countr_zero(mask);
    // A visual of more than 8 bits a colour (30 bit depth) takes the byte as its upper bits.
    return bits >= 8 ? ChannelPlace{0, lowest + bits - 8} : ChannelPlace{8 - bits, lowest};
}

static uint32_t Placed(uint8_t value, const ChannelPlace &place)
{
    return static_cast<uint32_t>(value >> place.drop) << place.shift;
}

static void StorePixel(uint8_t *target, uint32_t pixel, const ZVK_ScreenFormat &format)
{
    for (int byte = 0; byte < format.bytesPerPixel; ++byte) {
        const int place = format.highByteFirst ? format.bytesPerPixel - 1 - byte : byte;
        target[byte] = static_cast<uint8_t>(pixel >> (8 * place));
    }
}

static bool IsCommonFormat(const ZVK_ScreenFormat &format)
{
    return format.bytesPerPixel == 4 && !format.highByteFirst && format.redMask == 0xFF0000 &&
           format.greenMask == 0xFF00 && format.blueMask == 0xFF;
}

// 24 bit depth in 32 bits, low byte first, as nearly all screens have it: the bytes only move
// apart.
static void FillCommonRow(const uint8_t *source, const int32_t *columns, int32_t width,
                          uint8_t *target)
{
    for (int32_t x = 0; x < width; ++x, target += 4) {
        const uint8_t *const pixel = source + columns[x];
        target[0] = pixel[0];
        target[1] = pixel[1];
        target[2] = pixel[2];
        target[3] = 0;
    }
}

static void FillAnyRow(const uint8_t *source, const int32_t *columns, int32_t width,
                       const ZVK_ScreenFormat &format, uint8_t *target)
{
    const ChannelPlace blue = PlaceOf(format.blueMask);
    const ChannelPlace green = PlaceOf(format.greenMask);
    const ChannelPlace red = PlaceOf(format.redMask);
    for (int32_t x = 0; x < width; ++x, target += format.bytesPerPixel) {
        const uint8_t *const pixel = source + columns[x];
        StorePixel(target, Placed(pixel[0], blue) | Placed(pixel[1], green) | Placed(pixel[2], red),
                   format);
    }
}

int32_t NearestPixel(int32_t position, int32_t shown, int32_t picture)
{
    if (position < 0) return 0;
    if (position >= shown) return picture - 1;
    return static_cast<int32_t>(static_cast<int64_t>(position) * picture / shown);
}

void FillScreenBlock(const ZVK_Picture &picture, const ZVK_ScreenFormat &format,
                     const ZVK_ScreenBlock &block, std::vector<int32_t> &columns)
{
    columns.resize(static_cast<size_t>(block.width));
    for (int32_t x = 0; x < block.width; ++x)
        columns[static_cast<size_t>(x)] = kChannels * NearestPixel(x, block.width, picture.width);
    const bool common = IsCommonFormat(format);
    for (int32_t y = 0; y < block.height; ++y) {
        const uint8_t *const source =
            picture.pixels + picture.step * NearestPixel(y, block.height, picture.height);
        uint8_t *const target = block.pixels + block.step * y;
        if (common)
            FillCommonRow(source, columns.data(), block.width, target);
        else
            FillAnyRow(source, columns.data(), block.width, format, target);
    }
}
