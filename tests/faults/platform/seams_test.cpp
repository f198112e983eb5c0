// Each C++ allocation of the seams' own code fails in turn: the told failure comes, nothing leaks,
// and the next call works.

#include "failing_new.h"
#include "scratch_folder.h"

#include "platform/clock.h"
#include "platform/folders.h"
#include "platform/ports.h"
#include "platform/threads.h"
#include "quorvex/messages.h"

#include <atomic>

static int CountRun(void *data) { return ++*static_cast<std::atomic<int> *>(data); }

TEST(SeamsWithoutMemory, ScheduleFailsAndRunsNothing)
{
    std::atomic<int> runs{0};
    int id = 0;
    int result = 0;
    int expectedRuns = 0;
    const int failures = FailEachAllocation(
        [&] {
            id = 0;
            result = Threads().schedule(CountRun, &runs, &id);
        },
        [&](bool failed) {
            if (result == 0) {  // a failure inside may have been survived
                EXPECT_EQ(Threads().wait(id), 0);
                EXPECT_EQ(Threads().release(id), 0);
                ++expectedRuns;
            } else {
                EXPECT_TRUE(failed);
                EXPECT_EQ(id, 0);
            }
        });
    EXPECT_GE(failures, 1);
    EXPECT_EQ(runs, expectedRuns);
}

static int CountTick(int, int, int event, void *data, int, int)
{
    return event == ZVK_EVENT_TIMER_TICK ? ++*static_cast<std::atomic<int> *>(data) : 0;
}

TEST(SeamsWithoutMemory, StartTimerFailsAndStartsNone)
{
    std::atomic<int> ticks{0};
    int id = 0;
    const int failures =
        FailEachAllocation([&] { id = Threads().startTimer(1000.0, CountTick, &ticks); },
                           [&](bool failed) {
                               EXPECT_EQ(id < 0, failed);
                               EXPECT_TRUE(id < 0 || Threads().discardTimer(id) == 0);
                           });
    EXPECT_GE(failures, 1);
    EXPECT_EQ(ticks, 0);
}

TEST(SeamsWithoutMemory, ListOfPortsIsEmpty)
{
    const ScopedVariable pinned(
        "ZVK_SERIAL_PORTS", "A rather long friendly name (COM200)=/dev/a-rather-long-device-name;"
                            "Another rather long name (COM201)=/dev/another-rather-long-device");
    std::vector<ZVK_PortEntry> ports;
    bool listed = false;
    const int failures = FailEachAllocation([&] { listed = ListPorts(ports); },
                                            [&](bool failed) {
                                                EXPECT_EQ(listed, !failed);
                                                EXPECT_EQ(ports.empty(), failed);
                                            });
    EXPECT_GE(failures, 4);
}

TEST(SeamsWithoutMemory, DeviceOfAPortIsEmpty)
{
    const ScopedVariable pinned("ZVK_SERIAL_PORTS", "A (COM200)=/dev/a-rather-long-device-name");
    std::string device;
    (void)FailEachAllocation(
        [&] { device = DeviceOfPort(200); },
        [&](bool failed) { EXPECT_EQ(device, failed ? "" : "/dev/a-rather-long-device-name"); });
}

TEST(SeamsWithoutMemory, UserFolderIsEmpty)
{
    const ScratchFolder folder;
    const ScopedVariable config("XDG_CONFIG_HOME", folder.Path().c_str());
    folder.Write("user-dirs.dirs", "XDG_VIDEOS_DIR=\"" + folder.Path("films") + "\"\n");
    const std::string expected = folder.Path("films");
    std::string path;
    (void)FailEachAllocation([&] { path = UserFolderPath(ZVK_FOLDER_VIDEOS); },
                             [&](bool failed) { EXPECT_TRUE(failed || path == expected) << path; });
}

struct MessagesWithoutMemory : testing::Test
{
    MessagesWithoutMemory() : variable("XDG_RUNTIME_DIR", folder.Path().c_str()) {}

    ScratchFolder folder;
    ScopedVariable variable;
};

TEST_F(MessagesWithoutMemory, RegisterGivesNoId)
{
    const char *name = "a name that is too long for the room inside of a string";
    uint32_t id = 0;
    const int failures = FailEachAllocation([&] { id = ZVK_Messages_Register(name); },
                                            [&](bool failed) { EXPECT_EQ(id == 0, failed); });
    EXPECT_GE(failures, 2);
}

TEST_F(MessagesWithoutMemory, ListenMakesNoListener)
{
    const uint32_t id = ZVK_Messages_Register("listen");
    int32_t listener = 0;
    int32_t result = 0;
    for (const ZVK_MessageCallback callback :
         {ZVK_MessageCallback{}, ZVK_MessageCallback{[](uint32_t, int64_t, int64_t, void *) {}}})
        (void)FailEachAllocation(
            [&] { result = ZVK_Messages_Listen(id, callback, nullptr, &listener); },
            [&](bool failed) {
                // Without room for the thread that receives it hears this process alone.
                EXPECT_TRUE(failed || result == 0) << result;
                EXPECT_EQ(listener > 0, result >= 0);
                EXPECT_TRUE(result >= 0 || result == ZVK_MESSAGES_NO_ROOM) << result;
                EXPECT_TRUE(listener == 0 || ZVK_Messages_Unlisten(listener) == 0);
            });
}

TEST_F(MessagesWithoutMemory, PostIsTold)
{
    const uint32_t id = ZVK_Messages_Register("post");
    int32_t listener = 0;
    ASSERT_EQ(ZVK_Messages_Listen(id, nullptr, nullptr, &listener), 0);
    int32_t result = 0;
    // The listener's queue takes a block now and then, so that one round isn't enough.
    for (int round = 0; round < 200; ++round)
        (void)FailEachAllocation(
            [&] { result = ZVK_Messages_Post(id, round, 0); },
            [&](bool failed) { EXPECT_TRUE(failed || result == 0) << result; });
    EXPECT_EQ(ZVK_Messages_Unlisten(listener), 0);
}
