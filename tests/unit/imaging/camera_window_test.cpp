// The camera's windows: how they are made, found and told of the mouse.

#include "camera_fixture.h"

#include "quorvex/errors.h"

using Posted = RecordingMessages::Posted;
using Sizes = std::vector<int32_t>;

class CameraWindow : public CameraTest
{
protected:
    int32_t Make(const CameraConfig &config, const std::vector<std::string> &without = {})
    {
        Write(config, without);
        return ZVK_Camera_InitWindow(0);
    }
};

TEST_F(CameraWindow, IsMadeSizedPlacedAndLosesItsSystemMenu)
{
    EXPECT_EQ(Make({.width = "640", .height = "480"}), ZVK_SUCCESS);
    EXPECT_EQ(windows.Calls(), (Calls{
                                   "open(\"Camera Window\")",
                                   "resize(\"Camera Window\", 640, 480)",
                                   "move(\"Camera Window\", 11, 12)",
                                   "find(\"Camera Window\") = w1",
                                   "style(w1, 0) = 0x90000",
                                   "setStyle(w1, 0, 0x10000)",
                                   "onMouse(\"Camera Window\")",
                               }));
    EXPECT_EQ(DisplaySize(), (Sizes{640, 480}));
    EXPECT_NE(Get(&ZVK_CameraState::mouseMessage), 0U);
    EXPECT_EQ(Get(&ZVK_CameraState::histogramSupport), 0);
}

TEST_F(CameraWindow, ZeroSizesBecome800By600)
{
    EXPECT_EQ(Make({.width = "0", .height = "0"}), ZVK_SUCCESS);
    EXPECT_EQ(DisplaySize(), (Sizes{800, 600}));
    EXPECT_EQ(Make({.width = "0", .height = "100"}), ZVK_SUCCESS);
    EXPECT_EQ(DisplaySize(), (Sizes{800, 100}));
}

TEST_F(CameraWindow, TheViewGetsTheWindowsSizeAndItsOriginOnASimulatedCameraAlone)
{
    for (const int32_t simulate : {0, 1}) {
        g_camera.simulate = simulate;
        g_camera.viewX = 5;
        g_camera.viewY = 6;
        EXPECT_EQ(Make({}), ZVK_SUCCESS);
        EXPECT_EQ(View(), simulate ? (Sizes{0, 0, 800, 600}) : (Sizes{5, 6, 800, 600}));
    }
}

TEST_F(CameraWindow, AsAChildItIsPutIntoItsParent)
{
    void *parent = windows.Offer("Lab");
    EXPECT_EQ(Make({.child = "1"}), ZVK_SUCCESS);
    const Calls calls = windows.Calls();
    const Calls expected = {
        "find(\"Lab\") = w1", "style(w2, 1) = 0x100", "setStyle(w2, 1, 0x8040108)",
        "raise(w2)",          "setParent(w2, w1)",    "onMouse(\"Camera Window\")",
    };
    EXPECT_EQ(Calls(calls.end() - 6, calls.end()), expected);
    EXPECT_EQ(windows.ParentOf("Camera Window"), parent);
}

TEST_F(CameraWindow, WithoutTheParentItStaysAWindowOfItsOwn)
{
    EXPECT_EQ(Make({.child = "1"}), ZVK_SUCCESS);
    EXPECT_EQ(windows.ParentOf("Camera Window"), nullptr);
    EXPECT_NE(Get(&ZVK_CameraState::mouseMessage), 0U);
}

TEST_F(CameraWindow, TheHistogramsWindowIsMadeForExactly1)
{
    for (const char *support : {"0", "2", "-1"}) {
        EXPECT_EQ(Make({.histogram = support}), ZVK_SUCCESS);
        EXPECT_EQ(windows.OpenTitles(), Calls{"Camera Window"});
    }
    EXPECT_EQ(Get(&ZVK_CameraState::histogramSupport), -1);
    windows.ForgetCalls();
    EXPECT_EQ(Make({.histogram = "1"}), ZVK_SUCCESS);
    const Calls calls = windows.Calls();
    const Calls expected = {
        "open(\"Histogram\")",         "resize(\"Histogram\", 300, 150)",
        "move(\"Histogram\", 13, 14)", "find(\"Histogram\") = w2",
        "style(w2, 0) = 0x90000",      "setStyle(w2, 0, 0x10000)",
    };
    EXPECT_EQ(Calls(calls.end() - 6, calls.end()), expected);
}

