// Windows where there is no display: known by title and size, never drawn, without a handle.

#include "platform/thread_backends.h"
#include "platform/windows.h"

#include <map>
#include <mutex>
#include <new>
#include <string>

constexpr int kNoSuchWindow = -1;
constexpr int kNoRoom = -2;

namespace {

struct HeadlessWindow
{
    int32_t width = 0;
    int32_t height = 0;
    int32_t x = 0;
    int32_t y = 0;
};

struct Desk
{
    std::mutex guard;
    std::map<std::string, HeadlessWindow> windows;
};

}  // namespace

static Desk &TheDesk()
{
    static NeverDestroyed<Desk> desk;
    return desk.Get();
}

// Does something with the window of that title.
template <class Work>
static int With(const char *title, Work work)
{
    try {
        Desk &desk = TheDesk();
        const std::lock_guard lock(desk.guard);
        const auto found = desk.windows.find(title ? title : "");
        if (found == desk.windows.end()) return kNoSuchWindow;
        work(found->second);
        return 0;
    } catch (const std::bad_alloc &) {
        return kNoRoom;
    }
}

static int Open(const char *title)
{
    if (title == nullptr) return kNoSuchWindow;
    try {
        Desk &desk = TheDesk();
        const std::lock_guard lock(desk.guard);
        desk.windows.try_emplace(title);
        return 0;
    } catch (const std::bad_alloc &) {
        return kNoRoom;
    }
}

static int Resize(const char *title, int32_t width, int32_t height)
{
    return With(title, [=](HeadlessWindow &window) {
        window.width = width;
        window.height = height;
    });
}

static int Move(const char *title, int32_t x, int32_t y)
{
    return With(title, [=](HeadlessWindow &window) {
        window.x = x;
        window.y = y;
    });
}

static int Show(const char *title, const ZVK_Picture &)
{
    return With(title, [](HeadlessWindow &) {});
}

static int Close(const char *title)
{
    try {
        Desk &desk = TheDesk();
        const std::lock_guard lock(desk.guard);
        return desk.windows.erase(title ? title : "") == 1 ? 0 : kNoSuchWindow;
    } catch (const std::bad_alloc &) {
        return kNoRoom;
    }
}

static int OnMouse(const char *title, ZVK_MouseCallback, void *)
{
    return With(title, [](HeadlessWindow &) {});
}

static void *Find(const char *) { return nullptr; }

static void *FindChild(void *, const char *) { return nullptr; }

static uint32_t Style(void *, ZVK_WindowStyle) { return 0; }

static int SetStyle(void *, ZVK_WindowStyle, uint32_t) { return kNoSuchWindow; }

static int Raise(void *) { return kNoSuchWindow; }

static int SetParent(void *, void *) { return kNoSuchWindow; }

const ZVK_WindowTable &HeadlessWindows()
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
