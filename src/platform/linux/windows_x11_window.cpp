// One window of ours.

#include "platform/linux/windows_x11_window.h"

#include "platform/linux/windows_x11_desktop.h"

#include <algorithm>

constexpr int kLeastDepth = 15;
constexpr int kDepths[] = {24, 16, 30, 15};
constexpr int kRowUnitBits = 32;
constexpr int kBitsPerByte = 8;

constexpr long kEvents =
    ExposureMask | StructureNotifyMask | ButtonPressMask | ButtonReleaseMask | PointerMotionMask;

static bool PickVisual(Display *display, XVisualInfo &info)
{
    const int screen = DefaultScreen(display);
    info.visual = DefaultVisual(display, screen);
    XVisualInfo pattern = {};
    pattern.visualid = XVisualIDFromVisual(info.visual);
    int count = 0;
    XVisualInfo *const found = XGetVisualInfo(display, VisualIDMask, &pattern, &count);
    const bool suits =
        found && count > 0 && found->c_class == TrueColor && found->depth >= kLeastDepth;
    if (suits) info = *found;
    if (found) XFree(found);
    if (suits) return true;
    return std::ranges::any_of(kDepths, [&](int depth) {
        return XMatchVisualInfo(display, screen, depth, TrueColor, &info) != 0;
    });
}

static int BytesPerPixel(Display *display, int depth)
{
    int count = 0;
    XPixmapFormatValues *const formats = XListPixmapFormats(display, &count);
    int bytes = 0;
    for (int i = 0; formats && i < count; ++i)
        if (formats[i].depth == depth) bytes = formats[i].bits_per_pixel / kBitsPerByte;
    if (formats) XFree(formats);
    return bytes;
}

bool ReadScreenFacts(Display *display, ZVK_ScreenFacts &facts)
{
    XVisualInfo info = {};
    if (!PickVisual(display, info)) return false;
    const int bytes = BytesPerPixel(display, info.depth);
    if (bytes < 2 || bytes > 4) return false;
    facts.visual = info.visual;
    facts.depth = info.depth;
    facts.colors = XCreateColormap(display, DefaultRootWindow(display), info.visual, AllocNone);
    facts.format = {static_cast<uint32_t>(info.red_mask), static_cast<uint32_t>(info.green_mask),
                    static_cast<uint32_t>(info.blue_mask), bytes,
                    ImageByteOrder(display) == MSBFirst};
    return true;
}

static void SetOnScreen(ZVK_OwnWindow &window, bool onScreen)
{
    const std::lock_guard lock(window.mailbox->guard);
    window.mailbox->onScreen = onScreen;
    window.mailbox->fresh = false;
}

// Tells a window manager that the place is the user's own choice.
void TellPlace(Display *display, const ZVK_OwnWindow &window)
{
    XSizeHints hints = {};
    hints.flags = USPosition | USSize;
    hints.x = window.x;
    hints.y = window.y;
    hints.width = window.width;
    hints.height = window.height;
    XSetWMNormalHints(display, window.id, &hints);
}

void PutOnScreen(Display *display, const ZVK_ScreenFacts &facts, ZVK_OwnWindow &window)
{
    XSetWindowAttributes wanted = {};
    wanted.background_pixel = 0;
    wanted.border_pixel = 0;
    wanted.colormap = facts.colors;
    wanted.event_mask = kEvents;
    window.id = XCreateWindow(
        display, DefaultRootWindow(display), window.x, window.y,
        static_cast<unsigned>(window.width), static_cast<unsigned>(window.height), 0, facts.depth,
        InputOutput, facts.visual, CWBackPixel | CWBorderPixel | CWColormap | CWEventMask, &wanted);
    window.gc = XCreateGC(display, window.id, 0, nullptr);
    SetTitle(display, window.id, window.title);
    AdviseClass(display, window.id);
    AdviseFocus(display, window.id, true);
    AskForCloseMessage(display, window.id);
    TellPlace(display, window);
    XMapWindow(display, window.id);
    SetOnScreen(window, true);
}

