// The connection to the X server and the one thread that uses it.

#include "platform/linux/windows_x11_thread.h"

#include "platform/thread_backends.h"

#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <memory>
#include <mutex>
#include <new>
#include <poll.h>
#include <sys/eventfd.h>
#include <system_error>
#include <thread>
#include <unistd.h>

constexpr std::chrono::seconds kAnswerTime(5);

namespace {

struct DisplayJob
{
    std::function<int64_t(Display *)> work;
    int64_t result = kDisplayGone;
    bool done = false;
    bool dropped = false;  // nobody waits for it any more
};

enum class LinkState
{
    none,
    connecting,
    ready,
    gone
};

struct DisplayLink
{
    std::mutex guard;  // of all below but what is the thread's own
    std::condition_variable changed;
    LinkState state = LinkState::none;
    std::deque<std::shared_ptr<DisplayJob>> jobs;
    std::shared_ptr<DisplayJob> running;
    ZVK_DisplayHooks hooks = {};
    int wake = -1;  // event counter; written by anyone, read by the thread

    // the thread's own
    int errors = 0;
};

}  // namespace

static thread_local bool t_isDisplayThread = false;
static thread_local Display *t_display = nullptr;

// Handlers are the process's own and not the connection's: what comes from a client's connections
// goes on to the handlers that were there before.
static XErrorHandler s_nextErrorHandler = nullptr;
static XIOErrorHandler s_nextEndHandler = nullptr;

static DisplayLink &TheLink()
{
    static NeverDestroyed<DisplayLink> link;
    return link.Get();
}

static int OnError(Display *display, XErrorEvent *event)
{
    if (!t_isDisplayThread) return s_nextErrorHandler ? s_nextErrorHandler(display, event) : 0;
    ++TheLink().errors;
    return 0;
}

// The server has gone. Xlib ends the process when this returns, and what it would do with the dead
// connection afterwards is not to be relied on: the thread stays here, asleep, for good.
[[noreturn]] static void EndDisplayThread()
{
    DisplayLink &link = TheLink();
    {
        const std::lock_guard lock(link.guard);
        link.state = LinkState::gone;
        if (link.running) link.running->done = true;
        link.running.reset();
        for (const auto &job : link.jobs)
            job->done = true;
        link.jobs.clear();
    }
    link.changed.notify_all();
    for (;;)
        (void)pause();  // all signals are blocked here
}

static int OnEnd(Display *display)
{
    if (t_isDisplayThread) EndDisplayThread();
    return s_nextEndHandler ? s_nextEndHandler(display) : 0;
}

// Reached when a client has put an end handler of its own, one that returns, in the place of ours.
static void OnEndOfOurs(Display *, void *) { EndDisplayThread(); }

static void InstallHandlersOnce()
{
    static std::once_flag once;
    std::call_once(once, [] {
        s_nextErrorHandler = XSetErrorHandler(OnError);
        s_nextEndHandler = XSetIOErrorHandler(OnEnd);
    });
}

// A client's signals go to its own threads; a write to a dead server must not end the process.
static void BlockSignals()
{
    sigset_t all;
    sigfillset(&all);
    (void)pthread_sigmask(SIG_SETMASK, &all, nullptr);
}

static void SetState(LinkState state)
{
    DisplayLink &link = TheLink();
    {
        const std::lock_guard lock(link.guard);
        link.state = state;
    }
    link.changed.notify_all();
}

static int64_t RunGuarded(const std::function<int64_t(Display *)> &work, Display *display)
{
    try {
        return work(display);
    } catch (const std::bad_alloc &) {
        return kDisplayNoRoom;
    }
}

static void RunJobs(Display *display)
{
    DisplayLink &link = TheLink();
    std::unique_lock lock(link.guard);
    while (!link.jobs.empty()) {
        const std::shared_ptr<DisplayJob> job = link.jobs.front();
        link.jobs.pop_front();
        if (job->dropped) continue;
        link.running = job;
        lock.unlock();
        const int64_t result = RunGuarded(job->work, display);
        lock.lock();
        link.running.reset();
        job->result = result;
        job->done = true;
        link.changed.notify_all();
    }
}

static void WaitForNews(Display *display, int wake)
{
    pollfd sources[] = {{ConnectionNumber(display), POLLIN, 0}, {wake, POLLIN, 0}};
    (void)poll(sources, 2, -1);
    uint64_t count = 0;
    // The counter is back at 0 afterwards; that it was 0 already shows as a refusal.
    if (read(wake, &count, sizeof count) < 0) return;
}

[[noreturn]] static void Serve(Display *display, const ZVK_DisplayHooks &hooks, int wake)
{
    for (;;) {
        RunJobs(display);
        hooks.awake(display);
        while (XPending(display) > 0) {
            XEvent event;
            XNextEvent(display, &event);
            hooks.event(display, event);
        }
        WaitForNews(display, wake);
    }
}

static void DisplayThread(ZVK_DisplayHooks hooks, int wake)
{
    t_isDisplayThread = true;
    BlockSignals();
    (void)XInitThreads();  // for a client that has connections on threads of its own
    InstallHandlersOnce();
    Display *const display = XOpenDisplay(nullptr);
    if (display == nullptr) {
        SetState(LinkState::none);
        return;
    }
    t_display = display;
    XSetIOErrorExitHandler(display, OnEndOfOurs, nullptr);
    if (!hooks.connected(display)) {
        XCloseDisplay(display);
        SetState(LinkState::none);
        return;
    }
    SetState(LinkState::ready);
    Serve(display, hooks, wake);
}

static bool WantsDisplay()
{
    const char *const headless = std::getenv("ZVK_HEADLESS");
    const char *const display = std::getenv("DISPLAY");
    if (headless && std::strcmp(headless, "1") == 0) return false;
    return display && *display;
}

static bool StartThread(DisplayLink &link)
{
    if (link.wake < 0) link.wake = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (link.wake < 0) return false;
    try {
        std::thread(DisplayThread, link.hooks, link.wake).detach();
    } catch (const std::system_error &) {
        return false;
    }
    link.state = LinkState::connecting;
    return true;
}

bool ConnectToDisplay(const ZVK_DisplayHooks &hooks)
{
    if (t_isDisplayThread) return true;
    DisplayLink &link = TheLink();
    std::unique_lock lock(link.guard);
    if (link.state == LinkState::none) {
        if (!WantsDisplay()) return false;
        link.hooks = hooks;
        if (!StartThread(link)) return false;
    }
    link.changed.wait_for(lock, kAnswerTime, [&] { return link.state != LinkState::connecting; });
    return link.state == LinkState::ready;
}

int64_t AskDisplay(std::function<int64_t(Display *display)> work)
{
    if (t_isDisplayThread) return RunGuarded(work, t_display);
    const auto job = std::make_shared<DisplayJob>();
    job->work = std::move(work);
    DisplayLink &link = TheLink();
    std::unique_lock lock(link.guard);
    if (link.state != LinkState::ready) return kDisplayGone;
    link.jobs.push_back(job);
    WakeDisplay();
    if (link.changed.wait_for(lock, kAnswerTime, [&] { return job->done; })) return job->result;
    job->dropped = true;
    return kDisplayGone;
}

void WakeDisplay()
{
    const uint64_t one = 1;
    // Refused when the counter is full: then the thread has a wake-up waiting anyway.
    if (write(TheLink().wake, &one, sizeof one) < 0) return;
}

int TakeDisplayErrors(Display *display)
{
    XSync(display, False);
    const int errors = TheLink().errors;
    TheLink().errors = 0;
    return errors;
}