TEST_F(CameraWindow, WithoutItsKeyTheHistogramsSupportIsWhatItWas)
{
    EXPECT_EQ(Make({.histogram = "1"}), ZVK_SUCCESS);
    EXPECT_EQ(Make({}, {"HISTOSUPPORT"}), ZVK_CONFILE_NOT_FOUND);
    EXPECT_EQ(Get(&ZVK_CameraState::histogramSupport), 1);
}

TEST_F(CameraWindow, ZeroSizesOfTheHistogramBecome255By100)
{
    EXPECT_EQ(Make({.histogram = "1", .histogramWidth = "0", .histogramHeight = "0"}), 0);
    EXPECT_EQ(windows.Calls().at(8), "resize(\"Histogram\", 255, 100)");
}

TEST_F(CameraWindow, TheHistogramAsAChildHasItsExtendedBitsWrittenToThePlainStyle)
{
    void *parent = windows.Offer("Desk");
    EXPECT_EQ(Make({.histogram = "1", .histogramChild = "1"}), ZVK_SUCCESS);
    const Calls calls = windows.Calls();
    const Calls expected = {
        "find(\"Desk\") = w1", "style(w3, 1) = 0x100", "setStyle(w3, 0, 0x108)",
        "raise(w3)",           "setParent(w3, w1)",
    };
    EXPECT_EQ(Calls(calls.end() - 5, calls.end()), expected);
    EXPECT_EQ(windows.ParentOf("Histogram"), parent);
}

TEST_F(CameraWindow, KeysAreReadInTheirOrderAndOneThatIsMissingEndsIt)
{
    const std::vector<std::string> order = {"CWSIZE_X",   "CWSIZE_Y", "CWOFFSET_X",
                                            "CWOFFSET_Y", "CCW",      "PARENTNAME"};
    for (size_t i = 0; i < order.size(); ++i) {
        std::vector<std::string> without = {order[i]};
        if (i + 1 < order.size()) without.push_back(order[i + 1]);
        folder.Write("log.ini", "");
        EXPECT_EQ(Make({}, without), ZVK_CONFILE_NOT_FOUND);
        EXPECT_NE(folder.Read("log.ini").find("tag " + order[i]), std::string::npos) << order[i];
        EXPECT_EQ(windows.Calls(), Calls{});
        EXPECT_EQ(DisplaySize(), (Sizes{0, 0}));
    }
}

TEST_F(CameraWindow, AnEmptyParentNameIsAMissingOneAlsoForAWindowOfItsOwn)
{
    EXPECT_EQ(Make({.child = "0", .parent = ""}), ZVK_CONFILE_NOT_FOUND);
    EXPECT_EQ(windows.OpenTitles(), Calls{});
}

TEST_F(CameraWindow, KeysOfTheHistogramEndItBehindTheCamerasWindow)
{
    const std::vector<std::string> order = {"HISTOSUPPORT", "HWSIZE_X", "HWSIZE_Y",   "HWOFFSET_X",
                                            "HWOFFSET_Y",   "HCW",      "HPARENTNAME"};
    for (size_t i = 0; i < order.size(); ++i) {
        std::vector<std::string> without = {order[i]};
        if (i + 1 < order.size()) without.push_back(order[i + 1]);
        folder.Write("log.ini", "");
        EXPECT_EQ(Make({.histogram = "1"}, without), ZVK_CONFILE_NOT_FOUND);
        EXPECT_NE(folder.Read("log.ini").find("tag " + order[i]), std::string::npos) << order[i];
        EXPECT_EQ(windows.OpenTitles(), Calls{"Camera Window"});
    }
}

TEST_F(CameraWindow, EachCallOfTheDesktopMayFail)
{
    int64_t nth = 1;
    for (;; ++nth) {
        windows.Offer("Lab");
        windows.FailAt(nth);
        EXPECT_EQ(Make({.child = "1", .histogram = "1", .histogramChild = "1"}), ZVK_SUCCESS);
        EXPECT_EQ(DisplaySize(), (Sizes{800, 600}));
        if (!windows.Failed()) break;
    }
    EXPECT_GT(nth, 15);
}

TEST_F(CameraWindow, AClickIsPostedWithTheFramePixelBehindIt)
{
    BringUp();
    ASSERT_TRUE(windows.Mouse("Camera Window", 1, 400, 300, 1));
    EXPECT_EQ(messages.Posts(),
              (std::vector<Posted>{{"ZVK_MOUSE_EVENT", (1 << 4) | 1, (128 << 12) | 128}}));
    EXPECT_EQ(Get(&ZVK_CameraState::pixelX), 128);
    EXPECT_EQ(Get(&ZVK_CameraState::pixelY), 128);
}

