#ifndef QUORVEX_PLATFORM_FILES_H
#define QUORVEX_PLATFORM_FILES_H

// Files, one table entry a call, so that a test can fail or cut off each of them.

#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>

enum ZVK_OpenMode
{
    ZVK_OPEN_READ = 0,      // must exist
    ZVK_OPEN_NEW = 1,       // made anew or emptied
    ZVK_OPEN_APPEND = 2,    // made if absent, written at its end
    ZVK_OPEN_EXCLUSIVE = 3  // fails when it exists
};

enum ZVK_Access
{
    ZVK_ACCESS_ABSENT = -1,
    ZVK_ACCESS_READ_ONLY = 0,  // it exists and can't be written
    ZVK_ACCESS_WRITABLE = 1
};

// A negative result is a failure; 0 from a call that gives no number is success.
// - open: gives a file number of 0 or more. To read, it has to be a plain file.
// - read, write: give the bytes done. read gives 0 at the end of the file; write does all or fails.
// - sync: returns once the bytes are on the disk. syncFolder: does the same for the folder entry of
//   `path`, so that a rename survives a power cut.
// - copyMode: gives `to` the permissions, and as far as this user may the owner, of `from`, for a
//   file that takes the place of another one.
// - access: tells whether the contents of `path` may be replaced. ZVK_ACCESS_READ_ONLY is a
//   file that nobody has permission to write (also when the caller is an administrator, whom
//   nothing stops), one that this user may not write, and whatever isn't a plain file.
#define ZVK_FILE_CALLS(X)                                                                          \
    X(open, int(const char *path, ZVK_OpenMode mode))                                              \
    X(size, int64_t(int file))                                                                     \
    X(read, int64_t(int file, void *bytes, size_t count))                                          \
    X(write, int64_t(int file, const void *bytes, size_t count))                                   \
    X(sync, int(int file))                                                                         \
    X(close, int(int file))                                                                        \
    X(rename, int(const char *from, const char *to))                                               \
    X(remove, int(const char *path))                                                               \
    X(syncFolder, int(const char *path))                                                           \
    X(copyMode, int(const char *from, const char *to))                                             \
    X(access, ZVK_Access(const char *path))

struct ZVK_FileTable
{
#define X(call, type) std::add_pointer_t<type> call;
    ZVK_FILE_CALLS(X)
#undef X
};

const ZVK_FileTable &Files();               // the table in use, every entry set
void UseFiles(const ZVK_FileTable *table);  // null: back to the real files

enum ZVK_WholeFile
{
    ZVK_WHOLE_FILE_READ = 0,
    ZVK_WHOLE_FILE_ABSENT = -1,      // it can't be opened
    ZVK_WHOLE_FILE_UNREADABLE = -2,  // opened, but not read, or larger than 256 MiB
    ZVK_WHOLE_FILE_NO_MEMORY = -3
};

// Puts the bytes of a file into `text`: one open, one size, one read, one close. `text` is empty
// when the result isn't ZVK_WHOLE_FILE_READ.
ZVK_WholeFile ReadWholeFile(const char *path, std::string &text) noexcept;

#endif
