// quorvex-virtual-motors: serves the motor boards of both paths until it is ended, for client
// programs of other processes. It prints the value for ZVK_SERIAL_PORTS first, and then each
// command that a board gets.

#include "quorvex-virtual/motor.h"

#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <exception>

constexpr int kFirstPort = 1;
constexpr int kLastPort = 254;  // and the one behind it
constexpr long kLookEachNs = 100'000'000;
constexpr int32_t kStartPosition = 20000;

static volatile std::sig_atomic_t s_ended = 0;

static void End(int) { s_ended = 1; }

static int Usage()
{
    std::fputs("usage: quorvex-virtual-motors [PORT]\n"
               "  PORT  the number of path A's serial port, 1 to 254; 8 without. Path B's is the\n"
               "        next one\n",
               stderr);
    return 2;
}

static void Tell(const char *board, VirtualMotor &motor)
{
    const std::string report = VirtualMotorReport(motor.TakeEvents());
    for (size_t from = 0; from < report.size();) {
        const size_t end = report.find('\n', from) + 1;
        std::fputs((board + report.substr(from, end - from)).c_str(), stdout);
        from = end;
    }
    std::fflush(stdout);
}

static int Serve(int port)
{
    VirtualMotor a({.owner = 1, .position = kStartPosition, .stopAt = 0});
    VirtualMotor b({.owner = 2, .position = kStartPosition, .stopAt = 0});
    std::printf("export ZVK_SERIAL_PORTS='%s;%s'\n", a.Offer(port).c_str(),
                b.Offer(port + 1).c_str());
    std::fflush(stdout);
    while (s_ended == 0) {
        Tell("A", a);
        Tell("B", b);
        const timespec pause = {0, kLookEachNs};
        (void)nanosleep(&pause, nullptr);
    }
    return 0;
}

int main(int argc, char **argv)
{
    int port = 8;
    if (argc > 2) return Usage();
    if (argc == 2) {
        const char *const last = argv[1] + std::strlen(argv[1]);
        const auto [end, error] = std::from_chars(argv[1], last, port);
        if (error != std::errc{} || end != last || port < kFirstPort || port > kLastPort)
            return Usage();
    }
    (void)std::signal(SIGINT, End);
    (void)std::signal(SIGTERM, End);
    try {
        return Serve(port);
    } catch (const std::exception &failure) {
        std::fprintf(stderr, "%s\n", failure.what());
        return 1;
    }
}
