// The process ends while frames run: by exit, by the end of main, by a signal, and while a client
// is still inside a call; each at many moments, in processes of their own.

#include "close_modules.h"
#include "other_process.h"
#include "scratch_folder.h"
#include "two_paths.h"

#include <quorvex/quorvex.h>

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <deque>
#include <string>
#include <thread>
#include <unistd.h>

// A process under the sanitizer takes seconds to start and to end: fewer moments do there.
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
constexpr int kFewer = 3;
#else
constexpr int kFewer = 1;
#endif

static const char *const kMoment = "ZVK_TEST_MOMENT_US";  // when a role ends, after its start
static const char *const kAtEnd = "ZVK_TEST_LOAD";        // what it has switched on then

// -- roles: they find the instrument folder of the test that starts them --

static bool Wants(const char *what)
{
    const char *const load = std::getenv(kAtEnd);
    return load && std::string(load).find(what) != std::string::npos;
}

static void StartFrames()
{
    ASSERT_EQ(ZVK_Camera_Init(0, 0, 0), 0);
    if (Wants("overlays")) {
        EXPECT_EQ(ZVK_Camera_SetUserOverlay(0, 1), 0);
        EXPECT_EQ(ZVK_Camera_SetSDKOverlay(0, 1), 0);
        EXPECT_EQ(ZVK_Camera_SetFrameRate(0, 1), 0);
        EXPECT_EQ(ZVK_Camera_SetContrastLimits(0, 0.0, 200.0), 0);
        EXPECT_EQ(ZVK_Camera_FlipImage(0, 3), 0);
    }
    if (Wants("shut down")) {
        EXPECT_EQ(ZVK_Camera_Shutdown(0), 0);
    }
    if (Wants("video")) {
        std::string path = std::string(std::getenv("ZVK_COMMON_APPDATA")) + "/ZVK640/" +
                           std::to_string(getpid()) + ".avi";
        EXPECT_EQ(ZVK_Camera_SaveVideo(0, 1, path.data(), 0), 0);
    }
}

static void Rest()
{
    const char *const moment = std::getenv(kMoment);
    std::this_thread::sleep_for(std::chrono::microseconds(moment ? std::atol(moment) : 0));
}

TEST(DISABLED_CameraEndRole, ByExit)
{
    StartFrames();
    Rest();
    std::exit(HasFailure() ? 1 : 0);
}

TEST(DISABLED_CameraEndRole, ByReturn)
{
    StartFrames();
    Rest();
}

TEST(DISABLED_CameraEndRole, InsideACall)
{
    std::thread([] {
        for (;;) {
            (void)ZVK_Camera_Init(0, 0, 0);
            (void)ZVK_Camera_SetROI(0, 1, 0, nullptr, nullptr);
            (void)ZVK_Camera_Shutdown(0);
        }
    }).detach();
    Rest();
    std::exit(0);
}

TEST(DISABLED_CameraEndRole, BySignal)
{
    StartFrames();
    for (;;)
        (void)pause();
}

// As a client does that wants to end well: one thread waits for the signal that all others block.
TEST(DISABLED_CameraEndRole, BySignalThatIsWaitedFor)
{
    StartFrames();
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGTERM);
    int signal = 0;
    (void)sigwait(&set, &signal);
    std::exit(signal == SIGTERM && !HasFailure() ? 0 : 1);
}

// -- tests --

class CameraEnd : public testing::Test
{
protected:
    void SetUp() override
    {
        m_folder.Write("config.ini", TwoPathsConfig());
        m_folder.Write("default.odf", TwoPathsObjective());
    }

    // Starts the role `count` times, to end at moments from the first on in equal steps. Few at
    // once: the moments are those of a machine that isn't busy.
    static void EndAt(const std::string &role, int firstUs, int stepUs, int count,
                      const char *load = "")
    {
        constexpr size_t kAtOnce = 3;
        const ScopedVariable what(kAtEnd, load);
        std::deque<OtherProcess> others;
        const auto awaitFirst = [&] {
            EXPECT_EQ(others.front().Wait(), 0) << role << " " << load;
            others.pop_front();
        };
        for (int i = 0; i < count; i += kFewer) {
            const ScopedVariable moment(kMoment, std::to_string(firstUs + i * stepUs).c_str());
            if (others.size() == kAtOnce) awaitFirst();
            others.emplace_back("DISABLED_CameraEndRole." + role);
        }
        while (!others.empty())
            awaitFirst();
    }

    // The same with a signal from here, `stepUs` later for each.
    static void SignalAt(const std::string &role, int count, int stepUs, int code)
    {
        std::deque<OtherProcess> others;
        for (int i = 0; i < count; ++i)
            others.emplace_back("DISABLED_CameraEndRole." + role);
        for (OtherProcess &other : others) {
            std::this_thread::sleep_for(std::chrono::microseconds(stepUs));
            other.Send(SIGTERM);
        }
        for (OtherProcess &other : others)
            EXPECT_EQ(other.Wait(), code) << role;
    }

    ScratchFolder m_folder;
    ScopedVariable m_headless{"ZVK_HEADLESS", "1"};
};

// The first frame comes 20 ms after the start; in the milliseconds behind it the libraries below
// make what they need.
TEST_F(CameraEnd, ByExitAtAnyMomentOfTheFirstFrame) { EndAt("ByExit", 20000, 200, 24); }

TEST_F(CameraEnd, ByExitAtAnyMomentOfLaterFrames)
{
    EndAt("ByExit", 0, 7700, 9);
    EndAt("ByExit", 21000, 7100, 6, "overlays");
    EndAt("ByExit", 21000, 7100, 6, "overlays, video");
}

TEST_F(CameraEnd, ByExitWithTheDisplayLoopAlone) { EndAt("ByExit", 0, 4000, 3, "shut down"); }

TEST_F(CameraEnd, ByTheEndOfMain)
{
    EndAt("ByReturn", 0, 5100, 9);
    EndAt("ByReturn", 21000, 5100, 3, "overlays, video");
}

TEST_F(CameraEnd, ByExitWhileAnotherThreadStartsAndStopsTheCamera)
{
    EndAt("InsideACall", 0, 71000, 15);
}

TEST_F(CameraEnd, ByASignalThatNobodyHandles) { SignalAt("BySignal", 6, 120000, -SIGTERM); }

TEST_F(CameraEnd, ByASignalThatAThreadOfTheClientWaitsFor)
{
    sigset_t set;
    sigset_t before;
    sigemptyset(&set);
    sigaddset(&set, SIGTERM);
    ASSERT_EQ(pthread_sigmask(SIG_BLOCK, &set, &before), 0);  // and so it is in the processes
    SignalAt("BySignalThatIsWaitedFor", 6, 120000, 0);
    ASSERT_EQ(pthread_sigmask(SIG_SETMASK, &before, nullptr), 0);
}

TEST_F(CameraEnd, LeavesAnInstrumentFolderThatTheNextProcessWorksWith)
{
    SignalAt("BySignal", 3, 200000, -SIGTERM);
    EXPECT_EQ(ZVK_Camera_Init(0, 0, 0), 0);
    EXPECT_EQ(ZVK_Camera_Shutdown(0), 0);
}
