// Files by POSIX. No file number is left to programs that the process starts, and a call that a
// signal interrupts is taken up again.

#include "platform/backends.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

// Repeats a call that a signal cut off.
template <class Call>
static auto Uninterrupted(Call call)
{
    auto result = call();
    while (result < 0 && errno == EINTR)
        result = call();
    return result;
}

// O_NONBLOCK has no meaning for plain files; it keeps a pipe under a file's name from blocking the
// open.
static int OpenFlags(ZVK_OpenMode mode)
{
    const int common = O_CLOEXEC | O_NOCTTY | O_NONBLOCK;
    switch (mode) {
    case ZVK_OPEN_READ: return common | O_RDONLY;
    case ZVK_OPEN_NEW: return common | O_WRONLY | O_CREAT | O_TRUNC;
    case ZVK_OPEN_APPEND: return common | O_WRONLY | O_CREAT | O_APPEND;
    case ZVK_OPEN_EXCLUSIVE: return common | O_WRONLY | O_CREAT | O_EXCL;
    }
    return -1;
}

static bool IsPlainFile(int file)
{
    struct stat facts;
    return fstat(file, &facts) == 0 && S_ISREG(facts.st_mode);
}

static int FileOpen(const char *path, ZVK_OpenMode mode)
{
    const int flags = OpenFlags(mode);
    if (!path || flags < 0) return -1;
    const int file = Uninterrupted([&] { return open(path, flags, 0666); });
    if (file < 0) return -1;
    if (mode != ZVK_OPEN_READ || IsPlainFile(file)) return file;
    (void)close(file);  // a folder or a device holds no text of ours
    return -1;
}

static int64_t FileSize(int file)
{
    struct stat facts;
    if (fstat(file, &facts) != 0) return -1;
    return facts.st_size;
}

static int64_t FileRead(int file, void *bytes, size_t count)
{
    return Uninterrupted([&] { return read(file, bytes, count); });
}

static int64_t FileWrite(int file, const void *bytes, size_t count)
{
    const char *next = static_cast<const char *>(bytes);
    size_t left = count;
    while (left > 0) {
        const ssize_t done = Uninterrupted([&] { return write(file, next, left); });
        if (done <= 0) return -1;
        next += done;
        left -= static_cast<size_t>(done);
    }
    return static_cast<int64_t>(count);
}

static int FileSync(int file)
{
    return Uninterrupted([&] { return fsync(file); });
}

// Not taken up again after a signal: the file number is free then all the same.
static int FileClose(int file) { return close(file) == 0 || errno == EINTR ? 0 : -1; }

static int FileRename(const char *from, const char *to)
{
    return from && to ? rename(from, to) : -1;
}

static int FileRemove(const char *path) { return path ? unlink(path) : -1; }

// The folder that holds `path`, in a buffer of PATH_MAX bytes. False when it doesn't fit.
static bool FolderOf(const char *path, char *folder)
{
    const char *slash = std::strrchr(path, '/');
    if (!slash) return std::snprintf(folder, PATH_MAX, ".") > 0;
    const size_t length = slash == path ? 1 : static_cast<size_t>(slash - path);
    if (length >= PATH_MAX) return false;
    std::memcpy(folder, path, length);
    folder[length] = '\0';
    return true;
}

static int FileSyncFolder(const char *path)
{
    char folder[PATH_MAX];
    if (!path || !FolderOf(path, folder)) return -1;
    const int number =
        Uninterrupted([&] { return open(folder, O_RDONLY | O_DIRECTORY | O_CLOEXEC); });
    if (number < 0) return -1;
    // Some file systems can't flush a folder and say EINVAL; their renames are as safe as they get.
    const int synced = FileSync(number);
    const bool done = synced == 0 || errno == EINVAL;
    (void)close(number);
    return done ? 0 : -1;
}

static int FileCopyMode(const char *from, const char *to)
{
    struct stat facts;
    if (!from || !to || stat(from, &facts) != 0) return -1;
    // Refused to all but administrators and members of the group: then the file is ours from now
    // on.
    const int owned = chown(to, facts.st_uid, facts.st_gid);
    (void)owned;
    return chmod(to, facts.st_mode & 0777);
}

static ZVK_Access FileAccess(const char *path)
{
    struct stat facts;
    if (!path) return ZVK_ACCESS_ABSENT;
    if (stat(path, &facts) != 0)
        return errno == ENOENT || errno == ENOTDIR ? ZVK_ACCESS_ABSENT : ZVK_ACCESS_READ_ONLY;
    if (!S_ISREG(facts.st_mode)) return ZVK_ACCESS_READ_ONLY;
    if ((facts.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0) return ZVK_ACCESS_READ_ONLY;
    return faccessat(AT_FDCWD, path, W_OK, AT_EACCESS) == 0 ? ZVK_ACCESS_WRITABLE
                                                            : ZVK_ACCESS_READ_ONLY;
}

const ZVK_FileTable &SystemFiles()
{
    static constexpr ZVK_FileTable kTable = {
        .open = FileOpen,
        .size = FileSize,
        .read = FileRead,
        .write = FileWrite,
        .sync = FileSync,
        .close = FileClose,
        .rename = FileRename,
        .remove = FileRemove,
        .syncFolder = FileSyncFolder,
        .copyMode = FileCopyMode,
        .access = FileAccess,
    };
    return kTable;
}
