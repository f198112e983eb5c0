#include "files/text_scan.h"

#include "platform/files.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <limits>
#include <new>

constexpr size_t kBufferSize = 1 << 16;
constexpr size_t kLongestNumber = 512;  // characters that are looked at together

struct ZVK_TextScan
{
    int file = -1;
    int64_t size = 0;
    size_t position = 0;
    size_t end = 0;
    bool ended = false;
    char buffer[kBufferSize];
};

void ZVK_TextScanCloser::operator()(ZVK_TextScan *scan) const noexcept
{
    (void)Files().close(scan->file);
    delete scan;
}

TextScan OpenTextScan(const char *path) noexcept
{
    const int file = Files().open(path, ZVK_OPEN_READ);
    if (file < 0) return nullptr;
    auto *scan = new (std::nothrow) ZVK_TextScan;
    if (scan == nullptr) {
        (void)Files().close(file);
        return nullptr;
    }
    scan->file = file;
    scan->size = std::max<int64_t>(Files().size(file), 0);
    return TextScan(scan);
}

int64_t TextScanSize(const ZVK_TextScan &scan) { return scan.size; }

// Makes `count` characters stand in the buffer, as far as the file has them; gives how many do. A
// read that fails ends the file.
static size_t Have(ZVK_TextScan &scan, size_t count)
{
    while (scan.end - scan.position < count && !scan.ended) {
        std::memmove(scan.buffer, scan.buffer + scan.position, scan.end - scan.position);
        scan.end -= scan.position;
        scan.position = 0;
        const int64_t got = Files().read(scan.file, scan.buffer + scan.end, kBufferSize - scan.end);
        if (got <= 0) {
            scan.ended = true;
        } else {
            scan.end += static_cast<size_t>(got);
        }
    }
    return scan.end - scan.position;
}

static bool IsSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

static void SkipSpace(ZVK_TextScan &scan)
{
    while (Have(scan, 1) > 0 && IsSpace(scan.buffer[scan.position]))
        ++scan.position;
}

bool ScanText(ZVK_TextScan &scan, const char *text) noexcept
{
    for (; *text != '\0'; ++text) {
        if (IsSpace(*text)) {
            SkipSpace(scan);
            continue;
        }
        if (Have(scan, 1) == 0 || scan.buffer[scan.position] != *text) return false;
        ++scan.position;
    }
    return true;
}

// The characters from here on, behind white space and a plus sign, which the conversion below does
// not know.
struct Characters
{
    const char *first;
    const char *last;
};

static Characters NextCharacters(ZVK_TextScan &scan)
{
    SkipSpace(scan);
    size_t count = Have(scan, kLongestNumber);
    size_t from = scan.position;
    if (count > 1 && scan.buffer[from] == '+' && scan.buffer[from + 1] != '-') {
        ++from;
        --count;
    }
    count = std::min(count, kLongestNumber);
    return {scan.buffer + from, scan.buffer + from + count};
}

// The exponent behind its letter; one that is too large to count is larger than any mantissa is
// long.
static int64_t Exponent(const char *first, const char *last)
{
    constexpr int64_t kHuge = 1 << 30;
    if (*first == '+') ++first;
    int64_t value = 0;
    const auto result = std::from_chars(first, last, value);
    if (result.ec != std::errc::result_out_of_range) return std::clamp(value, -kHuge, kHuge);
    return *first == '-' ? -kHuge : kHuge;
}

// Which end of the range a number lies beyond shows by the power of ten of its first digit.
static double BeyondRange(const Characters &number, const char *end)
{
    const auto isDigit = [](char c) { return c >= '1' && c <= '9'; };
    const char *mantissaEnd =
        std::find_if(number.first, end, [](char c) { return c == 'e' || c == 'E'; });
    const char *point = std::find(number.first, mantissaEnd, '.');
    const char *digit = std::find_if(number.first, mantissaEnd, isDigit);
    int64_t power = digit < point ? point - digit - 1 : point - digit;
    if (mantissaEnd != end) power += Exponent(mantissaEnd + 1, end);
    const double size = power < 0 ? 0.0 : std::numeric_limits<double>::infinity();
    return *number.first == '-' ? -size : size;
}

bool ScanDouble(ZVK_TextScan &scan, double *value) noexcept
{
    const Characters number = NextCharacters(scan);
    double read = 0.0;
    const auto result = std::from_chars(number.first, number.last, read);
    if (result.ec == std::errc::invalid_argument) return false;
    if (result.ec == std::errc::result_out_of_range) read = BeyondRange(number, result.ptr);
    scan.position = static_cast<size_t>(result.ptr - scan.buffer);
    *value = read;
    return true;
}

bool ScanLong(ZVK_TextScan &scan, int32_t *value) noexcept
{
    const Characters number = NextCharacters(scan);
    int32_t read = 0;
    const auto result = std::from_chars(number.first, number.last, read);
    if (result.ec == std::errc::invalid_argument) return false;
    if (result.ec == std::errc::result_out_of_range)
        read = *number.first == '-' ? std::numeric_limits<int32_t>::min()
                                    : std::numeric_limits<int32_t>::max();
    scan.position = static_cast<size_t>(result.ptr - scan.buffer);
    *value = read;
    return true;
}
