// Screens of other kinds, screens that go, and processes that end. The library has one connection
// in a process's life, so that each of these is a process of its own.

#include "other_process.h"
#include "platform/windows.h"
#include "virtual_screen.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <thread>

constexpr const char *kTitle = "Camera Window";

static const cv::Vec3b kColour(0, 128, 255);

static int Show(int width = 200, int height = 100)
{
    const cv::Mat picture(height, width, CV_8UC3, cv::Scalar(kColour[0], kColour[1], kColour[2]));
    return Windows().show(kTitle,
                          {picture.data, width, height, static_cast<int64_t>(picture.step)});
}

static void OpenWindow()
{
    ASSERT_EQ(Windows().open(kTitle), 0);
    ASSERT_EQ(Windows().resize(kTitle, 200, 100), 0);
    ASSERT_EQ(Windows().move(kTitle, 10, 10), 0);
    ASSERT_EQ(Show(), 0);
}

static void ExpectAllCallsToGoOn()
{
    EXPECT_EQ(Windows().open(kTitle), 0);
    EXPECT_EQ(Windows().open("Histogram"), 0);
    EXPECT_EQ(Windows().resize(kTitle, 300, 200), 0);
    EXPECT_EQ(Windows().move(kTitle, 1, 1), 0);
    EXPECT_EQ(Show(), 0);
    EXPECT_EQ(Windows().onMouse(kTitle, nullptr, nullptr), 0);
    EXPECT_EQ(Windows().find(kTitle), nullptr);
    EXPECT_EQ(Windows().close("Histogram"), 0);
    EXPECT_EQ(Windows().close(kTitle), 0);
    EXPECT_LT(Windows().close(kTitle), 0);
}

TEST(DISABLED_Role, ShowsOnAScreenOf16Bits)
{
    const VirtualScreen screen("640x480x16");
    OpenWindow();
    // 5, 6 and 5 bits: 128 of green is 32 of 63, 255 of red is 31 of 31
    EXPECT_TRUE(Soon([&] { return screen.PixelAt(10, 10) == cv::Vec3b(0, 129, 255); }));
    (void)screen.Look("screen_of_16_bits");
}

TEST(DISABLED_Role, ShowsOnAScreenWhoseVisualHasChangeableColours)
{
    const VirtualScreen screen("640x480x24", {"-cc", "5"});
    OpenWindow();
    const Window window = screen.Find(kTitle);
    EXPECT_EQ(screen.FactsOf(window).visual->c_class, TrueColor);
    EXPECT_TRUE(Soon([&] { return screen.PixelAt(10, 10) != cv::Vec3b(0, 0, 0); }));
}

TEST(DISABLED_Role, HasNoWindowWithoutColoursThatShowByThemselves)
{
    const VirtualScreen screen("640x480x8");
    ExpectAllCallsToGoOn();
    EXPECT_EQ(screen.Find(kTitle), 0U);
}

TEST(DISABLED_Role, OutlivesItsScreen)
{
    VirtualScreen screen;
    OpenWindow();
    ASSERT_NE(Windows().find(kTitle), nullptr);

    std::thread streaming([&] {
        for (int frame = 0; frame < 2000; ++frame)
            EXPECT_EQ(Show(), 0);
    });
    screen.Server().Kill();
    streaming.join();

    EXPECT_TRUE(Soon([] { return Windows().find(kTitle) == nullptr; }));
    EXPECT_EQ(Windows().resize(kTitle, 300, 200), 0) << "it is still known";
    ExpectAllCallsToGoOn();
}

TEST(DISABLED_Role, GivesUpAScreenThatDoesNotAnswer)
{
    VirtualScreen screen;
    OpenWindow();
    screen.Server().Send(SIGSTOP);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(Windows().find(kTitle), nullptr);
    EXPECT_EQ(Show(), 0);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(8));
    screen.Server().Send(SIGCONT);
    EXPECT_TRUE(Soon([] { return Windows().find(kTitle) != nullptr; })) << "and takes it up again";
}

TEST(DISABLED_Role, EndsWhileItDraws)
{
    const VirtualScreen screen;
    OpenWindow();
    std::thread([] {
        for (;;)
            (void)Show(800, 600);
    }).detach();
    ASSERT_TRUE(Soon([&] { return screen.PixelAt(10, 10) == kColour; }));
}

TEST(DISABLED_Role, IsHeadlessByWish)
{
    const VirtualScreen screen;
    const ScopedVariable headless("ZVK_HEADLESS", "1");
    ExpectAllCallsToGoOn();
    EXPECT_EQ(screen.Find(kTitle), 0U);
}

TEST(DISABLED_Role, IsHeadlessWithoutADisplay)
{
    const ScopedVariable wish("ZVK_HEADLESS", nullptr);
    const ScopedVariable display("DISPLAY", nullptr);
    ExpectAllCallsToGoOn();
}

TEST(DISABLED_Role, ConnectsOnceThereIsADisplay)
{
    const ScopedVariable wish("ZVK_HEADLESS", nullptr);
    {
        const ScopedVariable display("DISPLAY", ":4999");  // nobody there
        ExpectAllCallsToGoOn();
    }
    const VirtualScreen screen;
    OpenWindow();
    EXPECT_NE(screen.Find(kTitle), 0U);
}

class WindowsInAProcess : public testing::TestWithParam<const char *>
{
};

TEST_P(WindowsInAProcess, GoOnToACleanEnd)
{
    OtherProcess other(std::string("DISABLED_Role.") + GetParam());
    EXPECT_EQ(other.Wait(), 0);
}

INSTANTIATE_TEST_SUITE_P(
    Screens, WindowsInAProcess,
    testing::Values("ShowsOnAScreenOf16Bits", "ShowsOnAScreenWhoseVisualHasChangeableColours",
                    "HasNoWindowWithoutColoursThatShowByThemselves", "OutlivesItsScreen",
                    "GivesUpAScreenThatDoesNotAnswer", "EndsWhileItDraws", "IsHeadlessByWish",
                    "IsHeadlessWithoutADisplay", "ConnectsOnceThereIsADisplay"),
    [](const auto &info) { return std::string(info.param); });

TEST(WindowsAtTheEnd, EndCleanlyAgainAndAgain)
{
    for (int round = 0; round < 10; ++round) {
        OtherProcess other("DISABLED_Role.EndsWhileItDraws");
        ASSERT_EQ(other.Wait(), 0) << round;
    }
}