TEST_F(CameraWindow, MovesAndWheelsArePostedAsTheyCome)
{
    BringUp();
    windows.Mouse("Camera Window", 0, 0, 0, 0);
    windows.Mouse("Camera Window", 10, 0, 0, static_cast<int>(0xFF880001));  // wheel, -120
    ASSERT_EQ(messages.Posts().size(), 2U);
    EXPECT_EQ(messages.Posts()[0].first, 0);
    EXPECT_EQ(messages.Posts()[1].first, static_cast<int32_t>(0xF880001A)) << "widened with sign";
}

TEST_F(CameraWindow, TheZoomIsUndoneAndTheFlipIsNot)
{
    BringUp();
    ASSERT_EQ(ZVK_Camera_SetZoom(0, 64, 64, 2.0), ZVK_SUCCESS);
    for (const int32_t flip : {0, 1, 2}) {
        CameraSet(&ZVK_CameraState::flip, flip);
        windows.Mouse("Camera Window", 1, 200, 150, 0);
        EXPECT_EQ(Get(&ZVK_CameraState::pixelX), 32);
        EXPECT_EQ(Get(&ZVK_CameraState::pixelY), 32);
    }
}

TEST_F(CameraWindow, PixelsAreCountedInSinglePrecision)
{
    BringUp({.nativeX = "6000", .nativeY = "4"});
    ASSERT_EQ(View(), (Sizes{0, 0, 3000, 2}));
    const std::pair<int, int32_t> rows[] = {{4, 14}, {5, 18}, {36, 135}, {40, 149}};
    for (const auto &[at, pixel] : rows) {  // 3.75 a window pixel; some fall just short of it
        windows.Mouse("Camera Window", 0, at, 0, 0);
        EXPECT_EQ(Get(&ZVK_CameraState::pixelX), pixel) << at;
    }
}

TEST_F(CameraWindow, PixelsAreThoseOfTheSensorWhenItIsBinned)
{
    BringUp();
    ASSERT_EQ(ZVK_Camera_SetZoom(0, 256, 256, 2.0), ZVK_SUCCESS);
    CameraSet(&ZVK_CameraState::binning, 2);
    windows.Mouse("Camera Window", 0, 400, 300, 0);
    EXPECT_EQ(Get(&ZVK_CameraState::pixelX), 2 * (128 + 64));
    EXPECT_EQ(Get(&ZVK_CameraState::pixelY), 2 * (128 + 64));
}

TEST_F(CameraWindow, APixelBeyond4095RunsIntoTheFieldOfItsNeighbour)
{
    BringUp();
    windows.Mouse("Camera Window", 0, 20000, 300, 0);
    EXPECT_EQ(Get(&ZVK_CameraState::pixelX), 6400);
    EXPECT_EQ(messages.Posts().at(0).second, (128 << 12) | 6400);
    windows.Mouse("Camera Window", 0, -4, 300, 0);
    EXPECT_EQ(messages.Posts().at(1).second, -1) << "-1 fills the word";
}

TEST_F(CameraWindow, AViewWithoutPixelsHasTheViewsOwnCorner)
{
    BringUp();
    ASSERT_EQ(ZVK_Camera_SetZoom(0, 100, 50, 1e6), ZVK_SUCCESS);
    windows.Mouse("Camera Window", 0, 400, 300, 0);
    EXPECT_EQ(Get(&ZVK_CameraState::pixelX), 100);
    EXPECT_EQ(Get(&ZVK_CameraState::pixelY), 50);
}

TEST_F(CameraWindow, BeforeInitAnEventFindsNoPixelAndDoesNoHarm)
{
    ZVK_Camera_MouseCallback(1, 400, 300, 1, nullptr);
    EXPECT_EQ(Get(&ZVK_CameraState::pixelX), 0);
    EXPECT_EQ(messages.Posts().size(), 0U);
}

TEST_F(CameraWindow, MessagesThatCanNotBeSentLeaveThePosition)
{
    messages.FailNames();
    BringUp();
    windows.Mouse("Camera Window", 1, 400, 300, 1);
    EXPECT_EQ(messages.Posts().size(), 0U);
    EXPECT_EQ(Get(&ZVK_CameraState::pixelX), 128);
}

