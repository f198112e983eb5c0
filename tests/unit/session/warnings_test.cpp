// The list of captured warnings: what goes in, what is logged, and how a client reads it out.

#include "failing_files.h"
#include "failing_memory.h"
#include "imaging/camera.h"
#include "quorvex/quorvex.h"
#include "scratch_folder.h"
#include "session/session.h"
#include "test_clock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <string>
#include <thread>
#include <vector>

constexpr int32_t kUntouched = 4711;

class Warnings : public testing::Test
{
protected:
    void SetUp() override { FreeWarnings(); }
    void TearDown() override { FreeWarnings(); }

    static int32_t Count()
    {
        int32_t count = kUntouched;
        EXPECT_EQ(ZVK_error_GetWarnings(0, &count, nullptr), 0);
        return count;
    }

    static std::vector<int32_t> ReadOut()
    {
        std::vector<int32_t> list(static_cast<size_t>(Count()) + 1, kUntouched);
        int32_t elements = kUntouched;
        EXPECT_EQ(ZVK_error_GetWarnings(0, &elements, list.data()), 0);
        EXPECT_EQ(list.back(), kUntouched) << "written beyond what was told";
        list.pop_back();
        return list;
    }

    static void Capture(const std::vector<int32_t> &codes)
    {
        for (const int32_t code : codes)
            ASSERT_EQ(ZVK_error_CaptureWarning(0, code), 0);
    }

    static std::string Record(const std::string &text)
    {
        return "\n\n12h 34min 56sec, 7/8/2024\t" + text + "\n";
    }

    ScratchFolder folder;
    TestClock clock;
};

using List = std::vector<int32_t>;

TEST_F(Warnings, ListIsEmptyAtFirst)
{
    EXPECT_EQ(g_warnings.codes, nullptr);
    EXPECT_EQ(Count(), 0);
}

TEST_F(Warnings, CodesComeOutInTheOrderOfTheirCapture)
{
    Capture({611, 403, 1100});
    EXPECT_EQ(ReadOut(), (List{611, 403, 1100}));
}

TEST_F(Warnings, SameCodeTwiceStandsTwiceAndAThirdReadGivesNone)
{
    Capture({611, 611});
    int32_t elements = kUntouched;
    EXPECT_EQ(ZVK_error_GetWarnings(1, &elements, nullptr), 0);
    EXPECT_EQ(elements, 2);
    int32_t list[3] = {kUntouched, kUntouched, kUntouched};
    elements = kUntouched;
    EXPECT_EQ(ZVK_error_GetWarnings(1, &elements, list), 0);
    EXPECT_EQ(list[0], 611);
    EXPECT_EQ(list[1], 611);
    EXPECT_EQ(list[2], kUntouched);
    EXPECT_EQ(elements, kUntouched) << "the number isn't told a second time";
    EXPECT_EQ(ZVK_error_GetWarnings(1, &elements, list), 0);
    EXPECT_EQ(elements, 0);
    EXPECT_EQ(list[0], 611) << "an empty list leaves the array alone";
}

TEST_F(Warnings, AskingForTheNumberChangesNothing)
{
    Capture({611, 907});
    EXPECT_EQ(Count(), 2);
    EXPECT_EQ(Count(), 2);
    EXPECT_EQ(ReadOut(), (List{611, 907}));
}

TEST_F(Warnings, ReadingOutEmptiesTheList)
{
    Capture({611});
    (void)ReadOut();
    EXPECT_EQ(g_warnings.codes, nullptr);
    EXPECT_EQ(g_warnings.count, 0);
}

TEST_F(Warnings, ListIsReadWithoutAskingFirst)
{
    Capture({611, 907});
    int32_t list[2] = {0, 0};
    EXPECT_EQ(ZVK_error_GetWarnings(0, nullptr, list), 0);
    EXPECT_EQ(list[0], 611);
    EXPECT_EQ(list[1], 907);
    EXPECT_EQ(Count(), 0);
}

TEST_F(Warnings, OwnCapturesAfterAskingAreHandedOutToo)
{
    Capture({611});
    EXPECT_EQ(Count(), 1);
    Capture({907});
    int32_t list[2] = {0, 0};
    int32_t elements = kUntouched;
    EXPECT_EQ(ZVK_error_GetWarnings(0, &elements, list), 0);
    EXPECT_EQ(list[1], 907);
    EXPECT_EQ(Count(), 0);
}

