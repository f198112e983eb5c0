#include "failing_files.h"

#include "platform/files.h"

#include <mutex>
#include <set>

// What becomes of a call.
enum class Fate
{
    DONE,
    FAILS,   // it is the one that was to fail
    CUT_OFF  // the process has ended before it
};

struct FilesRecord
{
    std::mutex guard;  // of all below
    std::vector<std::string> calls;
    int64_t failAt = 0;   // as a count of all calls; 0: none
    bool cutOff = false;  // all behind it fail too
    bool failed = false;
    std::set<int> open;     // in the eyes of the code under test
    std::set<int> orphans;  // open when the process "ended"; closed at the end of the test
};

static FilesRecord s_record;

static const ZVK_FileTable &Real()
{
    static const ZVK_FileTable *const table = [] {
        UseFiles(nullptr);
        return &Files();
    }();
    return *table;
}

static Fate Count(std::string call)
{
    const std::lock_guard lock(s_record.guard);
    s_record.calls.push_back(std::move(call));
    const int64_t number = static_cast<int64_t>(s_record.calls.size());
    if (s_record.failAt == 0 || number < s_record.failAt) return Fate::DONE;
    if (number > s_record.failAt) return s_record.cutOff ? Fate::CUT_OFF : Fate::DONE;
    s_record.failed = true;
    return Fate::FAILS;
}

static std::string LastPart(const char *path)
{
    const std::string text = path ? path : "(null)";
    return text.substr(text.rfind('/') + 1);  // npos + 1 is 0
}

static const char *ModeName(ZVK_OpenMode mode)
{
    switch (mode) {
    case ZVK_OPEN_READ: return "read";
    case ZVK_OPEN_NEW: return "new";
    case ZVK_OPEN_APPEND: return "append";
    case ZVK_OPEN_EXCLUSIVE: return "exclusive";
    }
    return "?";
}

static int OpenOrFail(const char *path, ZVK_OpenMode mode)
{
    if (Count("open " + LastPart(path) + " " + ModeName(mode)) != Fate::DONE) return -1;
    const int file = Real().open(path, mode);
    const std::lock_guard lock(s_record.guard);
    if (file >= 0) s_record.open.insert(file);
    return file;
}

static int64_t SizeOrFail(int file) { return Count("size") == Fate::DONE ? Real().size(file) : -1; }

static int64_t ReadOrFail(int file, void *bytes, size_t count)
{
    return Count("read " + std::to_string(count)) == Fate::DONE ? Real().read(file, bytes, count)
                                                                : -1;
}

static int64_t WriteOrFail(int file, const void *bytes, size_t count)
{
    const Fate fate = Count("write " + std::to_string(count));
    if (fate == Fate::DONE) return Real().write(file, bytes, count);
    if (fate == Fate::FAILS) (void)Real().write(file, bytes, count / 2);
    return -1;
}

static int SyncOrFail(int file) { return Count("sync") == Fate::DONE ? Real().sync(file) : -1; }

static int CloseOrFail(int file)
{
    const Fate fate = Count("close");
    {
        const std::lock_guard lock(s_record.guard);
        s_record.open.erase(file);
        if (fate == Fate::CUT_OFF) {
            s_record.orphans.insert(file);
            return -1;
        }
    }
    const int result = Real().close(file);
    return fate == Fate::DONE ? result : -1;
}

static int RenameOrFail(const char *from, const char *to)
{
    return Count("rename " + LastPart(from) + " " + LastPart(to)) == Fate::DONE
               ? Real().rename(from, to)
               : -1;
}

static int RemoveOrFail(const char *path)
{
    return Count("remove " + LastPart(path)) == Fate::DONE ? Real().remove(path) : -1;
}

static int SyncFolderOrFail(const char *path)
{
    return Count("syncFolder " + LastPart(path)) == Fate::DONE ? Real().syncFolder(path) : -1;
}

static int CopyModeOrFail(const char *from, const char *to)
{
    return Count("copyMode " + LastPart(from) + " " + LastPart(to)) == Fate::DONE
               ? Real().copyMode(from, to)
               : -1;
}

static ZVK_Access AccessOrRefuse(const char *path)
{
    return Count("access " + LastPart(path)) == Fate::DONE ? Real().access(path)
                                                           : ZVK_ACCESS_READ_ONLY;
}

static constexpr ZVK_FileTable kTable = {
    .open = OpenOrFail,
    .size = SizeOrFail,
    .read = ReadOrFail,
    .write = WriteOrFail,
    .sync = SyncOrFail,
    .close = CloseOrFail,
    .rename = RenameOrFail,
    .remove = RemoveOrFail,
    .syncFolder = SyncFolderOrFail,
    .copyMode = CopyModeOrFail,
    .access = AccessOrRefuse,
};

FailingFiles::FailingFiles()
{
    (void)Real();
    const std::lock_guard lock(s_record.guard);
    s_record.calls.clear();
    s_record.open.clear();
    s_record.failAt = 0;
    s_record.cutOff = s_record.failed = false;
    UseFiles(&kTable);
}

FailingFiles::~FailingFiles()
{
    UseFiles(nullptr);
    const std::lock_guard lock(s_record.guard);
    for (const int file : s_record.orphans)
        (void)Real().close(file);
    s_record.orphans.clear();
}

static void Arm(int64_t nth, bool cutOff)
{
    const std::lock_guard lock(s_record.guard);
    s_record.failAt = nth > 0 ? static_cast<int64_t>(s_record.calls.size()) + nth : 0;
    s_record.cutOff = cutOff;
    s_record.failed = false;
}

void FailingFiles::FailAt(int64_t nth) { Arm(nth, false); }

void FailingFiles::CutOffAt(int64_t nth) { Arm(nth, true); }

bool FailingFiles::Failed() const
{
    const std::lock_guard lock(s_record.guard);
    return s_record.failed;
}

std::vector<std::string> FailingFiles::Calls() const
{
    const std::lock_guard lock(s_record.guard);
    return s_record.calls;
}

int64_t FailingFiles::OpenFiles() const
{
    const std::lock_guard lock(s_record.guard);
    return static_cast<int64_t>(s_record.open.size());
}