TEST_F(CameraWindow, APostThatFailsLeavesThePositionAndTheNextOneGoesOut)
{
    BringUp();
    messages.FailPosts(-1);
    windows.Mouse("Camera Window", 1, 400, 300, 1);
    EXPECT_EQ(messages.Posts().size(), 0U);
    EXPECT_EQ(Get(&ZVK_CameraState::pixelX), 128);
    EXPECT_EQ(Get(&ZVK_CameraState::pixelY), 128);
    messages.FailPosts(0);
    windows.Mouse("Camera Window", 4, 400, 300, 1);
    EXPECT_EQ(messages.Posts().size(), 1U);
}

TEST_F(CameraWindow, EachCallOfTheDesktopMayFailAtTheEnd)
{
    int64_t nth = 1;
    for (;; ++nth) {
        BringUp({.simulate = "2", .histogram = "1"});
        windows.FailAt(nth);
        EXPECT_EQ(ZVK_Camera_Shutdown(0), ZVK_SUCCESS);
        EXPECT_EQ(Get(&ZVK_CameraState::initialised), 0);
        EXPECT_TRUE(g_camera.displayImage.empty());
        if (!windows.Failed()) break;
    }
    EXPECT_EQ(nth, 3) << "both windows were closed";
}

TEST_F(CameraWindow, ADesktopThatFailsHasNoHandle)
{
    windows.Offer("Lab");
    BringUp({.child = "1"});
    for (int64_t nth = 1;; ++nth) {
        windows.FailAt(nth);
        void *handle = &handle;
        EXPECT_EQ(ZVK_Camera_GetWinHandle(0, &handle), ZVK_SUCCESS);
        if (!windows.Failed()) {
            EXPECT_EQ(handle, windows.Window("Camera Window"));
            EXPECT_EQ(nth, 3);
            break;
        }
        EXPECT_EQ(handle, nullptr) << nth;
    }
}

TEST_F(CameraWindow, ItsHandleIsFoundByTitle)
{
    BringUp();
    void *handle = nullptr;
    EXPECT_EQ(ZVK_Camera_GetWinHandle(0, &handle), ZVK_SUCCESS);
    EXPECT_EQ(handle, windows.Window("Camera Window"));
    EXPECT_EQ(windows.Calls(), Calls{"find(\"Camera Window\") = w1"});
}

TEST_F(CameraWindow, ItsHandleIsLookedForInTheParentAsTheKeysSayNow)
{
    windows.Offer("Lab");
    BringUp({.child = "1"});
    void *handle = nullptr;
    EXPECT_EQ(ZVK_Camera_GetWinHandle(0, &handle), ZVK_SUCCESS);
    EXPECT_EQ(handle, windows.Window("Camera Window"));
    Write({.child = "1", .parent = "Elsewhere"});
    windows.Offer("Elsewhere");
    EXPECT_EQ(ZVK_Camera_GetWinHandle(0, &handle), ZVK_SUCCESS) << "the status doesn't tell it";
    EXPECT_EQ(handle, nullptr);
}

TEST_F(CameraWindow, WithoutTheParentItsHandleIsThatOfTheTopLevelWindow)
{
    BringUp({.child = "1"});
    void *handle = nullptr;
    EXPECT_EQ(ZVK_Camera_GetWinHandle(0, &handle), ZVK_SUCCESS);
    EXPECT_EQ(handle, windows.Window("Camera Window"));
    EXPECT_NE(handle, nullptr);
}

TEST_F(CameraWindow, WithoutInitAndWindowTheHandleIsNullAndTheStatus0)
{
    Write({});
    int some = 0;
    void *handle = &some;
    EXPECT_EQ(ZVK_Camera_GetWinHandle(0, &handle), ZVK_SUCCESS);
    EXPECT_EQ(handle, nullptr);
    EXPECT_EQ(ZVK_Camera_GetWinHandle(0, nullptr), ZVK_SUCCESS);
}

TEST_F(CameraWindow, TheHandlesKeysAreReadParentFirst)
{
    int some = 0;
    void *handle = &some;
    Write({}, {"PARENTNAME", "CCW"});
    EXPECT_EQ(ZVK_Camera_GetWinHandle(0, &handle), ZVK_CONFILE_NOT_FOUND);
    EXPECT_NE(folder.Read("log.ini").find("tag PARENTNAME"), std::string::npos);
    Write({}, {"CCW"});
    EXPECT_EQ(ZVK_Camera_GetWinHandle(0, &handle), ZVK_CONFILE_NOT_FOUND);
    EXPECT_EQ(handle, &some);
}
