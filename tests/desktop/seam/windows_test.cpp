// Windows of the seam on a screen: what is seen, where clicks arrive, and who else is there.

#include "platform/windows.h"
#include "virtual_screen.h"

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <thread>

constexpr const char *kTitle = "Camera Window";
constexpr int32_t kWidth = 400;
constexpr int32_t kHeight = 300;

static VirtualScreen &Desk()
{
    static VirtualScreen screen;  // one for all tests of this program
    return screen;
}

static const cv::Vec3b kOrange(0, 128, 255);
static const cv::Vec3b kTeal(200, 180, 0);

static cv::Mat Plain(const cv::Vec3b &colour, int width = kWidth, int height = kHeight)
{
    return {height, width, CV_8UC3, cv::Scalar(colour[0], colour[1], colour[2])};
}

static int Show(const cv::Mat &picture, const char *title = kTitle)
{
    return Windows().show(
        title, {picture.data, picture.cols, picture.rows, static_cast<int64_t>(picture.step)});
}

struct MouseNote
{
    int event;
    int x;
    int y;
    int flags;
    bool operator==(const MouseNote &) const = default;
};

static void PrintTo(const MouseNote &note, std::ostream *out)
{
    *out << note.event << " at " << note.x << ", " << note.y << " flags " << note.flags;
}

class MouseNotes
{
public:
    static void Take(int event, int x, int y, int flags, void *notes)
    {
        auto *const self = static_cast<MouseNotes *>(notes);
        const std::lock_guard lock(self->m_guard);
        if (event != 0) self->m_notes.push_back({event, x, y, flags});
        self->m_last = {event, x, y, flags};
    }

    std::vector<MouseNote> All()
    {
        const std::lock_guard lock(m_guard);
        return m_notes;
    }

    MouseNote Last()
    {
        const std::lock_guard lock(m_guard);
        return m_last;
    }

private:
    std::mutex m_guard;
    std::vector<MouseNote> m_notes;  // without moves
    MouseNote m_last = {};
};

class WindowsOnScreen : public testing::Test
{
protected:
    WindowsOnScreen()
    {
        Desk().MoveTo(1000, 700);
        (void)Windows().open(kTitle);
        (void)Windows().resize(kTitle, kWidth, kHeight);
        (void)Windows().move(kTitle, 100, 50);
    }

    ~WindowsOnScreen() override { (void)Windows().close(kTitle); }

    static bool ShowsSoon(int x, int y, const cv::Vec3b &colour)
    {
        return Soon([&] { return Desk().PixelAt(x, y) == colour; });
    }
};

TEST_F(WindowsOnScreen, HaveTheirTitleSizeAndPlace)
{
    const Window window = Desk().Find(kTitle);
    ASSERT_NE(window, 0U);
    const XWindowAttributes facts = Desk().FactsOf(window);
    EXPECT_EQ(facts.width, kWidth);
    EXPECT_EQ(facts.height, kHeight);
    EXPECT_EQ(facts.x, 100);
    EXPECT_EQ(facts.y, 50);
    EXPECT_EQ(facts.map_state, IsViewable);
}

TEST_F(WindowsOnScreen, ShowThePictureInItsColours)
{
    cv::Mat picture = Plain(kTeal);
    picture(cv::Rect(200, 100, 50, 40)).setTo(cv::Scalar(0, 128, 255));
    ASSERT_EQ(Show(picture), 0);

    ASSERT_TRUE(ShowsSoon(100, 50, kTeal));
    ASSERT_TRUE(ShowsSoon(100 + kWidth - 1, 50 + kHeight - 1, kTeal));
    const cv::Mat seen = Desk().Look("window");
    EXPECT_EQ(seen.at<cv::Vec3b>(50 + 100, 100 + 200), kOrange);
    EXPECT_EQ(seen.at<cv::Vec3b>(50 + 139, 100 + 249), kOrange);
    EXPECT_EQ(seen.at<cv::Vec3b>(50 + 140, 100 + 250), kTeal);
    EXPECT_EQ(seen.at<cv::Vec3b>(50 + 299, 100 + 399), kTeal);
    EXPECT_EQ(seen.at<cv::Vec3b>(50 + 300, 100 + 400), cv::Vec3b(0, 0, 0)) << "beside the window";
}

