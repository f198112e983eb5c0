#include "recording_windows.h"

#include "platform/windows.h"

#include <deque>
#include <mutex>
#include <sstream>

constexpr int kToldFailure = -7;
constexpr uint32_t kPlainStyle = 0x00090000;
constexpr uint32_t kPlainExtendedStyle = 0x00000100;

struct ToldWindow
{
    std::string title;
    bool open = true;
    void *parent = nullptr;
    uint32_t styles[2] = {kPlainStyle, kPlainExtendedStyle};
    ZVK_MouseCallback callback = nullptr;
    void *param = nullptr;
};

struct WindowsRecord
{
    std::mutex guard;  // of all below
    std::deque<ToldWindow> windows;
    std::vector<std::string> calls;
    std::vector<RecordingWindows::Shown> pictures;
    int64_t failAt = 0;
    bool failed = false;
    std::function<void()> onShow;
};

static WindowsRecord s_record;

static bool Fails()
{
    if (s_record.failAt == 0 || --s_record.failAt > 0) return false;
    s_record.failed = true;
    return true;
}

static ToldWindow *Titled(const std::string &title, const void *parent)
{
    for (ToldWindow &window : s_record.windows)
        if (window.open && window.title == title && window.parent == parent) return &window;
    return nullptr;
}

static ToldWindow *Own(const std::string &title)
{
    for (ToldWindow &window : s_record.windows)
        if (window.open && window.title == title) return &window;
    return nullptr;
}

static ToldWindow *Known(const void *handle)
{
    for (ToldWindow &window : s_record.windows)
        if (window.open && &window == handle) return &window;
    return nullptr;
}

static std::string NameOf(const void *handle)
{
    for (size_t i = 0; i < s_record.windows.size(); ++i)
        if (&s_record.windows[i] == handle) return "w" + std::to_string(i + 1);
    return "null";
}

static std::string Quoted(const char *title) { return std::string("\"") + title + "\""; }

static std::string Hex(uint32_t bits)
{
    std::ostringstream text;
    text << "0x" << std::hex << bits;
    return text.str();
}

static void Keep(const std::string &call) { s_record.calls.push_back(call); }

static int Open(const char *title)
{
    const std::lock_guard lock(s_record.guard);
    Keep("open(" + Quoted(title) + ")");
    if (Fails()) return kToldFailure;
    if (Own(title) == nullptr) s_record.windows.emplace_back().title = title;
    return 0;
}

static int Resize(const char *title, int32_t width, int32_t height)
{
    const std::lock_guard lock(s_record.guard);
    Keep("resize(" + Quoted(title) + ", " + std::to_string(width) + ", " + std::to_string(height) +
         ")");
    return Fails() ? kToldFailure : 0;
}

static int Move(const char *title, int32_t x, int32_t y)
{
    const std::lock_guard lock(s_record.guard);
    Keep("move(" + Quoted(title) + ", " + std::to_string(x) + ", " + std::to_string(y) + ")");
    return Fails() ? kToldFailure : 0;
}

static int Show(const char *title, const ZVK_Picture &picture)
{
    std::function<void()> onShow;
    {
        const std::lock_guard lock(s_record.guard);
        if (Fails()) return kToldFailure;
        const uint8_t *first = picture.pixels;
        s_record.pictures.push_back(
            {title, picture.width, picture.height, {first[0], first[1], first[2]}});
        onShow = s_record.onShow;
    }
    if (onShow) onShow();
    return 0;
}

static int Close(const char *title)
{
    const std::lock_guard lock(s_record.guard);
    Keep("close(" + Quoted(title) + ")");
    ToldWindow *window = Own(title);
    if (Fails() || window == nullptr) return kToldFailure;
    window->open = false;
    return 0;
}

static int OnMouse(const char *title, ZVK_MouseCallback callback, void *param)
{
    const std::lock_guard lock(s_record.guard);
    Keep("onMouse(" + Quoted(title) + ")");
    ToldWindow *window = Own(title);
    if (Fails() || window == nullptr) return kToldFailure;
    window->callback = callback;
    window->param = param;
    return 0;
}

static void *Find(const char *title)
{
    const std::lock_guard lock(s_record.guard);
    void *found = Fails() ? nullptr : Titled(title, nullptr);
    Keep("find(" + Quoted(title) + ") = " + NameOf(found));
    return found;
}

