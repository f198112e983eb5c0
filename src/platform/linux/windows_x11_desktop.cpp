// Windows of the screen whoever owns them.

#include "platform/linux/windows_x11_desktop.h"

#include "platform/linux/windows_x11_thread.h"

#include <X11/Xatom.h>
#include <X11/Xutil.h>

#include <poll.h>
#include <unistd.h>
#include <vector>

constexpr long kLongestTitle = 1024;  // in units of 4 bytes

constexpr int kManagerLooks = 50;  // at a window manager that lets a window go
constexpr int kLookMs = 10;

// The hints of Motif, which window managers still go by: which fields count, what may be done with
// the window, what it is decorated with.
constexpr long kHintFields = 1 | 2;
constexpr long kResizeAndMove = 2 | 4;
constexpr long kBorderHandlesTitle = 2 | 4 | 8;
constexpr int kHintCount = 5;

constexpr long kStateRemove = 0;
constexpr long kStateAdd = 1;
constexpr long kFromApplication = 1;

static Atom Named(Display *display, const char *name) { return XInternAtom(display, name, False); }

static bool HasProperty(Display *display, Window window, const char *name)
{
    Atom type = None;
    int format = 0;
    unsigned long count = 0;
    unsigned long left = 0;
    unsigned char *bytes = nullptr;
    const int result = XGetWindowProperty(display, window, Named(display, name), 0, 0, False,
                                          AnyPropertyType, &type, &format, &count, &left, &bytes);
    if (bytes) XFree(bytes);
    return result == Success && type != None;
}

static std::string TextProperty(Display *display, Window window, Atom name)
{
    Atom type = None;
    int format = 0;
    unsigned long count = 0;
    unsigned long left = 0;
    unsigned char *bytes = nullptr;
    const int result = XGetWindowProperty(display, window, name, 0, kLongestTitle, False,
                                          AnyPropertyType, &type, &format, &count, &left, &bytes);
    std::string text;
    if (result == Success && bytes && format == 8)
        text.assign(reinterpret_cast<const char *>(bytes), count);
    if (bytes) XFree(bytes);
    return text;
}

static bool HasTitle(Display *display, Window window, const std::string &title)
{
    const std::string modern = TextProperty(display, window, Named(display, "_NET_WM_NAME"));
    if (!modern.empty()) return modern == title;
    return TextProperty(display, window, XA_WM_NAME) == title;
}

static std::vector<Window> ChildrenOf(Display *display, Window window)
{
    Window root = None;
    Window parent = None;
    Window *children = nullptr;
    unsigned int count = 0;
    std::vector<Window> result;
    if (XQueryTree(display, window, &root, &parent, &children, &count) && children)
        result.assign(children, children + count);
    if (children) XFree(children);
    return result;
}

static Window ParentOf(Display *display, Window window)
{
    Window root = None;
    Window parent = None;
    Window *children = nullptr;
    unsigned int count = 0;
    if (!XQueryTree(display, window, &root, &parent, &children, &count)) return None;
    if (children) XFree(children);
    return parent;
}

// A window manager puts a client's window into a frame and marks it with a state.
static Window ManagedBelow(Display *display, Window window)
{
    if (HasProperty(display, window, "WM_STATE")) return window;
    for (const Window child : ChildrenOf(display, window)) {
        const Window found = ManagedBelow(display, child);
        if (found != None) return found;
    }
    return None;
}

void SetTitle(Display *display, Window window, const std::string &title)
{
    const auto *const bytes = reinterpret_cast<const unsigned char *>(title.data());
    const int length = static_cast<int>(title.size());
    XChangeProperty(display, window, XA_WM_NAME, XA_STRING, 8, PropModeReplace, bytes, length);
    XChangeProperty(display, window, Named(display, "_NET_WM_NAME"), Named(display, "UTF8_STRING"),
                    8, PropModeReplace, bytes, length);
}

bool Exists(Display *display, Window window)
{
    XWindowAttributes facts = {};
    return XGetWindowAttributes(display, window, &facts) != 0;
}