TEST_F(WindowsOnScreen, ShowPartsOfLargerPicturesByTheirStep)
{
    cv::Mat large = Plain(kTeal, kWidth + 100, kHeight);
    large(cv::Rect(kWidth, 0, 100, kHeight)).setTo(cv::Scalar(1, 1, 1));
    ASSERT_EQ(Show(large(cv::Rect(0, 0, kWidth, kHeight))), 0);
    ASSERT_TRUE(ShowsSoon(100, 50, kTeal));
    EXPECT_TRUE(ShowsSoon(100 + kWidth - 1, 50 + kHeight - 1, kTeal));
}

TEST_F(WindowsOnScreen, StretchThePictureWhenTheyGrow)
{
    ASSERT_EQ(Show(Plain(kOrange)), 0);
    ASSERT_TRUE(ShowsSoon(120, 60, kOrange));

    ASSERT_EQ(Windows().resize(kTitle, 600, 500), 0);
    EXPECT_TRUE(ShowsSoon(100 + 599, 50 + 499, kOrange));

    MouseNotes notes;
    ASSERT_EQ(Windows().onMouse(kTitle, MouseNotes::Take, &notes), 0);
    Desk().Click(100 + 300, 50 + 250);
    ASSERT_TRUE(Soon([&] { return notes.All().size() == 2; }));
    EXPECT_EQ(notes.All()[0], (MouseNote{1, 200, 150, 1})) << "in pixels of the picture";
    (void)Windows().onMouse(kTitle, nullptr, nullptr);
}

TEST_F(WindowsOnScreen, TellOfClicksWheelAndDrag)
{
    MouseNotes notes;
    ASSERT_EQ(Windows().onMouse(kTitle, MouseNotes::Take, &notes), 0);

    Desk().Click(100 + 30, 50 + 40);
    Desk().Click(100 + 60, 50 + 70, 3);
    Desk().Click(100 + 60, 50 + 70, 4);
    Desk().MoveTo(100 + 200, 50 + 100);
    Desk().Button(1, true);
    Desk().MoveTo(100 + 210, 50 + 110);
    ASSERT_TRUE(Soon([&] { return notes.Last() == MouseNote{0, 210, 110, 1}; }));
    Desk().MoveTo(20, 20);
    Desk().Button(1, false);

    const std::vector<MouseNote> expected = {
        {1, 30, 40, 1},   {4, 30, 40, 1}, {2, 60, 70, 2}, {5, 60, 70, 2}, {10, 60, 70, 120 * 65536},
        {1, 200, 100, 1}, {4, 0, 0, 1}};
    ASSERT_TRUE(Soon([&] { return notes.All().size() == expected.size(); }));
    EXPECT_EQ(notes.All(), expected) << "a drag that leaves the window ends at its edge";
    (void)Windows().onMouse(kTitle, nullptr, nullptr);
}

static void CloseFromInside(int event, int, int, int, void *calls)
{
    ++*static_cast<std::atomic<int> *>(calls);
    if (event == 1) (void)Windows().close(kTitle);
}

TEST_F(WindowsOnScreen, MayBeClosedByTheirMouseCallback)
{
    std::atomic<int> calls = 0;
    ASSERT_EQ(Windows().onMouse(kTitle, CloseFromInside, &calls), 0);
    Desk().Click(150, 100);
    EXPECT_TRUE(Soon([&] { return Desk().Find(kTitle) == 0; }));
    EXPECT_GE(calls, 1);
}

TEST_F(WindowsOnScreen, AreFoundByTheirTitleAlone)
{
    EXPECT_EQ(Windows().find(kTitle), reinterpret_cast<void *>(Desk().Find(kTitle)));
    EXPECT_EQ(Windows().find("Camera"), nullptr);
    EXPECT_EQ(Windows().find(nullptr), nullptr);
}

static Window MakeClient(const char *title)
{
    Display *const display = Desk().Connection();
    const Window window = XCreateSimpleWindow(display, DefaultRootWindow(display), 300, 200, 600,
                                              500, 0, 0, 0x404040);
    XStoreName(display, window, title);
    XMapWindow(display, window);
    XSync(display, False);
    return window;
}

