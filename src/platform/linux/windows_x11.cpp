// Windows on an X server: what each call of the table does there. What our windows are called and
// how large they are is kept beside it by the windows without a display, so that all goes on
// without a failure when the server goes.

#include "platform/linux/windows_x11_desktop.h"
#include "platform/linux/windows_x11_thread.h"
#include "platform/linux/windows_x11_window.h"
#include "platform/thread_backends.h"
#include "platform/window_backends.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <new>

constexpr int kNoSuchWindow = -1;
constexpr int kNoRoom = -2;
constexpr int kBadPicture = -4;

constexpr uint32_t kSystemMenu = 0x00080000;
constexpr uint32_t kOnTop = 0x00000008;
constexpr uint32_t kNoFocus = 0x08000000;

constexpr int32_t kLargestSide = 32767;  // of a window, as the X server counts

constexpr size_t kBytesPerPixel = 3;

namespace {

struct WindowDesk
{
    // the display's thread's own
    ZVK_ScreenFacts screen;
    std::map<std::string, ZVK_OwnWindow> windows;

    std::mutex guard;  // of the mailboxes' list
    std::map<std::string, std::shared_ptr<ZVK_PictureMailbox>> mailboxes;
};

}  // namespace

static WindowDesk &TheDesk()
{
    static NeverDestroyed<WindowDesk> desk;
    return desk.Get();
}

static void *HandleOf(Window window) { return reinterpret_cast<void *>(window); }

static Window WindowOf(void *handle) { return reinterpret_cast<Window>(handle); }

static ZVK_OwnWindow *ByTitle(const std::string &title)
{
    const auto found = TheDesk().windows.find(title);
    return found == TheDesk().windows.end() ? nullptr : &found->second;
}

static ZVK_OwnWindow *ById(Window id)
{
    for (auto &[title, window] : TheDesk().windows)
        if (window.id == id && id != 0) return &window;
    return nullptr;
}

// -- what the display's thread does by itself --

static bool OnConnected(Display *display) { return ReadScreenFacts(display, TheDesk().screen); }

static void OnAwake(Display *display)
{
    for (auto &[title, window] : TheDesk().windows)
        DrawWaitingPicture(display, TheDesk().screen, window);
}

static ZVK_PointerEvent PointerOf(const XEvent &event)
{
    if (event.type == MotionNotify)
        return {ZVK_POINTER_MOVED,   0,
                event.xmotion.state, static_cast<uint32_t>(event.xmotion.time),
                event.xmotion.x,     event.xmotion.y};
    return {event.type == ButtonPress ? ZVK_POINTER_PRESSED : ZVK_POINTER_RELEASED,
            event.xbutton.button,
            event.xbutton.state,
            static_cast<uint32_t>(event.xbutton.time),
            event.xbutton.x,
            event.xbutton.y};
}

static void OnPointer(const XEvent &event, ZVK_OwnWindow &window)
{
    const Window id = window.id;
    const ZVK_PointerEvent pointer = PointerOf(event);
    const ZVK_MouseCodes codes = DecodePointer(pointer, window.lastPress);
    const ZVK_PicturePoint point = PictureAt(window, pointer.x, pointer.y);
    for (int i = 0; i < codes.count; ++i) {
        const ZVK_OwnWindow *const target = ById(id);  // the callback may have closed it
        if (!target || !target->callback) return;
        target->callback(codes.events[i], point.x, point.y, codes.flags, target->param);
    }
}

static void OnEvent(Display *display, const XEvent &event)
{
    ZVK_OwnWindow *const window = ById(event.xany.window);
    if (!window) return;
    switch (event.type) {
    case Expose:
        if (event.xexpose.count == 0) Repaint(display, *window);
        break;
    case ConfigureNotify:
        TakeSize(display, TheDesk().screen, *window, event.xconfigure.width,
                 event.xconfigure.height);
        break;
    case DestroyNotify: ForgetScreen(display, *window); break;
    case MotionNotify:
    case ButtonPress:
    case ButtonRelease: OnPointer(event, *window); break;
    default:
        if (IsCloseMessage(display, event)) TakeOffScreen(display, *window);
    }
}

static constexpr ZVK_DisplayHooks kHooks = {OnConnected, OnAwake, OnEvent};

// -- the calls --

// Runs a call's work on the display's thread; 0 where there is no display.
static int64_t Ask(std::function<int64_t(Display *)> work) noexcept
{
    try {
        const int64_t result = AskDisplay(std::move(work));
        return result == kDisplayGone ? 0 : result;
    } catch (const std::bad_alloc &) {
        return kNoRoom;
    }
}

