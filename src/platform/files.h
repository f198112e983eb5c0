#ifndef QUORVEX_PLATFORM_FILES_H
#define QUORVEX_PLATFORM_FILES_H

// Files, one table entry a call, so that a test can fail or cut off each of them.

#include <cstddef>
#include <cstdint>
#include <type_traits>

enum ZVK_OpenMode
{
    ZVK_OPEN_READ = 0,        // must exist
    ZVK_OPEN_NEW = 1,         // made anew or emptied
    ZVK_OPEN_APPEND = 2,      // made if absent, written at its end
    ZVK_OPEN_EXCLUSIVE = 3    // fails when it exists
};

enum ZVK_Access
{
    ZVK_ACCESS_ABSENT = -1,
    ZVK_ACCESS_READ_ONLY = 0,  // it exists and can't be written
    ZVK_ACCESS_WRITABLE = 1
};

// open gives a file number of 0 or more; read and write give the bytes done. A negative result is a
// failure, 0 from the others is success. sync returns once the bytes are on the disk; syncFolder
// does the same for the folder entry of `path`, so that a rename survives a power cut.
#define ZVK_FILE_CALLS(X)                                             \
    X(open, int(const char *path, ZVK_OpenMode mode))                 \
    X(size, int64_t(int file))                                        \
    X(read, int64_t(int file, void *bytes, size_t count))             \
    X(write, int64_t(int file, const void *bytes, size_t count))      \
    X(sync, int(int file))                                            \
    X(close, int(int file))                                           \
    X(rename, int(const char *from, const char *to))                  \
    X(remove, int(const char *path))                                  \
    X(syncFolder, int(const char *path))                              \
    X(copyMode, int(const char *from, const char *to))                \
    X(access, ZVK_Access(const char *path))

struct ZVK_FileTable
{
#define X(call, type) std::add_pointer_t<type> call;
    ZVK_FILE_CALLS(X)
#undef X
};

const ZVK_FileTable &Files();               // the table in use, every entry set
void UseFiles(const ZVK_FileTable *table);  // null: back to the real files

#endif
