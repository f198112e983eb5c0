// Progress and questions of a calibration.

#include "calibrate_progress.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <future>
#include <poll.h>
#include <unistd.h>

using namespace std::chrono_literals;

constexpr int kBarLength = 24;
constexpr int kLookMs = 200;

static std::atomic<bool> s_ending{false};
static_assert(std::atomic<bool>::is_always_lock_free, "set by a signal handler");

static void OnEndingSignal(int) { s_ending = true; }

void WatchForEnding()
{
    struct sigaction action = {};
    action.sa_handler = OnEndingSignal;
    action.sa_flags = SA_RESTART;
    (void)sigemptyset(&action.sa_mask);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP})
        (void)sigaction(signal, &action, nullptr);
    // Words that nobody reads any more must not end the program with the stage oscillating.
    action.sa_handler = SIG_IGN;
    (void)sigaction(SIGPIPE, &action, nullptr);
}

bool EndingIsAsked() { return s_ending; }

std::string BarText(double share, int done, int steps, const std::string &words)
{
    const double kept = share >= 0.0 ? std::min(share, 1.0) : 0.0;
    const auto filled = static_cast<size_t>(kept * kBarLength);
    return "[" + std::string(filled, '#') + std::string(kBarLength - filled, '-') + "] " +
           std::to_string(done) + " of " + std::to_string(steps) + "  " + words;
}

Progress::Progress(int steps)
    : m_steps(std::max(steps, 1)), m_onTerminal(isatty(STDOUT_FILENO) == 1)
{
}

Progress::~Progress() { ClearBar(); }

void Progress::ClearBar()
{
    if (!m_barIsShown) return;
    std::fputs("\r\033[K", stdout);
    std::fflush(stdout);
    m_barIsShown = false;
}

void Progress::Show(const std::string &words, double shareOfStep)
{
    if (!m_onTerminal) return;
    const double share = (m_done + std::clamp(shareOfStep, 0.0, 1.0)) / m_steps;
    std::printf("\r\033[K%s", BarText(share, m_done, m_steps, words).c_str());
    std::fflush(stdout);
    m_barIsShown = true;
}

void Progress::Say(const std::string &line)
{
    ClearBar();
    std::puts(line.c_str());
    std::fflush(stdout);
}

int Progress::Do(const std::string &words, double seconds, const std::function<int()> &work,
                 const std::function<void()> &onEnding)
{
    if (!m_onTerminal) Say(words);
    std::future<int> result = std::async(std::launch::async, work);
    const auto start = std::chrono::steady_clock::now();
    bool told = false;
    while (result.wait_for(100ms) != std::future_status::ready) {
        const std::chrono::duration<double> gone = std::chrono::steady_clock::now() - start;
        Show(words, seconds > 0.0 ? gone.count() / seconds : 0.0);
        if (!EndingIsAsked() || told) continue;
        told = true;
        if (onEnding) onEnding();
    }
    ++m_done;
    Show(words, 0.0);
    return result.get();
}

// A letter of a line from the user, 0 for an empty one, q at the end of input.
static char ReadLetter()
{
    char letter = 0;
    for (;;) {
        pollfd input = {STDIN_FILENO, POLLIN, 0};
        if (poll(&input, 1, kLookMs) <= 0) {
            if (EndingIsAsked()) return 'q';
            continue;
        }
        char byte = 0;
        if (read(STDIN_FILENO, &byte, 1) != 1) return 'q';
        if (byte == '\n') return letter;
        if (letter == 0 && byte != ' ' && byte != '\r') letter = byte;
    }
}

Reply AskUser(const std::string &question, bool canSkip)
{
    for (;;) {
        std::printf("%s\nEnter goes on%s, q ends: ", question.c_str(), canSkip ? ", s skips" : "");
        std::fflush(stdout);
        switch (ReadLetter()) {
        case 0: return Reply::goOn;
        case 'q': std::puts(""); return Reply::end;
        case 's':
            if (canSkip) return Reply::skip;
            break;
        default: break;
        }
    }
}
