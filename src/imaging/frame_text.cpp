#include "imaging/frame_text.h"

#include <algorithm>
#include <charconv>
#include <cstring>

constexpr size_t kDigits = 400;  // the largest double has 309 before its point

namespace {

struct FixedText
{
    char text[kDigits];
    size_t length;
};

}  // namespace

static FixedText Fixed(double value, int decimals)
{
    FixedText fixed;
    const std::to_chars_result end = std::to_chars(fixed.text, fixed.text + sizeof fixed.text,
                                                   value, std::chars_format::fixed, decimals);
    fixed.length = static_cast<size_t>(end.ptr - fixed.text);
    return fixed;
}

void PutStamp(std::string &text, double elapsed, int32_t number)
{
    const FixedText seconds = Fixed(elapsed, 2);
    char digits[12];
    const std::to_chars_result end = std::to_chars(digits, digits + sizeof digits, number);
    text.reserve(kDigits + kFrameTextRoom);  // once: a frame asks for no memory
    text.assign(seconds.text, seconds.length);
    text.append(" sec  Frame Number: ");
    text.append(digits, static_cast<size_t>(end.ptr - digits));
    if (text.size() >= kFrameTextRoom) text.resize(kFrameTextRoom - 1);
}

void PutRate(char *text, double framesPerSecond)
{
    static const char kUnit[] = " fps";
    const FixedText rate = Fixed(framesPerSecond, 0);
    const size_t digits = std::min(rate.length, kFrameTextRoom - 1);
    const size_t unit = std::min(sizeof kUnit - 1, kFrameTextRoom - 1 - digits);
    std::memcpy(text, rate.text, digits);
    std::memcpy(text + digits, kUnit, unit);
    text[digits + unit] = '\0';
}