// Work with one of our windows that is on the screen; one that isn't keeps what was told it last.
template <class Work>
static int WithOwn(const char *title, Work work)
{
    try {
        return static_cast<int>(Ask([name = std::string(title), work](Display *display) -> int64_t {
            ZVK_OwnWindow *const window = ByTitle(name);
            if (window) work(display, *window);
            return 0;
        }));
    } catch (const std::bad_alloc &) {
        return kNoRoom;
    }
}

static std::shared_ptr<ZVK_PictureMailbox> MailboxOf(const std::string &title)
{
    WindowDesk &desk = TheDesk();
    const std::lock_guard lock(desk.guard);
    const auto found = desk.mailboxes.find(title);
    return found == desk.mailboxes.end() ? nullptr : found->second;
}

static int64_t OpenOnDisplay(Display *display, const std::string &title)
{
    WindowDesk &desk = TheDesk();
    if (!ByTitle(title)) {
        const auto mailbox = std::make_shared<ZVK_PictureMailbox>();
        const std::lock_guard lock(desk.guard);
        desk.mailboxes[title] = mailbox;
        ZVK_OwnWindow &window = desk.windows[title];
        window.title = title;
        window.mailbox = mailbox;
    }
    ZVK_OwnWindow &window = *ByTitle(title);
    if (window.id != 0) return 0;
    window.style = kSystemMenu;
    window.extendedStyle = 0;
    PutOnScreen(display, desk.screen, window);
    (void)TakeDisplayErrors(display);  // until the server knows it
    return 0;
}

static int Open(const char *title)
{
    const int remembered = HeadlessWindows().open(title);
    if (remembered != 0 || !ConnectToDisplay(kHooks)) return remembered;
    try {
        return static_cast<int>(Ask([name = std::string(title)](Display *display) {
            return OpenOnDisplay(display, name);
        }));
    } catch (const std::bad_alloc &) {
        return kNoRoom;
    }
}

static int Resize(const char *title, int32_t width, int32_t height)
{
    const int remembered = HeadlessWindows().resize(title, width, height);
    if (remembered != 0) return remembered;
    const int32_t w = std::clamp(width, 1, kLargestSide);
    const int32_t h = std::clamp(height, 1, kLargestSide);
    return WithOwn(title, [w, h](Display *display, ZVK_OwnWindow &window) {
        TakeSize(display, TheDesk().screen, window, w, h);
        if (window.id == 0) return;
        XResizeWindow(display, window.id, static_cast<unsigned>(w), static_cast<unsigned>(h));
        (void)TakeDisplayErrors(display);
    });
}

static int Move(const char *title, int32_t x, int32_t y)
{
    const int remembered = HeadlessWindows().move(title, x, y);
    if (remembered != 0) return remembered;
    return WithOwn(title, [x, y](Display *display, ZVK_OwnWindow &window) {
        window.x = x;
        window.y = y;
        if (window.id == 0) return;
        TellPlace(display, window);
        XMoveWindow(display, window.id, x, y);
        (void)TakeDisplayErrors(display);
    });
}

static void CopyRows(const ZVK_Picture &picture, ZVK_PictureMailbox &mailbox)
{
    const size_t rowBytes = static_cast<size_t>(picture.width) * kBytesPerPixel;
    mailbox.pixels.resize(rowBytes * static_cast<size_t>(picture.height));
    for (int32_t row = 0; row < picture.height; ++row)
        std::memcpy(mailbox.pixels.data() + rowBytes * static_cast<size_t>(row),
                    picture.pixels + picture.step * row, rowBytes);
    mailbox.width = picture.width;
    mailbox.height = picture.height;
    mailbox.fresh = true;
}

static int Show(const char *title, const ZVK_Picture &picture)
{
    if (!picture.pixels || picture.width <= 0 || picture.height <= 0) return kBadPicture;
    const int remembered = HeadlessWindows().show(title, picture);
    if (remembered != 0) return remembered;
    try {
        const auto mailbox = MailboxOf(title);
        if (!mailbox) return 0;  // there was no display when it was opened
        {
            const std::lock_guard lock(mailbox->guard);
            if (!mailbox->onScreen) return 0;
            CopyRows(picture, *mailbox);
        }
        WakeDisplay();
        return 0;
    } catch (const std::bad_alloc &) {
        return kNoRoom;
    }
}

static int Close(const char *title)
{
    const int remembered = HeadlessWindows().close(title);
    if (remembered != 0) return remembered;
    const int result = WithOwn(title, [](Display *display, ZVK_OwnWindow &window) {
        TakeOffScreen(display, window);
        const std::string name = window.title;
        TheDesk().windows.erase(name);
        (void)TakeDisplayErrors(display);
    });
    WindowDesk &desk = TheDesk();
    const std::lock_guard lock(desk.guard);
    if (const auto found = desk.mailboxes.find(title); found != desk.mailboxes.end())
        desk.mailboxes.erase(found);
    return result;
}

