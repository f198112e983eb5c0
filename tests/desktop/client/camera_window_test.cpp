// The camera's windows on a screen, from the shared library: what is seen, what a click tells, a
// client's window around them, and screens and windows that go.

// Before Xlib, whose macro Status is a parameter's name there.
#include <quorvex/messages.h>
#include <quorvex/quorvex.h>

#include "close_modules.h"
#include "other_process.h"
#include "scratch_folder.h"
#include "virtual_screen.h"

#include <opencv2/videoio.hpp>

#include <gtest/gtest.h>

#include <chrono>
#include <cstring>
#include <filesystem>
#include <string>
#include <thread>

constexpr const char *kCamera = "Camera Window";
constexpr size_t kFrameBytes = 800U * 600U * 3U;  // of a video of the window

static VirtualScreen &Desk()
{
    // One for all tests of this program, and a folder where no other process's mouse is heard.
    static const ScratchFolder folder;
    static const ScopedVariable meeting("XDG_RUNTIME_DIR", folder.Path().c_str());
    static VirtualScreen screen("1280x900x24");
    return screen;
}

// Frames of 256 by 256 in a window of 800 by 600.
static const char kConfig[] = R"([CAMERA]
MI = 1
SIMULATE = 2
BACKEND = 2
COLORMODE = 5
EXPOSURETIME = 0.02
COOLERTEMP = -20
NATIVERESOLUTION_X = 0
NATIVERESOLUTION_Y = 0
CWSIZE_X = 0
CWSIZE_Y = 0
CWOFFSET_X = 40
CWOFFSET_Y = 40
CCW = 0
PARENTNAME = "Client"
HISTOSUPPORT = 0
HWSIZE_X = 0
HWSIZE_Y = 0
HWOFFSET_X = 845
HWOFFSET_Y = 40
HCW = 0
HPARENTNAME = "Client"
)";

class CameraOnScreen : public testing::Test
{
protected:
    static void SetUpTestSuite() { (void)Desk(); }  // its folder before each test's own

    CameraOnScreen() { m_folder.Write("config.ini", kConfig); }

    ~CameraOnScreen() override
    {
        if (m_listener) (void)ZVK_Messages_Unlisten(m_listener);
        CloseModules();
    }

    void Set(const std::string &key, const std::string &value) const
    {
        std::string text = m_folder.Read("config.ini");
        const size_t at = text.find("\n" + key + " = ") + key.size() + 4;
        text.replace(at, text.find('\n', at) - at, value);
        m_folder.Write("config.ini", text);
    }

    void Listen()
    {
        const uint32_t id = ZVK_Messages_Register("ZVK_MOUSE_EVENT");
        ASSERT_EQ(ZVK_Messages_Listen(id, nullptr, nullptr, &m_listener), 0);
    }

    // The next message of that mouse event; moves come before each press.
    bool Hear(int64_t event, int64_t &flags, int64_t &x, int64_t &y) const
    {
        int64_t first = 0;
        int64_t second = 0;
        while (ZVK_Messages_Wait(m_listener, 10.0, &first, &second) == 0) {
            if ((first & 15) != event) continue;
            flags = first >> 4;
            x = second & 4095;
            y = second >> 12;
            return true;
        }
        return false;
    }

    ScratchFolder m_folder;
    int32_t m_listener = 0;
};

TEST_F(CameraOnScreen, TheWindowHasItsTitleSizePlaceAndHandle)
{
    ASSERT_EQ(ZVK_Camera_Init(0, 0, 0), 0);
    const Window window = Desk().Find(kCamera);
    ASSERT_NE(window, 0U);
    const XWindowAttributes facts = Desk().FactsOf(window);
    EXPECT_EQ(facts.width, 800);
    EXPECT_EQ(facts.height, 600);
    EXPECT_EQ(facts.x, 40);
    EXPECT_EQ(facts.y, 40);
    void *handle = nullptr;
    EXPECT_EQ(ZVK_Camera_GetWinHandle(0, &handle), 0);
    EXPECT_EQ(handle, reinterpret_cast<void *>(window));
    EXPECT_EQ(Desk().Numbers(window, "_MOTIF_WM_HINTS"), (std::vector<long>{3, 6, 14, 0, 0}))
        << "without the system menu";
    EXPECT_EQ(Desk().Find("Histogram"), 0U);
}

