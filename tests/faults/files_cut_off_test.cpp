// The process ends in the middle of a write: at each file call in turn, config.ini is the old file
// or the new one, whole, and the next process can write it.

#include "quorvex/confile.h"

#include "failing_files.h"
#include "platform/files.h"
#include "scratch_folder.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

static const char kOld[] = "[a]\nx = 1\n[b]\ny = 3\n";
static const char kNew[] = "[a]\r\nx = 2\r\n\r\n[b]\r\ny = 3\r\n\r\n";

static int32_t WriteTwo()
{
    const int32_t two = 2;
    return ZVK_ConFile_Write(0, "config.ini", "a", "x", &two, ZVK_CONFILE_LONG);
}

static void ExpectWholeAndWritable(const ScratchFolder &folder, int nth)
{
    const std::string text = folder.Read("config.ini");
    EXPECT_TRUE(text == kOld || text == kNew) << "call " << nth << ": " << text;
    EXPECT_EQ(WriteTwo(), 0) << nth;
    EXPECT_EQ(folder.Read("config.ini"), kNew) << nth;
}

TEST(FilesCutOff, LaterCallsThatDoNothingLeaveAWholeFile)
{
    bool failed = true;
    for (int nth = 1; failed; ++nth) {
        const ScratchFolder folder;
        folder.Write("config.ini", kOld);
        {
            FailingFiles files;
            files.CutOffAt(nth);
            (void)WriteTwo();
            failed = files.Failed();
        }
        ExpectWholeAndWritable(folder, nth);
    }
}

static ZVK_FileTable s_real;
static int s_callsLeft = 0;

// An entry of a table that ends the process at a chosen call; a write gets half way.
template <auto Entry>
struct Ending;

template <class Result, class... Args, Result (*ZVK_FileTable::*Entry)(Args...)>
struct Ending<Entry>
{
    static Result Call(Args... args)
    {
        if (--s_callsLeft > 0) return (s_real.*Entry)(args...);
        if constexpr (std::is_same_v<decltype(Entry), decltype(&ZVK_FileTable::write)>)
            WriteHalf(args...);
        _exit(0);
    }

    static void WriteHalf(int file, const void *bytes, size_t count)
    {
        (void)s_real.write(file, bytes, count / 2);
    }
};

static constexpr ZVK_FileTable kEnding = {
#define X(call, type) .call = Ending<&ZVK_FileTable::call>::Call,
    ZVK_FILE_CALLS(X)
#undef X
};

constexpr int kStillAlive = 7;

// Writes in a process of its own that ends at its nth file call. True when it did.
static bool EndAt(int nth)
{
    const pid_t child = fork();
    if (child == 0) {
        s_real = Files();
        s_callsLeft = nth;
        UseFiles(&kEnding);
        (void)WriteTwo();
        _exit(kStillAlive);
    }
    int result = 0;
    EXPECT_EQ(waitpid(child, &result, 0), child);
    EXPECT_TRUE(WIFEXITED(result));
    return WEXITSTATUS(result) != kStillAlive;
}

TEST(FilesCutOff, ProcessThatEndsAtAnyCallLeavesAWholeFile)
{
    int calls = 0;
    for (int nth = 1;; ++nth) {
        const ScratchFolder folder;
        folder.Write("config.ini", kOld);
        const bool ended = EndAt(nth);
        if (!ended) {
            EXPECT_EQ(folder.Read("config.ini"), kNew);
        }
        ExpectWholeAndWritable(folder, nth);
        if (!ended) break;
        calls = nth;
    }
    EXPECT_EQ(calls, 13) << "all calls of a write have been tried";
}

TEST(FilesCutOff, OldFileStaysUntilTheRename)
{
    for (int nth = 1; nth <= 12; ++nth) {  // the 12th is the rename, and it isn't done
        const ScratchFolder folder;
        folder.Write("config.ini", kOld);
        ASSERT_TRUE(EndAt(nth));
        EXPECT_EQ(folder.Read("config.ini"), kOld) << nth;
    }
}
