// What kind of card this is.

#include "card.h"
#include "names.h"
#include "run.h"

#include <cmath>
#include <new>

static bool IsRate(double hertz) { return std::isfinite(hertz) && hertz > 0.0; }

int32_t ZVC_SetDevices(const char *devices)
{
    Card &card = TheCard();
    const Guard guard(card.guard);
    try {
        std::vector<std::string> names;
        if (devices && *devices)
            for (const std::string &name : SplitList(devices))
                names.push_back(LowerCase(name));
        card.devices = std::move(names);
        return ZVC_OK;
    } catch (const std::bad_alloc &) {
        return ZVC_OUT_OF_MEMORY;
    }
}

int32_t ZVC_SetMaxRate(double singleChannel, double allChannels)
{
    if (!IsRate(singleChannel) || !IsRate(allChannels)) return ZVC_BAD_ARGUMENT;
    Card &card = TheCard();
    const Guard guard(card.guard);
    card.maxRateSingle = singleChannel;
    card.maxRate = allChannels;
    return ZVC_OK;
}

int32_t ZVC_SetTimebase(double hertz)
{
    if (hertz != 0.0 && !IsRate(hertz)) return ZVC_BAD_ARGUMENT;
    Card &card = TheCard();
    const Guard guard(card.guard);
    card.timebase = hertz;
    return ZVC_OK;
}

int32_t ZVC_SetOnBoardMemory(uint32_t samples)
{
    Card &card = TheCard();
    const Guard guard(card.guard);
    SettleAll(card);
    card.onBoardSamples = samples;
    return ZVC_OK;
}

int32_t ZVC_SetExternalClock(const char *terminal, double hertz)
{
    if (!terminal || !IsTerminal(terminal) || !std::isfinite(hertz)) return ZVC_BAD_ARGUMENT;
    Card &card = TheCard();
    const Guard guard(card.guard);
    try {
        if (hertz < 0.0) {
            card.externalClocks.erase(TerminalKey(terminal));
        } else {
            card.externalClocks[TerminalKey(terminal)] = hertz;
        }
        return ZVC_OK;
    } catch (const std::bad_alloc &) {
        return ZVC_OUT_OF_MEMORY;
    }
}

int32_t ZVC_SetUsb(int32_t usb)
{
    Card &card = TheCard();
    const Guard guard(card.guard);
    card.usb = usb != 0;
    return ZVC_OK;
}