TEST_F(CameraOnScreen, AClickTellsTheFramePixelUnderIt)
{
    ASSERT_EQ(ZVK_Camera_Init(0, 0, 0), 0);
    Listen();
    Desk().Click(40 + 400, 40 + 300);
    int64_t flags = 0;
    int64_t x = 0;
    int64_t y = 0;
    ASSERT_TRUE(Hear(1, flags, x, y));
    EXPECT_EQ(flags, 1);
    EXPECT_EQ(x, 128);
    EXPECT_EQ(y, 128);
    ASSERT_TRUE(Hear(4, flags, x, y));

    ASSERT_EQ(ZVK_Camera_SetZoom(0, 0, 0, 2.0), 0);
    Desk().Click(40 + 400, 40 + 300, 3);
    ASSERT_TRUE(Hear(2, flags, x, y));
    EXPECT_EQ(flags, 2);
    EXPECT_EQ(x, 64) << "the zoom is undone";
    EXPECT_EQ(y, 64);

    Desk().Click(40 + 400, 40 + 300, 5);
    ASSERT_TRUE(Hear(10, flags, x, y));
    EXPECT_EQ(flags, -120 * 65536);
}

TEST_F(CameraOnScreen, BothWindowsGoIntoAClientsWindow)
{
    Display *const display = Desk().Connection();
    const Window client = XCreateSimpleWindow(display, DefaultRootWindow(display), 100, 30, 1100,
                                              700, 0, 0, 0x405060);
    XStoreName(display, client, "Client");
    XMapWindow(display, client);
    XSync(display, False);
    Set("CCW", "1");
    Set("HISTOSUPPORT", "1");
    Set("HCW", "1");

    ASSERT_EQ(ZVK_Camera_Init(0, 0, 0), 0);

    const Window window = Desk().Find(kCamera);
    const Window histogram = Desk().Find("Histogram");
    ASSERT_NE(window, 0U);
    ASSERT_NE(histogram, 0U);
    EXPECT_EQ(Desk().ParentOf(window), client);
    EXPECT_EQ(Desk().ParentOf(histogram), client);
    EXPECT_EQ(Desk().FactsOf(histogram).width, 255);
    EXPECT_EQ(Desk().FactsOf(histogram).height, 100);
    void *handle = nullptr;
    EXPECT_EQ(ZVK_Camera_GetWinHandle(0, &handle), 0);
    EXPECT_EQ(handle, reinterpret_cast<void *>(window));
    Listen();
    Desk().Click(100 + 40 + 400, 30 + 40 + 300);
    int64_t flags = 0;
    int64_t x = 0;
    int64_t y = 0;
    ASSERT_TRUE(Hear(1, flags, x, y));
    EXPECT_EQ(x, 128);
    EXPECT_EQ(y, 128);
    (void)Desk().Look("camera_in_client");

    // The client's window goes, and both windows with it; the camera streams on.
    XDestroyWindow(display, client);
    XSync(display, False);
    EXPECT_TRUE(Soon([] { return Desk().Find(kCamera) == 0; }));
    EXPECT_EQ(ZVK_Camera_GetWinHandle(0, &handle), 0);
    EXPECT_EQ(handle, nullptr);
    EXPECT_EQ(ZVK_Camera_SetZoom(0, 128, 128, 2.0), 0);
    EXPECT_EQ(ZVK_Camera_Shutdown(0), 0);
}

TEST_F(CameraOnScreen, TheHistogramIsDrawnInItsWindow)
{
    Set("HISTOSUPPORT", "1");
    Set("COLORMODE", "6");  // grey, 8 bits
    ASSERT_EQ(ZVK_Camera_Init(0, 0, 0), 0);
    ASSERT_EQ(ZVK_Camera_SetComputeHistogram(0, 1), 0);
    const Window window = Desk().Find("Histogram");
    ASSERT_NE(window, 0U);
    EXPECT_EQ(Desk().FactsOf(window).x, 845);
    // A black frame has all its pixels at the left end; the rest is the plain ground.
    EXPECT_TRUE(
        Soon([] { return Desk().PixelAt(845 + 200, 40 + 50) == cv::Vec3b(200, 200, 200); }));
    (void)Desk().Look("histogram");
}