Window FindTopLevel(Display *display, const std::string &title)
{
    for (const Window child : ChildrenOf(display, DefaultRootWindow(display))) {
        if (HasTitle(display, child, title)) return child;
        const Window managed = ManagedBelow(display, child);
        if (managed != None && HasTitle(display, managed, title)) return managed;
    }
    return None;
}

Window FindBelow(Display *display, Window parent, const std::string &title)
{
    for (const Window child : ChildrenOf(display, parent))
        if (HasTitle(display, child, title)) return child;
    return None;
}

void AdviseSystemMenu(Display *display, Window window, bool wanted)
{
    const Atom name = Named(display, "_MOTIF_WM_HINTS");
    if (wanted) {
        XDeleteProperty(display, window, name);
        return;
    }
    const long hints[kHintCount] = {kHintFields, kResizeAndMove, kBorderHandlesTitle, 0, 0};
    XChangeProperty(display, window, name, name, 32, PropModeReplace,
                    reinterpret_cast<const unsigned char *>(hints), kHintCount);
}

void AdviseOnTop(Display *display, Window window, bool wanted)
{
    const Atom state = Named(display, "_NET_WM_STATE");
    const Atom above = Named(display, "_NET_WM_STATE_ABOVE");
    if (!HasProperty(display, window, "WM_STATE")) {  // a manager reads it when it takes the window
        const auto *const bytes = reinterpret_cast<const unsigned char *>(&above);
        XChangeProperty(display, window, state, XA_ATOM, 32, PropModeReplace, bytes, wanted);
        return;
    }
    XEvent message = {};
    message.xclient.type = ClientMessage;
    message.xclient.window = window;
    message.xclient.message_type = state;
    message.xclient.format = 32;
    message.xclient.data.l[0] = wanted ? kStateAdd : kStateRemove;
    message.xclient.data.l[1] = static_cast<long>(above);
    message.xclient.data.l[3] = kFromApplication;
    XSendEvent(display, DefaultRootWindow(display), False,
               SubstructureNotifyMask | SubstructureRedirectMask, &message);
}

void AdviseFocus(Display *display, Window window, bool wanted)
{
    XWMHints hints = {};
    hints.flags = InputHint;
    hints.input = wanted ? True : False;
    XSetWMHints(display, window, &hints);
}

void AdviseClass(Display *display, Window window)
{
    char name[] = "quorvex";
    char group[] = "Quorvex";
    XClassHint hint = {name, group};
    XSetClassHint(display, window, &hint);
    const long process = getpid();
    XChangeProperty(display, window, Named(display, "_NET_WM_PID"), XA_CARDINAL, 32,
                    PropModeReplace, reinterpret_cast<const unsigned char *>(&process), 1);
}

void AskForCloseMessage(Display *display, Window window)
{
    Atom wanted = Named(display, "WM_DELETE_WINDOW");
    XSetWMProtocols(display, window, &wanted, 1);
}

bool IsCloseMessage(Display *display, const XEvent &event)
{
    return event.type == ClientMessage &&
           event.xclient.message_type == Named(display, "WM_PROTOCOLS") &&
           static_cast<Atom>(event.xclient.data.l[0]) == Named(display, "WM_DELETE_WINDOW");
}

// A managed window that is put elsewhere without leave of its manager ends up unmapped.
static void LeaveManager(Display *display, Window window)
{
    if (!HasProperty(display, window, "WM_STATE")) return;
    const Window root = DefaultRootWindow(display);
    XWithdrawWindow(display, window, DefaultScreen(display));
    XSync(display, False);
    for (int look = 0; look < kManagerLooks; ++look) {
        XWindowAttributes facts = {};
        if (!XGetWindowAttributes(display, window, &facts)) return;
        if (facts.map_state == IsUnmapped && ParentOf(display, window) == root) return;
        (void)poll(nullptr, 0, kLookMs);
    }
}

bool PutInto(Display *display, Window window, Window parent, int32_t x, int32_t y)
{
    (void)TakeDisplayErrors(display);
    LeaveManager(display, window);
    XReparentWindow(display, window, parent, x, y);
    const bool done = TakeDisplayErrors(display) == 0;
    XMapWindow(display, window);  // where it was when the parent has gone
    return TakeDisplayErrors(display) == 0 && done;
}
