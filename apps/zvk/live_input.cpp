// All that live steering waits for.

#include "live_input.h"

#include "quorvex/messages.h"

#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <stdexcept>
#include <unistd.h>

constexpr int kEndingSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};

// A pipe to ourselves wakes the wait: a signal handler may write to it, and do little else.
static int s_wake[2] = {-1, -1};
static std::atomic<bool> s_stop{false};
static_assert(std::atomic<bool>::is_always_lock_free, "set by a signal handler");

static void Wake()
{
    const char byte = 0;
    // Full: then the wait ends anyway.
    if (write(s_wake[1], &byte, 1) < 0) return;
}

static void OnEndingSignal(int)
{
    s_stop = true;
    Wake();
}

static void InstallHandlers()
{
    struct sigaction action = {};
    action.sa_handler = OnEndingSignal;
    action.sa_flags = SA_RESTART;
    (void)sigemptyset(&action.sa_mask);
    for (const int signal : kEndingSignals)
        (void)sigaction(signal, &action, nullptr);
    // Words that nobody reads any more must not end the program with the instrument up.
    action.sa_handler = SIG_IGN;
    (void)sigaction(SIGPIPE, &action, nullptr);
}

static bool OpenPipe()
{
    if (s_wake[0] >= 0) return true;
    if (pipe(s_wake) != 0) return false;
    for (const int end : s_wake) {
        (void)fcntl(end, F_SETFL, O_NONBLOCK);
        (void)fcntl(end, F_SETFD, FD_CLOEXEC);
    }
    return true;
}

LiveInput::LiveInput()
{
    if (!OpenPipe()) throw std::runtime_error("No pipe left for this program.");
    const uint32_t id = ZVK_Messages_Register("ZVK_MOUSE_EVENT");
    if (ZVK_Messages_Listen(id, OnMessage, this, &m_listener) < 0)
        throw std::runtime_error("Cannot listen for the mouse.");
    InstallHandlers();
    if (isatty(STDIN_FILENO) == 0 || tcgetattr(STDIN_FILENO, &m_terminalBefore) != 0) return;
    termios keyByKey = m_terminalBefore;
    keyByKey.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    m_keysFromTerminal = tcsetattr(STDIN_FILENO, TCSANOW, &keyByKey) == 0;
}

LiveInput::~LiveInput()
{
    if (m_keysFromTerminal) (void)tcsetattr(STDIN_FILENO, TCSANOW, &m_terminalBefore);
    (void)ZVK_Messages_Unlisten(m_listener);
}

// On the listener's own thread.
void LiveInput::OnMessage(uint32_t, int64_t first, int64_t second, void *self)
{
    auto *const input = static_cast<LiveInput *>(self);
    {
        const std::lock_guard lock(input->m_guard);
        input->m_mouse.push_back(UnpackMouseMessage(first, second));
    }
    Wake();
}

void LiveInput::ReadKeys(std::string &keys)
{
    char bytes[64];
    const ssize_t count = read(STDIN_FILENO, bytes, sizeof bytes);
    if (count > 0)
        keys.assign(bytes, static_cast<size_t>(count));
    else
        m_keysFromTerminal = false;  // the terminal has gone
}

LiveNews LiveInput::Wait(int timeoutMs)
{
    LiveNews news;
    pollfd sources[] = {{s_wake[0], POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
    const bool woken = poll(sources, m_keysFromTerminal ? 2 : 1, timeoutMs) > 0;
    char bytes[64];
    while (read(s_wake[0], bytes, sizeof bytes) > 0) {
    }
    if (woken && m_keysFromTerminal && sources[1].revents != 0) ReadKeys(news.keys);
    const std::lock_guard lock(m_guard);
    news.mouse.swap(m_mouse);
    news.stop = s_stop;
    return news;
}