TEST_F(CameraOnScreen, TheSessionLivesOnWhenItsUserClosesTheWindow)
{
    ASSERT_EQ(ZVK_Camera_Init(0, 0, 0), 0);
    Desk().AskToClose(Desk().Find(kCamera));
    ASSERT_TRUE(Soon([] { return Desk().Find(kCamera) == 0; }));

    void *handle = &handle;
    EXPECT_EQ(ZVK_Camera_GetWinHandle(0, &handle), 0);
    EXPECT_EQ(handle, nullptr);
    EXPECT_EQ(ZVK_Camera_SetZoom(0, 128, 128, 2.0), 0);
    EXPECT_EQ(ZVK_Camera_Shutdown(0), 0);
    ASSERT_EQ(ZVK_Camera_Init(0, 0, 0), 0);
    EXPECT_NE(Desk().Find(kCamera), 0U) << "the next start opens it again";
}

TEST_F(CameraOnScreen, ShutdownTakesTheWindowAwayUnlessSimulateIs1)
{
    ASSERT_EQ(ZVK_Camera_Init(0, 0, 0), 0);
    ASSERT_NE(Desk().Find(kCamera), 0U);
    ASSERT_EQ(ZVK_Camera_Shutdown(0), 0);
    EXPECT_EQ(Desk().Find(kCamera), 0U);

    Set("SIMULATE", "1");
    ASSERT_EQ(ZVK_Camera_Init(0, 0, 0), 0);
    ASSERT_EQ(ZVK_Camera_Shutdown(0), 0);
    EXPECT_NE(Desk().Find(kCamera), 0U);
}

static size_t CountFrames(const std::string &path)
{
    cv::VideoCapture video(path);
    cv::Mat frame;
    size_t count = 0;
    while (video.read(frame))
        ++count;
    return count;
}

TEST(DISABLED_Role, StreamsOnWhenItsScreenDies)
{
    VirtualScreen screen;
    const ScratchFolder folder;
    const ScopedVariable home("HOME", folder.Path().c_str());
    const ScopedVariable desktop("XDG_CONFIG_HOME", folder.Path().c_str());
    folder.Write("config.ini", kConfig);
    ASSERT_EQ(ZVK_Camera_Init(0, 0, 0), 0);
    ASSERT_NE(screen.Find(kCamera), 0U);
    char video[4096] = "";
    ASSERT_EQ(ZVK_Camera_SaveVideo(0, 1, video, 1), 0);

    screen.Server().Kill();

    EXPECT_TRUE(Soon([] {
        void *handle = nullptr;
        return ZVK_Camera_GetWinHandle(0, &handle) == 0 && handle == nullptr;
    }));
    EXPECT_EQ(ZVK_Camera_SetZoom(0, 100, 100, 2.0), 0);
    // Frames are raw, and go to the file one by one, without a screen too.
    std::error_code none;
    const auto before = std::filesystem::file_size(video, none);
    EXPECT_TRUE(
        Soon([&] { return std::filesystem::file_size(video, none) > before + 4U * kFrameBytes; }));
    ASSERT_EQ(ZVK_Camera_SaveVideo(0, 0, video, 1), 0);
    EXPECT_GT(CountFrames(video), 3U) << "pictures are made and recorded all the same";
    std::string picture = folder.Path("picture.png");
    EXPECT_EQ(ZVK_Camera_SaveImage(0, picture.data(), 1), 0);
    EXPECT_EQ(ZVK_Camera_Shutdown(0), 0);
    EXPECT_EQ(ZVK_Camera_Init(0, 0, 0), 0);
    EXPECT_EQ(ZVK_Camera_Shutdown(0), 0);
}

TEST(CameraScreen, MayDieWhileTheCameraStreams)
{
    OtherProcess other("DISABLED_Role.StreamsOnWhenItsScreenDies");
    EXPECT_EQ(other.Wait(), 0);
}
