// The virtual card in a process: opened by its path, used from the environment, left running at the
// end.

#include "../../src/platform/daqmx.h"
#include "card_fixture.h"
#include "instrument_folder.h"
#include "other_process.h"

#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <thread>
#include <type_traits>

// The card answers exactly what the library calls.
#define X(entry, vendorName, ...)                                                                  \
    static_assert(std::is_same_v<decltype(&(vendorName)), std::add_pointer_t<__VA_ARGS__>>);
ZVK_DAQ_CALLS(X)
#undef X

TEST(DaqCardProcess, ACardOpenedByItsPathIsTheOneThatIsLinked)
{
    void *opened = dlopen(InstrumentFolder::CardPath().c_str(), RTLD_NOW | RTLD_LOCAL);
    ASSERT_NE(opened, nullptr);
#define X(entry, vendorName, ...)                                                                  \
    EXPECT_EQ(dlsym(opened, #vendorName), reinterpret_cast<void *>(&(vendorName)));
    ZVK_DAQ_CALLS(X)
#undef X
    EXPECT_EQ(dlclose(opened), 0);
}

static int32_t FeedAgain(ZVC_Task task, int32_t, uint32_t samples, void *)
{
    (void)WriteSteps(task, static_cast<int32_t>(samples));
    return 0;
}

static void LeaveAllRunning(int32_t pace)
{
    (void)ZVC_SetPace(pace);
    ZVC_Task task = MakeStream({.channels = "Dev1/ao0:3", .samples = 10, .rate = 10000.0});
    ASSERT_EQ(DAQmxRegisterEveryNSamplesEvent(task, kTransferred, 10, 0, FeedAgain, nullptr), 0);
    ASSERT_EQ(WriteSteps(task, 10), 0);
    ASSERT_EQ(DAQmxStartTask(task), 0);
    std::thread([] {
        (void)ReadSamples(MakeInput("Dev1/ai0", 1000000), 1000000, 0, -1.0);
    }).detach();
    ASSERT_EQ(ReadSamples(MakeInput("Dev2/ai0", 100), 100).size(), 100U);
    std::exit(testing::Test::HasFailure() ? 1 : 0);
}

TEST(DISABLED_CardRole, EndsInRealPace) { LeaveAllRunning(ZVC_PACE_REAL); }

TEST(DISABLED_CardRole, EndsInFastPace) { LeaveAllRunning(ZVC_PACE_FAST); }

TEST(DISABLED_CardRole, EndsInManualPace)
{
    (void)ZVC_SetPace(ZVC_PACE_MANUAL);
    (void)StartStream();
    std::thread([] { (void)ReadSamples(MakeInput("Dev1/ai0", 10), 10, 0, -1.0); }).detach();
    ASSERT_EQ(ZVC_AwaitWaiting(1, 60.0), ZVC_OK);
    std::exit(0);
}

TEST(DaqCardProcess, AProcessEndsCleanlyWithTasksRunning)
{
    for (const char *role : {"EndsInRealPace", "EndsInFastPace", "EndsInManualPace"})
        EXPECT_EQ(OtherProcess(std::string("DISABLED_CardRole.") + role).Wait(), 0) << role;
}

TEST(DISABLED_CardRole, WorksByTheEnvironment)
{
    ASSERT_EQ(ZVC_GetPace(), ZVC_PACE_FAST);
    ZVC_Task task = StartStream();
    ASSERT_EQ(WriteSteps(task, 100), 0);
    ASSERT_EQ(DAQmxClearTask(task), 0);
}

TEST(DaqCardProcess, TheEnvironmentAloneGivesPaceAndLog)
{
    const InstrumentFolder folder;
    const std::string path = folder.Files().Path("daq.log");
    {
        const ScopedVariable pace("ZVK_VIRTUAL_DAQ_PACE", "fast");
        const ScopedVariable log("ZVK_VIRTUAL_DAQ_LOG", path.c_str());
        ASSERT_EQ(OtherProcess("DISABLED_CardRole.WorksByTheEnvironment").Wait(), 0);
    }
    const std::string expected =
        "         0.000000 s  DAQmxCreateTask(\"\", t1) = 0\n"
        "         0.000000 s  DAQmxCreateAOVoltageChan(t1, \"Dev1/ao0\", \"\", -10, 10, 10348, "
        "\"\") = 0\n"
        "         0.000000 s  DAQmxCfgSampClkTiming(t1, \"\", 1000, 10280, 10123, 100) = 0\n"
        "         0.000000 s  DAQmxSetWriteAttribute(t1, 0x1453, 10158) = 0\n"
        "         0.000000 s  DAQmxWriteAnalogF64(t1, 100, 0, 10, 0) = 0, 100 samples\n"
        "         0.100000 s  DAQmxStartTask(t1) = 0\n"
        "         0.200000 s  DAQmxWriteAnalogF64(t1, 100, 0, 10, 0) = 0, 100 samples\n"
        "         0.200000 s  DAQmxClearTask(t1) = 0\n";
    EXPECT_EQ(folder.Files().Read("daq.log"), expected);
}

TEST(DISABLED_CardRole, MakesOneTask)
{
    ZVC_Task task = nullptr;
    ASSERT_EQ(DAQmxCreateTask("", &task), 0);
}

TEST(DaqCardProcess, ALogThatCannotBeOpenedStopsNothing)
{
    const ScopedVariable log("ZVK_VIRTUAL_DAQ_LOG", "/nowhere/at/all/daq.log");
    EXPECT_EQ(OtherProcess("DISABLED_CardRole.MakesOneTask").Wait(), 0);
}

TEST(DaqCardProcess, ALargeLogBeginsAnewBesideTheOldOne)
{
    const InstrumentFolder folder;
    const std::string path = folder.Files().Path("daq.log");
    folder.Files().Write("daq.log", "");
    constexpr uintmax_t kLimit = 64U * 1024 * 1024;
    std::filesystem::resize_file(path, kLimit);  // takes no room
    {
        const ScopedVariable log("ZVK_VIRTUAL_DAQ_LOG", path.c_str());
        ASSERT_EQ(OtherProcess("DISABLED_CardRole.MakesOneTask").Wait(), 0);
    }
    EXPECT_GT(std::filesystem::file_size(path + ".1"), kLimit);
    EXPECT_EQ(std::filesystem::file_size(path), 0U);
}