static void DropImage(ZVK_OwnWindow &window)
{
    if (!window.image) return;
    window.image->data = nullptr;  // belongs to the block
    XDestroyImage(window.image);
    window.image = nullptr;
}

void ForgetScreen(Display *display, ZVK_OwnWindow &window)
{
    SetOnScreen(window, false);
    DropImage(window);
    if (window.gc) XFreeGC(display, window.gc);
    window.gc = nullptr;
    window.id = 0;
    window.inParent = false;
    window.lastPress = {};
}

void TakeOffScreen(Display *display, ZVK_OwnWindow &window)
{
    if (window.id == 0) return;
    XDestroyWindow(display, window.id);
    ForgetScreen(display, window);
}

// An image of the window's size, or none when there is no room for it.
static bool HaveImage(Display *display, const ZVK_ScreenFacts &facts, ZVK_OwnWindow &window)
{
    if (window.image && window.image->width == window.width &&
        window.image->height == window.height)
        return true;
    DropImage(window);
    window.image = XCreateImage(display, facts.visual, static_cast<unsigned>(facts.depth), ZPixmap,
                                0, nullptr, static_cast<unsigned>(window.width),
                                static_cast<unsigned>(window.height), kRowUnitBits, 0);
    if (!window.image) return false;
    try {
        window.block.resize(static_cast<size_t>(window.image->bytes_per_line) *
                            static_cast<size_t>(window.height));
    } catch (const std::bad_alloc &) {
        DropImage(window);
        return false;
    }
    window.image->data = reinterpret_cast<char *>(window.block.data());
    return true;
}

void Repaint(Display *display, ZVK_OwnWindow &window)
{
    if (!window.image || window.id == 0) return;
    XPutImage(display, window.id, window.gc, window.image, 0, 0, 0, 0,
              static_cast<unsigned>(window.image->width),
              static_cast<unsigned>(window.image->height));
}

static void Render(Display *display, const ZVK_ScreenFacts &facts, ZVK_OwnWindow &window)
{
    if (window.pictureWidth == 0 || !HaveImage(display, facts, window)) return;
    const ZVK_Picture picture = {window.picture.data(), window.pictureWidth, window.pictureHeight,
                                 static_cast<int64_t>(window.pictureWidth) * 3};
    const ZVK_ScreenBlock block = {window.block.data(), window.width, window.height,
                                   window.image->bytes_per_line};
    try {
        FillScreenBlock(picture, facts.format, block, window.columns);
    } catch (const std::bad_alloc &) {
        return;  // the frame is left out
    }
    Repaint(display, window);
}

void DrawWaitingPicture(Display *display, const ZVK_ScreenFacts &facts, ZVK_OwnWindow &window)
{
    {
        ZVK_PictureMailbox &mailbox = *window.mailbox;
        const std::lock_guard lock(mailbox.guard);
        if (!mailbox.fresh) return;
        mailbox.fresh = false;
        window.picture.swap(mailbox.pixels);  // the sender fills the old one again
        window.pictureWidth = mailbox.width;
        window.pictureHeight = mailbox.height;
    }
    if (window.id != 0) Render(display, facts, window);
}

void TakeSize(Display *display, const ZVK_ScreenFacts &facts, ZVK_OwnWindow &window, int32_t width,
              int32_t height)
{
    if (window.width == width && window.height == height) return;
    window.width = width;
    window.height = height;
    Render(display, facts, window);
}

ZVK_PicturePoint PictureAt(const ZVK_OwnWindow &window, int32_t x, int32_t y)
{
    const int32_t width = window.pictureWidth > 0 ? window.pictureWidth : window.width;
    const int32_t height = window.pictureHeight > 0 ? window.pictureHeight : window.height;
    return {NearestPixel(x, window.width, width), NearestPixel(y, window.height, height)};
}
