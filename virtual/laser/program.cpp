// quorvex-virtual-laser: serves a virtual laser until it is ended, for client programs of other
// processes. It prints the value for ZVK_SERIAL_PORTS first, and then each command that it gets.

#include "quorvex-virtual/laser.h"

#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <exception>

constexpr int kFirstPort = 1;
constexpr int kLastPort = 255;
constexpr long kLookEachNs = 100'000'000;

static volatile std::sig_atomic_t s_ended = 0;

static void End(int) { s_ended = 1; }

static int Usage()
{
    std::fputs("usage: quorvex-virtual-laser [PORT]\n"
               "  PORT  the number of its serial port, 1 to 255; 7 without\n",
               stderr);
    return 2;
}

static int Serve(int port)
{
    VirtualLaser laser;
    std::printf("export ZVK_SERIAL_PORTS='%s'\n", laser.Offer(port).c_str());
    std::fflush(stdout);
    while (s_ended == 0) {
        std::fputs(VirtualLaserReport(laser.TakeEvents()).c_str(), stdout);
        std::fflush(stdout);
        const timespec pause = {0, kLookEachNs};
        (void)nanosleep(&pause, nullptr);
    }
    return 0;
}

int main(int argc, char **argv)
{
    int port = 7;
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
