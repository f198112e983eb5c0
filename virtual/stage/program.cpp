// quorvex-virtual-stage: serves a virtual stage controller until it is ended, for client programs
// of other processes. It prints where it listens first, and then each command that it gets.

#include "quorvex-virtual/stage.h"

#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <exception>

constexpr int kFirstPort = 1;
constexpr int kLastPort = 65535;
constexpr long kLookEachNs = 100'000'000;

static volatile std::sig_atomic_t s_ended = 0;

static void End(int) { s_ended = 1; }

static int Usage()
{
    std::fputs("usage: quorvex-virtual-stage [PORT]\n"
               "  PORT  the TCP port it listens at; 50000 without\n",
               stderr);
    return 2;
}

static int Serve(int port)
{
    VirtualStageSettings settings;
    settings.port = port;
    VirtualStage stage(settings);
    std::printf("listening: section STAGE, IP = \"127.0.0.1\", PORTNUM = %d\n", stage.Port());
    std::fflush(stdout);
    while (s_ended == 0) {
        std::fputs(VirtualStageReport(stage.TakeLines()).c_str(), stdout);
        std::fflush(stdout);
        const timespec pause = {0, kLookEachNs};
        (void)nanosleep(&pause, nullptr);
    }
    return 0;
}

int main(int argc, char **argv)
{
    int port = 50000;
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