TEST_F(Warnings, NullNumberIsHarmless)
{
    EXPECT_EQ(ZVK_error_GetWarnings(0, nullptr, nullptr), 0);
    int32_t list[1] = {kUntouched};
    EXPECT_EQ(ZVK_error_GetWarnings(0, nullptr, list), 0);
    EXPECT_EQ(list[0], kUntouched);
}

TEST_F(Warnings, ZeroAddsNoEntryAndNoRecord)
{
    EXPECT_EQ(ZVK_error_CaptureWarning(0, 0), 0);
    EXPECT_EQ(Count(), 0);
    EXPECT_FALSE(folder.Holds("log.ini"));
}

TEST_F(Warnings, NegativeCodeIsStoredLikeAWarning)
{
    Capture({-601});
    EXPECT_EQ(ReadOut(), (List{-601}));
}

TEST_F(Warnings, EachCaptureIsLoggedWithItsText)
{
    Capture({403, 12345, -1501});
    char text[4096];
    (void)ZVK_error_message(0, 403, text);
    EXPECT_EQ(folder.Read("log.ini"),
              Record(text) + Record("An unknown error occurred. Error code 12345.\n") +
                  Record("No joystick has been configured and initialized."));
}

TEST_F(Warnings, ThousandCapturesMakeThousandEntriesAndRecords)
{
    Capture(List(1000, 614));
    EXPECT_EQ(ReadOut(), List(1000, 614));
    const std::string log = folder.Read("log.ini");
    EXPECT_EQ(log.size(), 1000 * Record("Speed limit for galvo reached.").size());
}

TEST_F(Warnings, FailedLogRecordDoesNotMatter)
{
    FailingFiles files;
    files.FailAt(1);
    EXPECT_EQ(ZVK_error_CaptureWarning(0, 611), 0);
    EXPECT_TRUE(files.Failed());
    EXPECT_EQ(ReadOut(), (List{611}));
}

TEST_F(Warnings, NoRoomForTheFirstEntryGives102AndAnEmptyList)
{
    FailingMemory memory;
    memory.FailAt(1);
    EXPECT_EQ(ZVK_error_CaptureWarning(0, 611), -102);
    EXPECT_TRUE(memory.Failed());
    EXPECT_EQ(Count(), 0);
    EXPECT_EQ(memory.Live(), 0);
    EXPECT_FALSE(folder.Holds("log.ini"));
}

TEST_F(Warnings, NoRoomForAnotherEntryGives102AndTheListAsItWas)
{
    FailingMemory memory;
    Capture({611, 907});
    const std::string log = folder.Read("log.ini");
    memory.FailAt(1);
    EXPECT_EQ(ZVK_error_CaptureWarning(0, 614), -102);
    EXPECT_EQ(folder.Read("log.ini"), log);
    EXPECT_EQ(ReadOut(), (List{611, 907}));
    Capture({614});
    EXPECT_EQ(ReadOut(), (List{614}));
    EXPECT_EQ(memory.Live(), 0);
}

TEST_F(Warnings, NoRoomForTheTextKeepsTheEntryAndSucceeds)
{
    FailingMemory memory;
    memory.FailAt(2);
    EXPECT_EQ(ZVK_error_CaptureWarning(0, 611), 0);
    EXPECT_TRUE(memory.Failed());
    EXPECT_EQ(ReadOut(), (List{611}));
    EXPECT_FALSE(folder.Holds("log.ini"));
    EXPECT_EQ(memory.Live(), 0);
}

// ZVK_close stops at a camera that isn't up, and at an overlay that isn't.
static int32_t Close()
{
    (void)ZVK_ImageProc_Init(0, 0, 0);
    CameraSet(&ZVK_CameraState::initialised, 1);
    CameraSet(&ZVK_CameraState::simulate, 1);
    return ZVK_close(0);
}

TEST_F(Warnings, CloseOfASessionWithoutACameraKeepsThem)
{
    FailingMemory memory;
    Capture({611});
    EXPECT_EQ(ZVK_close(0), ZVK_CAMERA_NOT_INITIALIZED);
    EXPECT_EQ(ReadOut(), (List{611}));
    EXPECT_EQ(Close(), 0);
    EXPECT_EQ(memory.Live(), 0);
}

