// zvk laser: lets the laser emit for as long as the command runs.

#include "commands.h"
#include "instrument.h"
#include "live_input.h"

#include "quorvex/quorvex.h"

#include <charconv>
#include <cstdio>

constexpr SessionHandle kSession = 1;
constexpr int kForEver = -1;
constexpr size_t kMessageBytes = 4096;

static const char kUsage[] =
    "usage: zvk laser POWER [SHUTTERS]\n\n"
    "  POWER     what ZVK_Laser_SetPower takes: watts, or the level 1 to 3 of a laser on lines\n"
    "  SHUTTERS  the paths to open: A, B or AB; without it both stay closed\n\n"
    "The laser emits until Ctrl-C, SIGTERM or the end of the terminal; then the emission is off "
    "and\n"
    "the shutters are closed.\n";

namespace {

struct Wish
{
    double power = 0.0;
    bool open[2] = {false, false};
};

}  // namespace

static bool ReadWish(const Arguments &arguments, Wish &wish)
{
    if (arguments.empty() || arguments.size() > 2) return false;
    const std::string &power = arguments[0];
    const auto end = std::from_chars(power.data(), power.data() + power.size(), wish.power);
    if (end.ec != std::errc() || end.ptr != power.data() + power.size()) return false;
    if (arguments.size() == 1) return true;
    for (const char path : arguments[1]) {
        if (path != 'A' && path != 'B') return false;
        wish.open[path - 'A'] = true;
    }
    return true;
}

// True when the status is anything but success, which is told.
static bool Tell(const char *what, int32_t status)
{
    if (status == 0) return false;
    char text[kMessageBytes] = "";
    (void)ZVK_error_message(kSession, status, text);  // writes a text for any number
    std::fprintf(stderr, "%s: %s\n", what, text);
    return true;
}

// The same for errors alone.
static bool Failed(const char *what, int32_t status) { return status < 0 && Tell(what, status); }

static bool Emit(const Wish &wish)
{
    // Their warnings are refusals, too. The drive starts at its maximum: where it did not take the
    // power there must be no light.
    if (Tell("The power is not set", ZVK_Laser_SetPower(kSession, wish.power))) return false;
    for (int32_t path = 0; path < 2; ++path) {
        if (!wish.open[path]) continue;
        if (Tell("A shutter does not open", ZVK_Laser_SetShutter(kSession, path, 1))) return false;
    }
    return !Tell("The laser does not emit", ZVK_Laser_Interlock(kSession, 1));
}

static bool EmitUntilTheEnd(LiveInput &input, const Wish &wish)
{
    const int32_t up = ZVK_Laser_Init(kSession, 0, 0);
    if (Failed("The laser does not come up", up)) return false;
    if (up > 0) {
        std::fputs("There is no laser: see section LASER of config.ini.\n", stderr);
        return false;
    }
    if (!Emit(wish)) return false;
    std::printf("The laser emits at %g. Ctrl-C ends the emission.\n", wish.power);
    std::fflush(stdout);
    while (!input.Wait(kForEver).stop) {
    }
    return true;
}

static int HoldEmission(const Wish &wish)
{
    LiveInput input;  // before the emission, so that no signal comes between
    bool good = false;
    try {
        good = EmitUntilTheEnd(input, wish);
    } catch (...) {
        (void)ZVK_Laser_Shutdown(kSession);
        throw;
    }
    // Also behind a failure: whatever came up goes down.
    if (Failed("The laser does not shut down", ZVK_Laser_Shutdown(kSession))) return 1;
    if (good) std::puts("The emission is off, the shutters are closed.");
    return good ? 0 : 1;
}

int LaserCommand(const Arguments &arguments)
{
    Wish wish;
    const bool asked = !arguments.empty() && arguments[0] == "--help";
    if (asked || !ReadWish(arguments, wish)) {
        std::fputs(kUsage, asked ? stdout : stderr);
        return asked ? 0 : 2;
    }
    const Instrument instrument;
    return HoldEmission(wish);
}