static void *FindChild(void *parent, const char *title)
{
    const std::lock_guard lock(s_record.guard);
    void *found = Fails() ? nullptr : Titled(title, parent);
    Keep("findChild(" + NameOf(parent) + ", " + Quoted(title) + ") = " + NameOf(found));
    return found;
}

static uint32_t Style(void *handle, ZVK_WindowStyle which)
{
    const std::lock_guard lock(s_record.guard);
    const ToldWindow *window = Known(handle);
    const uint32_t bits = Fails() || window == nullptr ? 0 : window->styles[which];
    Keep("style(" + NameOf(handle) + ", " + std::to_string(which) + ") = " + Hex(bits));
    return bits;
}

static int SetStyle(void *handle, ZVK_WindowStyle which, uint32_t bits)
{
    const std::lock_guard lock(s_record.guard);
    Keep("setStyle(" + NameOf(handle) + ", " + std::to_string(which) + ", " + Hex(bits) + ")");
    ToldWindow *window = Known(handle);
    if (Fails() || window == nullptr) return kToldFailure;
    window->styles[which] = bits;
    return 0;
}

static int Raise(void *handle)
{
    const std::lock_guard lock(s_record.guard);
    Keep("raise(" + NameOf(handle) + ")");
    return Fails() || Known(handle) == nullptr ? kToldFailure : 0;
}

static int SetParent(void *handle, void *parent)
{
    const std::lock_guard lock(s_record.guard);
    Keep("setParent(" + NameOf(handle) + ", " + NameOf(parent) + ")");
    ToldWindow *window = Known(handle);
    if (Fails() || window == nullptr || Known(parent) == nullptr) return kToldFailure;
    window->parent = parent;
    return 0;
}

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

RecordingWindows::RecordingWindows()
{
    const std::lock_guard lock(s_record.guard);
    s_record.windows.clear();
    s_record.calls.clear();
    s_record.pictures.clear();
    s_record.failAt = 0;
    s_record.failed = false;
    s_record.onShow = nullptr;
    UseWindows(&kTable);
}

RecordingWindows::~RecordingWindows()
{
    UseWindows(nullptr);
    OnShow(nullptr);
}

std::vector<std::string> RecordingWindows::Calls() const
{
    const std::lock_guard lock(s_record.guard);
    return s_record.calls;
}

void RecordingWindows::ForgetCalls()
{
    const std::lock_guard lock(s_record.guard);
    s_record.calls.clear();
}

std::vector<RecordingWindows::Shown> RecordingWindows::Pictures() const
{
    const std::lock_guard lock(s_record.guard);
    return s_record.pictures;
}

void *RecordingWindows::Offer(const std::string &title)
{
    const std::lock_guard lock(s_record.guard);
    s_record.windows.emplace_back().title = title;
    return &s_record.windows.back();
}

void *RecordingWindows::Window(const std::string &title) const
{
    const std::lock_guard lock(s_record.guard);
    return Own(title);
}

void *RecordingWindows::ParentOf(const std::string &title) const
{
    const std::lock_guard lock(s_record.guard);
    const ToldWindow *window = Own(title);
    return window ? window->parent : nullptr;
}

std::vector<std::string> RecordingWindows::OpenTitles() const
{
    const std::lock_guard lock(s_record.guard);
    std::vector<std::string> titles;
    for (const ToldWindow &window : s_record.windows)
        if (window.open) titles.push_back(window.title);
    return titles;
}

bool RecordingWindows::Mouse(const std::string &title, int event, int x, int y, int flags) const
{
    ToldWindow told;
    {
        const std::lock_guard lock(s_record.guard);
        const ToldWindow *window = Own(title);
        if (window == nullptr || window->callback == nullptr) return false;
        told = *window;
    }
    told.callback(event, x, y, flags, told.param);
    return true;
}

void RecordingWindows::FailAt(int64_t nth)
{
    const std::lock_guard lock(s_record.guard);
    s_record.failAt = nth;
    s_record.failed = false;
}

bool RecordingWindows::Failed() const
{
    const std::lock_guard lock(s_record.guard);
    return s_record.failed;
}

void RecordingWindows::OnShow(std::function<void()> call)
{
    const std::lock_guard lock(s_record.guard);
    s_record.onShow = std::move(call);
}
