// The helper program of the detectors, made of software: listens for the orders that the library
// posts, keeps the gains and writes down each order.
//
//     quorvex-virtual-detector [--log FILE] [--deaf | --exit]
//
// It ends by order, by SIGTERM or SIGINT, and when the program that started it has gone.

#include "amplifiers.h"

#include "quorvex/messages.h"

#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <unistd.h>

constexpr double kLookS = 0.1;  // how often it looks whether it is to end

static volatile std::sig_atomic_t s_stop = 0;

struct Options
{
    const char *log = nullptr;  // a file to append to; null: none
    bool deaf = false;          // listens to nobody, not even to the order to end
    bool exit = false;          // ends at once
};

static int Usage()
{
    (void)std::fputs("usage: quorvex-virtual-detector [--log FILE] [--deaf | --exit]\n"
                     "  --log FILE  append each order to FILE\n"
                     "  --deaf      take no order, not even the one to end\n"
                     "  --exit      end at once\n",
                     stderr);
    return 2;
}

static bool Parse(int count, char **arguments, Options &options)
{
    for (int i = 1; i < count; ++i) {
        if (std::strcmp(arguments[i], "--log") == 0 && i + 1 < count) {
            options.log = arguments[++i];
        } else if (std::strcmp(arguments[i], "--deaf") == 0) {
            options.deaf = true;
        } else if (std::strcmp(arguments[i], "--exit") == 0) {
            options.exit = true;
        } else {
            return false;
        }
    }
    return true;
}

// One line a write, so that a reader never finds a line in part.
class Log
{
public:
    explicit Log(const char *path)
    {
        if (path) m_file = open(path, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
        m_failed = path != nullptr && m_file < 0;
    }

    ~Log()
    {
        if (m_file >= 0) (void)close(m_file);
    }

    Log(const Log &) = delete;
    Log &operator=(const Log &) = delete;

    bool Failed() const { return m_failed; }

    void Line(const std::string &text) const
    {
        const std::string line = text + "\n";
        if (m_file >= 0 && write(m_file, line.data(), line.size()) < 0)
            (void)std::fputs("the log can't be written\n", stderr);
    }

private:
    int m_file = -1;
    bool m_failed = false;
};

// Whether the time has come without an order; tells why in the log.
static bool IsToStop(const Log &log, pid_t client)
{
    if (s_stop != 0) {
        log.Line("ended by a signal");
        return true;
    }
    if (getppid() != client) {
        log.Line("ended: the program that started it has gone");
        return true;
    }
    return false;
}

static int TakeOrders(const Log &log, pid_t client)
{
    int32_t listener = 0;
    if (ZVK_Messages_Listen(ZVK_Messages_Register("DKLEVENT"), nullptr, nullptr, &listener) != 0) {
        log.Line("there is no way to other programs");
        return 1;
    }
    log.Line("listening as process " + std::to_string(getpid()));
    Amplifiers amplifiers;
    while (!amplifiers.Ended() && !IsToStop(log, client)) {
        int64_t order = 0;
        int64_t data = 0;
        if (ZVK_Messages_Wait(listener, kLookS, &order, &data) == ZVK_MESSAGES_OK)
            log.Line(amplifiers.Take(order, data));
    }
    (void)ZVK_Messages_Unlisten(listener);
    log.Line("at the end the " + amplifiers.Summary());
    return 0;
}

static int StayDeaf(const Log &log, pid_t client)
{
    log.Line("deaf as process " + std::to_string(getpid()));
    while (!IsToStop(log, client))
        (void)usleep(static_cast<useconds_t>(kLookS * 1e6));
    return 0;
}

int main(int count, char **arguments)
{
    Options options;
    if (!Parse(count, arguments, options)) return Usage();
    const pid_t client = getppid();
    (void)std::signal(SIGTERM, [](int) { s_stop = 1; });
    (void)std::signal(SIGINT, [](int) { s_stop = 1; });
    try {
        const Log log(options.log);
        if (log.Failed()) {
            (void)std::fprintf(stderr, "can't write to %s\n", options.log);
            return 1;
        }
        if (options.exit) {
            log.Line("ended at once");
            return 0;
        }
        return options.deaf ? StayDeaf(log, client) : TakeOrders(log, client);
    } catch (const std::exception &failure) {
        (void)std::fprintf(stderr, "%s\n", failure.what());
        return 1;
    }
}
