// The stand-ins that let an allocation fail, and what the seams do then.

#include "failing_memory.h"
#include "failing_new.h"
#include "scratch_folder.h"

#include "platform/files.h"
#include "platform/folders.h"
#include "platform/memory.h"

#include <memory>
#include <new>
#include <thread>

TEST(FailingMemory_, FailsTheToldAllocationOnly)
{
    FailingMemory memory;
    memory.FailAt(2);
    double *first = AllocateArray<double>(3);
    double *second = AllocateArray<double>(3);
    double *third = AllocateArray<double>(3);
    EXPECT_NE(first, nullptr);
    EXPECT_EQ(second, nullptr);
    EXPECT_NE(third, nullptr);
    EXPECT_TRUE(memory.Failed());
    EXPECT_EQ(memory.Live(), 2);
    EXPECT_EQ(memory.Allocations(), 3);
    Release(first);
    Release(second);
    Release(third);
    EXPECT_EQ(memory.Live(), 0);
}

TEST(FailingMemory_, TellsThatTheAllocationWasNotReached)
{
    FailingMemory memory;
    memory.FailAt(2);
    double *only = AllocateArray<double>(1);
    EXPECT_FALSE(memory.Failed());
    Release(only);
}

TEST(Memory, BlocksComeZeroed)
{
    for (int i = 0; i < 8; ++i) {
        int32_t *block = AllocateArray<int32_t>(100);
        ASSERT_NE(block, nullptr);
        for (int j = 0; j < 100; ++j)
            ASSERT_EQ(block[j], 0);
        std::memset(block, 0xFF, 400);
        Release(block);
        EXPECT_EQ(block, nullptr);
    }
}

TEST(Memory, ACountOfZeroOrBelowGivesABlock)
{
    FailingMemory memory;
    double *none = AllocateArray<double>(0);
    double *below = AllocateArray<double>(-5);
    EXPECT_NE(none, nullptr);
    EXPECT_NE(below, nullptr);
    Release(none);
    Release(below);
    EXPECT_EQ(memory.Live(), 0);
}

TEST(Memory, ASizeThatOverflowsGivesNull)
{
    EXPECT_EQ(AllocateArray<double>(INT64_MAX), nullptr);
    EXPECT_EQ(AllocateArray<double>(INT64_MAX / 4), nullptr);
}

static bool TryNew()
{
    try {
        ::operator delete(::operator new(4));  // a new-expression might be left out by the compiler
        return true;
    } catch (const std::bad_alloc &) {
        return false;
    }
}

TEST(FailingNew_, FailsTheToldAllocationOnly)
{
    bool results[3] = {};
    bool failed = false;
    {
        FailingNew allocations(2);
        for (bool &result : results)
            result = TryNew();
        failed = allocations.Failed();
    }
    EXPECT_TRUE(results[0]);
    EXPECT_FALSE(results[1]);
    EXPECT_TRUE(results[2]);
    EXPECT_TRUE(failed);
}

TEST(FailingNew_, LeavesOtherThreadsAloneUnlessTold)
{
    bool fine = false;
    bool fineWhenAllFail = true;
    std::thread first;
    std::thread second;
    {
        FailingNew allocations(100);
        first = std::thread([&] {
            fine = true;
            for (int i = 0; i < 200; ++i)
                fine = fine && TryNew();
        });
        first.join();
    }
    second = std::thread([&] {
        FailingNew allocations(1, FailingNew::ALL_THREADS);
        fineWhenAllFail = TryNew();
    });
    second.join();
    EXPECT_TRUE(fine);
    EXPECT_FALSE(fineWhenAllFail);
}

TEST(FailingNew_, CountsLiveBlocks)
{
    const int64_t before = LiveNewBlocks();
    auto block = std::make_unique<int>(1);
    struct alignas(64) Wide
    {
        char bytes[64];
    };
    auto wide = std::make_unique<Wide>();
    EXPECT_EQ(LiveNewBlocks(), before + 2);
    block.reset();
    wide.reset();
    EXPECT_EQ(LiveNewBlocks(), before);
}

TEST(SeamsWithoutMemory, WholeFileTellsNoMemory)
{
    ScratchFolder folder;
    folder.Write("a.ini", std::string(1000, 'x'));
    const std::string path = folder.Path("a.ini");
    ZVK_WholeFile result = ZVK_WHOLE_FILE_READ;
    FailEachAllocation(
        [&] {
            std::string text;
            result = ReadWholeFile(path.c_str(), text);
        },
        [&](bool failed) {
            EXPECT_EQ(result, failed ? ZVK_WHOLE_FILE_NO_MEMORY : ZVK_WHOLE_FILE_READ);
        });
}

TEST(SeamsWithoutMemory, CommonDataPathIsEmpty)
{
    ScratchFolder folder;
    const std::string expected = folder.Path("config.ini");
    std::string path;
    FailEachAllocation([&] { path = CommonDataPath("config.ini"); },
                       [&](bool failed) { EXPECT_EQ(path, failed ? "" : expected); });
}