static int OnMouse(const char *title, ZVK_MouseCallback callback, void *param)
{
    const int remembered = HeadlessWindows().onMouse(title, callback, param);
    if (remembered != 0) return remembered;
    return WithOwn(title, [callback, param](Display *, ZVK_OwnWindow &window) {
        window.callback = callback;
        window.param = param;
    });
}

// A handle, or null: also for a failure, which is negative and no window's number.
static void *AskForWindow(std::function<int64_t(Display *)> work)
{
    const int64_t window = Ask(std::move(work));
    return window > 0 ? HandleOf(static_cast<Window>(window)) : nullptr;
}

// Our own windows are known without looking for them, also while a window manager takes one over.
static Window FindOnDisplay(Display *display, const std::string &title)
{
    const ZVK_OwnWindow *const own = ByTitle(title);
    if (own && own->id != 0 && !own->inParent && Exists(display, own->id)) return own->id;
    return FindTopLevel(display, title);
}

static void *Find(const char *title)
{
    if (!title || !ConnectToDisplay(kHooks)) return nullptr;
    try {
        return AskForWindow([name = std::string(title)](Display *display) {
            return static_cast<int64_t>(FindOnDisplay(display, name));
        });
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

static void *FindChild(void *parent, const char *title)
{
    if (!parent || !title) return nullptr;
    try {
        return AskForWindow([parent, name = std::string(title)](Display *display) {
            return static_cast<int64_t>(FindBelow(display, WindowOf(parent), name));
        });
    } catch (const std::bad_alloc &) {
        return nullptr;
    }
}

static uint32_t Style(void *handle, ZVK_WindowStyle which)
{
    const int64_t bits = Ask([=](Display *) -> int64_t {
        const ZVK_OwnWindow *const window = ById(WindowOf(handle));
        if (!window) return 0;
        return which == ZVK_WINDOW_STYLE ? window->style : window->extendedStyle;
    });
    return bits > 0 ? static_cast<uint32_t>(bits) : 0;
}

static int64_t SetStyleOnDisplay(Display *display, Window id, ZVK_WindowStyle which, uint32_t bits)
{
    ZVK_OwnWindow *const window = ById(id);
    if (!window) return kNoSuchWindow;
    if (which == ZVK_WINDOW_STYLE) {
        window->style = bits;
        AdviseSystemMenu(display, id, (bits & kSystemMenu) != 0);
    } else {
        window->extendedStyle = bits;
        AdviseOnTop(display, id, (bits & kOnTop) != 0);
        AdviseFocus(display, id, (bits & kNoFocus) == 0);
    }
    (void)TakeDisplayErrors(display);
    return 0;
}

static int SetStyle(void *handle, ZVK_WindowStyle which, uint32_t bits)
{
    if (!handle) return kNoSuchWindow;
    return static_cast<int>(Ask([=](Display *display) {
        return SetStyleOnDisplay(display, WindowOf(handle), which, bits);
    }));
}

static int Raise(void *handle)
{
    if (!handle) return kNoSuchWindow;
    return static_cast<int>(Ask([=](Display *display) -> int64_t {
        (void)TakeDisplayErrors(display);
        XMapRaised(display, WindowOf(handle));
        return TakeDisplayErrors(display) == 0 ? 0 : kNoSuchWindow;
    }));
}

static int64_t SetParentOnDisplay(Display *display, Window id, Window parent)
{
    // A window of ours keeps its place, which counts from the parent's corner from now on.
    ZVK_OwnWindow *const own = ById(id);
    const bool done = PutInto(display, id, parent, own ? own->x : 0, own ? own->y : 0);
    if (own && done) own->inParent = true;
    return done ? 0 : kNoSuchWindow;
}

static int SetParent(void *handle, void *parent)
{
    if (!handle || !parent) return kNoSuchWindow;
    return static_cast<int>(Ask([=](Display *display) {
        return SetParentOnDisplay(display, WindowOf(handle), WindowOf(parent));
    }));
}

const ZVK_WindowTable &SystemWindows()
{
    static constexpr ZVK_WindowTable kTable = {
        .open = Open,
        .resize = Resize,
        .move = Move,
        .show = Show,
        .close = Close,
        .onMouse = OnMouse,
        .find = Find,
        .findChild = FindChild,
        .style = Style,
        .setStyle = SetStyle,
        .raise = Raise,
        .setParent = SetParent,
    };
    return kTable;
}
