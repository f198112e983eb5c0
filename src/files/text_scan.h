#ifndef QUORVEX_FILES_TEXT_SCAN_H
#define QUORVEX_FILES_TEXT_SCAN_H

// Reads numbers and fixed texts from a file in one pass, with the rules of the standard's formatted
// input and none of its locale: white space matches any run of it, a mismatch stays where it is,
// and what is not read keeps its value.

#include <cstdint>
#include <memory>

struct ZVK_TextScan;

struct ZVK_TextScanCloser
{
    void operator()(ZVK_TextScan *scan) const noexcept;
};
using TextScan = std::unique_ptr<ZVK_TextScan, ZVK_TextScanCloser>;

// Null when the file can't be opened or memory ran out.
TextScan OpenTextScan(const char *path) noexcept;
int64_t TextScanSize(const ZVK_TextScan &scan);  // bytes of the file

bool ScanText(ZVK_TextScan &scan, const char *text) noexcept;
bool ScanDouble(ZVK_TextScan &scan, double *value) noexcept;
bool ScanLong(ZVK_TextScan &scan, int32_t *value) noexcept;  // beyond 32 bits: the nearest

#endif