TEST_F(Warnings, CloseEmptiesTheListAndALaterSessionUsesIt)
{
    FailingMemory memory;
    Capture({611, 907});
    EXPECT_EQ(Close(), 0);
    EXPECT_EQ(memory.Live(), 0) << "the array is freed";
    EXPECT_EQ(Count(), 0);
    Capture({403});
    EXPECT_EQ(ReadOut(), (List{403}));
    EXPECT_EQ(Close(), 0);
    EXPECT_EQ(Close(), 0);
    EXPECT_EQ(memory.Live(), 0);
}

TEST_F(Warnings, EntriesOfOtherThreadsWaitWhenTheyCameAfterTheNumberWasTold)
{
    Capture({611});
    int32_t elements = kUntouched;
    (void)ZVK_error_GetWarnings(0, &elements, nullptr);
    std::thread([] { Capture({907, 908}); }).join();
    int32_t list[3] = {kUntouched, kUntouched, kUntouched};
    EXPECT_EQ(ZVK_error_GetWarnings(0, &elements, list), 0);
    EXPECT_EQ(list[0], 611);
    EXPECT_EQ(list[1], kUntouched);
    EXPECT_EQ(ReadOut(), (List{907, 908})) << "nothing is lost";
}

TEST_F(Warnings, ReaderThatWasToldNoneGetsNone)
{
    EXPECT_EQ(Count(), 0);
    std::thread([] { Capture({907}); }).join();
    int32_t list[1] = {kUntouched};
    int32_t elements = kUntouched;
    EXPECT_EQ(ZVK_error_GetWarnings(0, &elements, list), 0);
    EXPECT_EQ(elements, 0);
    EXPECT_EQ(list[0], kUntouched);
    EXPECT_EQ(ReadOut(), (List{907}));
}

TEST_F(Warnings, ListEmptiedByAnotherThreadGivesNone)
{
    Capture({611});
    EXPECT_EQ(Count(), 1);
    std::thread([] { EXPECT_EQ(ReadOut(), (List{611})); }).join();
    int32_t list[1] = {kUntouched};
    int32_t elements = kUntouched;
    EXPECT_EQ(ZVK_error_GetWarnings(0, &elements, list), 0);
    EXPECT_EQ(elements, 0);
    EXPECT_EQ(list[0], kUntouched);
}

// Writers of four threads and a reader at once: each entry comes out once, in its writer's order,
// and no read goes beyond the number that was told.
TEST_F(Warnings, ManyThreadsLoseNothing)
{
    constexpr int32_t kWriters = 4;
    constexpr int32_t kEntries = 250;
    std::atomic<int> running = kWriters;
    std::vector<std::thread> writers;
    for (int32_t writer = 0; writer < kWriters; ++writer) {
        writers.emplace_back([writer, &running] {
            for (int32_t i = 0; i < kEntries; ++i)
                EXPECT_EQ(ZVK_error_CaptureWarning(0, 100000 * (writer + 1) + i), 0);
            --running;
        });
    }
    List all;
    while (running > 0) {
        const List some = ReadOut();
        all.insert(all.end(), some.begin(), some.end());
    }
    for (std::thread &writer : writers)
        writer.join();
    const List rest = ReadOut();
    all.insert(all.end(), rest.begin(), rest.end());

    std::map<int32_t, List> byWriter;
    for (const int32_t code : all)
        byWriter[code / 100000].push_back(code % 100000);
    ASSERT_EQ(byWriter.size(), static_cast<size_t>(kWriters));
    for (const auto &[writer, entries] : byWriter) {
        ASSERT_EQ(entries.size(), static_cast<size_t>(kEntries)) << writer;
        for (int32_t i = 0; i < kEntries; ++i)
            ASSERT_EQ(entries[static_cast<size_t>(i)], i);
    }
}

TEST_F(Warnings, LogRecordsOfManyThreadsStayWhole)
{
    std::vector<std::thread> writers;
    for (int writer = 0; writer < 4; ++writer)
        writers.emplace_back([] { Capture(List(50, 614)); });
    for (std::thread &writer : writers)
        writer.join();
    std::string expected;
    for (int i = 0; i < 200; ++i)
        expected += Record("Speed limit for galvo reached.");
    EXPECT_EQ(folder.Read("log.ini"), expected);
}