TEST_F(WindowsOnScreen, WorkOnInsideAClientsWindow)
{
    const Window client = MakeClient("Client");
    void *const parent = Windows().find("Client");
    ASSERT_EQ(parent, reinterpret_cast<void *>(client));
    void *const window = Windows().find(kTitle);
    ASSERT_EQ(Windows().findChild(parent, kTitle), nullptr);

    ASSERT_EQ(Windows().setParent(window, parent), 0);

    EXPECT_EQ(Windows().findChild(parent, kTitle), window);
    EXPECT_EQ(Windows().find(kTitle), nullptr) << "no top-level window any more";
    ASSERT_EQ(Show(Plain(kOrange)), 0);
    EXPECT_TRUE(ShowsSoon(300 + 100, 200 + 50, kOrange)) << "its place counts from the parent";
    MouseNotes notes;
    ASSERT_EQ(Windows().onMouse(kTitle, MouseNotes::Take, &notes), 0);
    Desk().Click(300 + 100 + 11, 200 + 50 + 22);
    ASSERT_TRUE(Soon([&] { return notes.All().size() == 2; }));
    EXPECT_EQ(notes.All()[0], (MouseNote{1, 11, 22, 1}));
    (void)Desk().Look("window_in_client");
    (void)Windows().onMouse(kTitle, nullptr, nullptr);

    // The parent goes, and takes the window with it.
    XDestroyWindow(Desk().Connection(), client);
    XSync(Desk().Connection(), False);
    EXPECT_TRUE(Soon([&] { return Desk().Find(kTitle) == 0; }));
    EXPECT_EQ(Show(Plain(kTeal)), 0);
    EXPECT_EQ(Windows().findChild(parent, kTitle), nullptr);
    EXPECT_LT(Windows().setParent(window, parent), 0);
    EXPECT_LT(Windows().raise(window), 0);

    ASSERT_EQ(Windows().open(kTitle), 0);
    EXPECT_NE(Windows().find(kTitle), nullptr) << "a new one can be opened";
}

TEST_F(WindowsOnScreen, StayAsTheyAreWhenTheParentHasGone)
{
    const Window client = MakeClient("Client");
    XDestroyWindow(Desk().Connection(), client);
    XSync(Desk().Connection(), False);
    void *const window = Windows().find(kTitle);

    EXPECT_LT(Windows().setParent(window, reinterpret_cast<void *>(client)), 0);

    EXPECT_EQ(Windows().find(kTitle), window);
    EXPECT_LT(Windows().setParent(window, nullptr), 0);
    EXPECT_LT(Windows().setParent(nullptr, window), 0);
}

TEST_F(WindowsOnScreen, CarryTheirStylesAsAdviceToTheWindowManager)
{
    void *const window = Windows().find(kTitle);
    const Window id = Desk().Find(kTitle);
    ASSERT_EQ(Windows().style(window, ZVK_WINDOW_STYLE) & 0x80000, 0x80000U);

    ASSERT_EQ(Windows().setStyle(window, ZVK_WINDOW_STYLE, 0), 0);
    EXPECT_EQ(Windows().style(window, ZVK_WINDOW_STYLE), 0U);
    EXPECT_EQ(Desk().Numbers(id, "_MOTIF_WM_HINTS"), (std::vector<long>{3, 6, 14, 0, 0}));

    ASSERT_EQ(Windows().setStyle(window, ZVK_WINDOW_EXTENDED_STYLE, 0x08040008), 0);
    EXPECT_EQ(Windows().style(window, ZVK_WINDOW_EXTENDED_STYLE), 0x08040008U);
    const auto above = XInternAtom(Desk().Connection(), "_NET_WM_STATE_ABOVE", False);
    EXPECT_EQ(Desk().Numbers(id, "_NET_WM_STATE"), std::vector<long>{static_cast<long>(above)});
    EXPECT_EQ(Desk().Numbers(id, "WM_HINTS")[1], 0) << "takes no focus";

    EXPECT_EQ(Windows().style(nullptr, ZVK_WINDOW_STYLE), 0U);
    EXPECT_LT(Windows().setStyle(nullptr, ZVK_WINDOW_STYLE, 0), 0);
    EXPECT_EQ(Windows().raise(window), 0);
}

