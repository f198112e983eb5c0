// The files table in use, and the sweep that reads a whole file.

#include "platform/files.h"

#include "platform/backends.h"

#include <new>
#include <stdexcept>

// No file of this system comes near it; a larger one is a mistake that must not eat the memory.
constexpr int64_t kWholeFileLimit = int64_t{256} << 20;

static constinit TableSwitch<ZVK_FileTable> s_files;

const ZVK_FileTable &Files() { return s_files.InUse(SystemFiles); }

void UseFiles(const ZVK_FileTable *table) { s_files.Use(table); }

// Reads until `text` is full or the file ends, which it may do early when another process cuts it.
static ZVK_WholeFile Fill(int file, std::string &text)
{
    size_t filled = 0;
    while (filled < text.size()) {
        const int64_t got = Files().read(file, text.data() + filled, text.size() - filled);
        if (got < 0) return ZVK_WHOLE_FILE_UNREADABLE;
        if (got == 0) break;
        filled += static_cast<size_t>(got);
    }
    text.resize(filled);
    return ZVK_WHOLE_FILE_READ;
}

static ZVK_WholeFile ReadOpenFile(int file, std::string &text)
{
    const int64_t size = Files().size(file);
    if (size < 0 || size > kWholeFileLimit) return ZVK_WHOLE_FILE_UNREADABLE;
    try {
        text.resize(static_cast<size_t>(size));
    } catch (const std::bad_alloc &) {
        return ZVK_WHOLE_FILE_NO_MEMORY;
    }
    return Fill(file, text);
}

ZVK_WholeFile ReadWholeFile(const char *path, std::string &text) noexcept
{
    text.clear();
    const int file = Files().open(path, ZVK_OPEN_READ);
    if (file < 0) return ZVK_WHOLE_FILE_ABSENT;
    const ZVK_WholeFile result = ReadOpenFile(file, text);
    (void)Files().close(file);  // nothing was written, so there is nothing to lose
    if (result != ZVK_WHOLE_FILE_READ) text.clear();
    return result;
}
