// The card itself: made at first use, reset, quiet at the process's end.

#include "card.h"

#include "clock.h"
#include "run.h"
#include "tasks.h"

#include <cstdlib>
#include <cstring>

constexpr double kStandardRate = 1e6;  // Hz
constexpr uint32_t kStandardMemory = 8191;
constexpr uint64_t kStandardTrack = 1U << 21;
constexpr uint64_t kStandardLog = 10000;
constexpr double kStandardPatienceS = 10.0;
constexpr auto kLongestGoodbye = std::chrono::milliseconds(500);

void SetDefaults(Card &card)
{
    card.outputs.clear();
    card.sources.clear();
    card.ports.clear();
    card.triggers.clear();
    card.externalClocks.clear();
    card.devices.clear();
    card.maxRate = kStandardRate;
    card.maxRateSingle = kStandardRate;
    card.timebase = 0.0;
    card.onBoardSamples = kStandardMemory;
    card.usb = true;
    card.trackLength = kStandardTrack;
    card.faults.clear();
    std::memset(card.callCounts, 0, sizeof card.callCounts);
    card.allCalls = 0;
    card.log.clear();
    card.logLines = 0;
    card.logLength = kStandardLog;
    card.lastNumber = 0;
    card.patienceS = kStandardPatienceS;
}

static int32_t PaceOfEnvironment()
{
    const char *pace = std::getenv("ZVK_VIRTUAL_DAQ_PACE");
    if (pace && std::strcmp(pace, "fast") == 0) return ZVC_PACE_FAST;
    if (pace && std::strcmp(pace, "manual") == 0) return ZVC_PACE_MANUAL;
    return ZVC_PACE_REAL;
}

// No callback begins once the process has begun to end: what it would look at may be gone. Those
// inside get a moment to return.
static void SayGoodbye()
{
    Card &card = TheCard();
    Guard guard(card.guard);
    card.closing = true;
    (void)card.rested.wait_for(guard, kLongestGoodbye, [&] {
        for (const auto &[handle, task] : card.tasks)
            if (task->inCallback) return t_onEventThread;
        return true;
    });
}

static Card *MakeCard()
{
    Card *card = new Card;  // never deleted
    SetDefaults(*card);
    RestartTime(*card, PaceOfEnvironment());
    (void)std::atexit(SayGoodbye);  // without it the end is as any driver's
    return card;
}

Card &TheCard()
{
    static Card *const card = MakeCard();
    return *card;
}

void ZVC_Reset(void)
{
    Card &card = TheCard();
    Guard guard(card.guard);
    while (!card.tasks.empty())
        Clear(card, *std::shared_ptr<Task>(card.tasks.begin()->second));
    TellChange(card);
    if (!t_onEventThread) {
        card.rested.wait(guard, [&] { return card.eventThreads == 0 && !card.waits; });
    }
    SetDefaults(card);
    RestartTime(card, PaceOfEnvironment());
    TellChange(card);
}
