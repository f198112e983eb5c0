#include "platform/linux/windows_x11_pixels.h"

#include <gtest/gtest.h>

using Bytes = std::vector<uint8_t>;

constexpr ZVK_ScreenFormat kCommon = {0xFF0000, 0xFF00, 0xFF, 4, false};

static Bytes Fill(const Bytes &pixels, int32_t width, int32_t height, int64_t step,
                  const ZVK_ScreenFormat &format, int32_t shownWidth, int32_t shownHeight)
{
    const int64_t outStep = static_cast<int64_t>(shownWidth) * format.bytesPerPixel;
    Bytes out(static_cast<size_t>(outStep * shownHeight), 0xEE);
    std::vector<int32_t> columns;
    FillScreenBlock({pixels.data(), width, height, step}, format,
                    {out.data(), shownWidth, shownHeight, outStep}, columns);
    return out;
}

struct FormatCase
{
    const char *name;
    ZVK_ScreenFormat format;
    Bytes expected;  // of one pixel: blue 0x10, green 0x80, red 0xF8
};

TEST(ScreenPixels, ComeOutInTheFormatOfEachVisual)
{
    const FormatCase cases[] = {
        {"24 bit in 32", kCommon, {0x10, 0x80, 0xF8, 0x00}},
        {"24 bit in 32, high byte first", {0xFF0000, 0xFF00, 0xFF, 4, true}, {0, 0xF8, 0x80, 0x10}},
        {"red and blue exchanged", {0xFF, 0xFF00, 0xFF0000, 4, false}, {0xF8, 0x80, 0x10, 0}},
        {"24 bit packed", {0xFF0000, 0xFF00, 0xFF, 3, false}, {0x10, 0x80, 0xF8}},
        // 0xF8 >> 3 = 31, 0x80 >> 2 = 32, 0x10 >> 3 = 2: 31 << 11 | 32 << 5 | 2 = 0xFC02
        {"16 bit", {0xF800, 0x7E0, 0x1F, 2, false}, {0x02, 0xFC}},
        // 31 << 10 | 16 << 5 | 2 = 0x7E02
        {"15 bit", {0x7C00, 0x3E0, 0x1F, 2, false}, {0x02, 0x7E}},
        // 0xF8 << 22 | 0x80 << 12 | 0x10 << 2 = 0x3E080040
        {"30 bit", {0x3FF00000, 0xFFC00, 0x3FF, 4, false}, {0x40, 0x00, 0x08, 0x3E}},
    };
    for (const FormatCase &row : cases)
        EXPECT_EQ(Fill({0x10, 0x80, 0xF8}, 1, 1, 3, row.format, 1, 1), row.expected) << row.name;
}

TEST(ScreenPixels, RowsBeginAtTheirStep)
{
    const Bytes twoRows = {1, 2, 3, 99, 4, 5, 6, 99};
    EXPECT_EQ(Fill(twoRows, 1, 2, 4, kCommon, 1, 2), (Bytes{1, 2, 3, 0, 4, 5, 6, 0}));
}

TEST(ScreenPixels, AreStretchedToTheWindow)
{
    const Bytes twoPixels = {1, 1, 1, 2, 2, 2};
    EXPECT_EQ(Fill(twoPixels, 2, 1, 6, kCommon, 4, 1),
              (Bytes{1, 1, 1, 0, 1, 1, 1, 0, 2, 2, 2, 0, 2, 2, 2, 0}));
    EXPECT_EQ(Fill(twoPixels, 2, 1, 6, kCommon, 1, 2), (Bytes{1, 1, 1, 0, 1, 1, 1, 0}));
}

TEST(NearestPixel, StaysInsideThePicture)
{
    EXPECT_EQ(NearestPixel(-1, 800, 256), 0);
    EXPECT_EQ(NearestPixel(0, 800, 256), 0);
    EXPECT_EQ(NearestPixel(400, 800, 256), 128);
    EXPECT_EQ(NearestPixel(799, 800, 256), 255);
    EXPECT_EQ(NearestPixel(900, 800, 256), 255);
    EXPECT_EQ(NearestPixel(300, 600, 600), 300);
}