TEST_F(WindowsOnScreen, StayClosedWhenTheirUserClosesThem)
{
    Desk().AskToClose(Desk().Find(kTitle));
    ASSERT_TRUE(Soon([&] { return Desk().Find(kTitle) == 0; }));

    EXPECT_EQ(Show(Plain(kTeal)), 0);
    EXPECT_EQ(Windows().resize(kTitle, 200, 100), 0);
    EXPECT_EQ(Windows().find(kTitle), nullptr);

    ASSERT_EQ(Windows().open(kTitle), 0);
    EXPECT_EQ(Desk().FactsOf(Desk().Find(kTitle)).width, 200) << "with the size told since";
    ASSERT_EQ(Show(Plain(kOrange)), 0);
    EXPECT_TRUE(ShowsSoon(110, 60, kOrange));
}

TEST_F(WindowsOnScreen, AreUnknownAfterClose)
{
    ASSERT_EQ(Windows().close(kTitle), 0);
    EXPECT_EQ(Desk().Find(kTitle), 0U);
    EXPECT_LT(Windows().close(kTitle), 0);
    EXPECT_LT(Windows().resize(kTitle, 10, 10), 0);
    EXPECT_LT(Windows().move(kTitle, 10, 10), 0);
    EXPECT_LT(Show(Plain(kTeal)), 0);
    EXPECT_LT(Windows().onMouse(kTitle, MouseNotes::Take, nullptr), 0);
    EXPECT_LT(Windows().open(nullptr), 0);
}

TEST_F(WindowsOnScreen, RefuseWhatIsNoPicture)
{
    const uint8_t pixel[3] = {1, 2, 3};
    EXPECT_LT(Windows().show(kTitle, {nullptr, 1, 1, 3}), 0);
    EXPECT_LT(Windows().show(kTitle, {pixel, 0, 1, 3}), 0);
    EXPECT_LT(Windows().show(kTitle, {pixel, 1, 0, 3}), 0);
    EXPECT_EQ(Windows().show(kTitle, {pixel, 1, 1, 3}), 0);
    EXPECT_TRUE(ShowsSoon(100 + 399, 50 + 299, cv::Vec3b(1, 2, 3)));
}

TEST_F(WindowsOnScreen, WorkFromManyThreadsAtOnce)
{
    std::vector<std::thread> threads;
    std::atomic<int> failures = 0;
    for (int number = 0; number < 4; ++number)
        threads.emplace_back([&failures, number] {
            const std::string title = "Window " + std::to_string(number);
            for (int round = 0; round < 25; ++round) {
                failures += Windows().open(title.c_str()) != 0;
                failures += Windows().resize(title.c_str(), 50 + round, 40) != 0;
                failures += Show(Plain(kTeal, 50, 40), title.c_str()) != 0;
                failures += Show(Plain(kTeal)) != 0;
                failures += Windows().find(title.c_str()) == nullptr;
                failures += Windows().close(title.c_str()) != 0;
            }
        });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(failures, 0);
    EXPECT_TRUE(ShowsSoon(110, 60, kTeal));
}

TEST_F(WindowsOnScreen, TakeOneThreadHoweverOftenTheyOpen)
{
    const int before = CountThreads();
    for (int round = 0; round < 100; ++round) {
        ASSERT_EQ(Windows().open("Again"), 0);
        ASSERT_EQ(Windows().close("Again"), 0);
    }
    EXPECT_EQ(CountThreads(), before);
}

static std::atomic<int> s_clientErrors = 0;

static int CountClientError(Display *, XErrorEvent *)
{
    ++s_clientErrors;
    return 0;
}

// The handler of the process: put in place before the library connects, as a toolkit does.
static const XErrorHandler s_before = XSetErrorHandler(CountClientError);

TEST_F(WindowsOnScreen, LeaveAClientItsOwnErrors)
{
    (void)s_before;
    s_clientErrors = 0;
    XDestroyWindow(Desk().Connection(), 1);  // no window
    XSync(Desk().Connection(), False);
    EXPECT_EQ(s_clientErrors, 1);

    EXPECT_LT(Windows().raise(reinterpret_cast<void *>(1)), 0);
    EXPECT_EQ(s_clientErrors, 1) << "errors of the library's windows stay inside";
}
