// zvk live: traps steered with the mouse in the camera window.

#include "commands.h"
#include "instrument.h"
#include "live_input.h"
#include "steering.h"

#include "quorvex/quorvex.h"

#include <algorithm>
#include <cstdio>

constexpr SessionHandle kSession = 1;
constexpr int kLookMs = 200;  // between two looks whether the window is still there
constexpr size_t kMessageBytes = 4096;

static const char kUsage[] =
    "usage: zvk live\n\n"
    "  click on empty space  adds a trap to path A; with shift held, to path B\n"
    "  drag a trap           moves it\n"
    "  right click           deletes it\n"
    "  wheel                 zooms\n"
    "  keys, in the terminal a, b: the path that clicks add to; d: delete the trap touched last;\n"
    "                        q: quit\n\n"
    "The red and the blue frame are the calibrated fields of path A and path B.\n"
    "Ctrl-C or closing the window ends the session, and with it the emission.\n";

static std::string TextOf(int32_t status)
{
    char text[kMessageBytes] = "";
    (void)ZVK_error_message(kSession, status, text);  // writes a text for any number
    return text;
}

static void Steer(LiveInput &input)
{
    Steering steering;
    steering.Begin();
    for (bool stop = false; !stop && steering.WindowIsOpen();) {
        const LiveNews news = input.Wait(kLookMs);
        steering.Mouse(news.mouse);
        std::ranges::for_each(news.keys, [&](char key) { steering.Key(key); });
        steering.AddWaiting();
        steering.ShowStatus();
        stop = news.stop || news.keys.find('q') != std::string::npos;
    }
}

// True when the session came up and was steered until its end.
static bool SteerUntilTheEnd(LiveInput &input)
{
    const int32_t up = ZVK_init("", 0, 0, kSession);
    if (up < 0) {
        std::fprintf(stderr, "The session does not come up: %s\n", TextOf(up).c_str());
        return false;
    }
    if (!Steering().WindowIsOpen()) {
        std::fputs("There is no camera window: live steering needs a display and a camera.\n",
                   stderr);
        return false;
    }
    std::puts("The session is up; zvk live --help tells what the mouse does.");
    std::fflush(stdout);
    Steer(input);
    return true;
}

static int RunSession()
{
    LiveInput input;
    bool steered = false;
    try {
        steered = SteerUntilTheEnd(input);
    } catch (...) {
        (void)ZVK_close(kSession);  // or the laser would stay as it is
        throw;
    }
    const int32_t down = ZVK_close(kSession);
    if (down < 0) {
        std::fprintf(stderr, "The session does not close: %s\n", TextOf(down).c_str());
        return 1;
    }
    if (!steered) return 1;
    std::puts("The session is closed.");
    return 0;
}

int LiveCommand(const Arguments &arguments)
{
    if (!arguments.empty()) {
        const bool asked = arguments[0] == "--help";
        std::fputs(kUsage, asked ? stdout : stderr);
        return asked ? 0 : 2;
    }
    const Instrument instrument;
    return RunSession();
}
