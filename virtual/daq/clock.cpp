// Card time at its three paces.

#include "clock.h"

#include "run.h"

#include <algorithm>
#include <cmath>

using WallClock = std::chrono::steady_clock;

constexpr double kLongestS = 1e15;  // what is beyond never comes
constexpr auto kLongestSleep = std::chrono::hours(1);
constexpr WallClock::duration kShortPatience = std::chrono::milliseconds(1);

thread_local bool t_onEventThread = false;

static CardTime WallNanoseconds(const Card &card)
{
    return std::chrono::duration_cast<std::chrono::nanoseconds>(WallClock::now() - card.wallBase)
        .count();
}

CardTime NowAt(const Card &card)
{
    return card.pace == ZVC_PACE_REAL ? card.now + WallNanoseconds(card) : card.now;
}

void MoveTo(Card &card, CardTime time)
{
    if (card.pace != ZVC_PACE_REAL && time > card.now) card.now = time;
}

void SetPace(Card &card, int32_t pace)
{
    card.now = NowAt(card);
    card.wallBase = WallClock::now();
    card.pace = pace;
}

void RestartTime(Card &card, int32_t pace)
{
    card.now = 0;
    card.wallBase = WallClock::now();
    card.pace = pace;
}

double ToSeconds(CardTime time)
{
    return static_cast<double>(static_cast<long double>(time) / 1e9L);
}

CardTime FromSeconds(double seconds)
{
    if (!(seconds > 0.0)) return 0;
    if (seconds > kLongestS) return kNever;
    return static_cast<CardTime>(std::llround(static_cast<long double>(seconds) * 1e9L));
}

CardTime DeadlineAfter(const Card &card, double timeoutS)
{
    const CardTime duration = FromSeconds(timeoutS);
    return timeoutS < 0.0 || duration == kNever ? kNever : NowAt(card) + duration;
}

bool IsLate(const Card &card, const Wait &wait) { return NowAt(card) >= wait.deadline; }

void TellChange(Card &card)
{
    SettleAll(card);
    card.changed.notify_all();
}

static CardTime DueOf(const Wait &wait)
{
    return std::min(wait.due ? wait.due(wait) : kNever, wait.deadline);
}

static void SleepUntil(Guard &guard, Card &card, CardTime due)
{
    const CardTime ahead = due - NowAt(card);
    if (ahead <= 0) return;
    const CardTime longest = std::chrono::nanoseconds(kLongestSleep).count();
    const auto sleep = std::chrono::nanoseconds(static_cast<int64_t>(std::min(ahead, longest)));
    (void)card.changed.wait_until(guard, WallClock::now() + sleep);  // the caller looks again
}

static void Enter(Card &card, Wait &wait)
{
    wait.onEventThread = t_onEventThread;
    wait.previous = nullptr;
    wait.next = card.waits;
    if (wait.next) wait.next->previous = &wait;
    card.waits = &wait;
    card.rested.notify_all();
}

static void Leave(Card &card, const Wait &wait)
{
    if (wait.next) wait.next->previous = wait.previous;
    (wait.previous ? wait.previous->next : card.waits) = wait.next;
    card.rested.notify_all();
}

void Pause(Guard &guard, Wait &wait)
{
    Card &card = TheCard();
    Enter(card, wait);

    const CardTime due = DueOf(wait);
    const bool jumps = card.pace == ZVC_PACE_FAST && !wait.forTurn && due != kNever;
    if (jumps) {
        MoveTo(card, due);
        TellChange(card);
    } else if (card.pace == ZVC_PACE_REAL && due != kNever) {
        SleepUntil(guard, card, due);
    } else {
        card.changed.wait(guard);
    }
    Leave(card, wait);
}

// Whether every event thread rests or waits in a call, and none of the waits has come to its end.
static bool AllAtRest(Card &card)
{
    SettleAll(card);
    const CardTime now = NowAt(card);
    int eventThreads = 0;
    for (const Wait *wait = card.waits; wait; wait = wait->next) {
        if (DueOf(*wait) <= now) return false;
        if (wait->onEventThread) ++eventThreads;
    }
    return eventThreads == card.eventThreads;
}

static WallClock::duration FromWallSeconds(double seconds)
{
    return std::chrono::duration_cast<WallClock::duration>(std::chrono::duration<double>(seconds));
}

static WallClock::duration PatienceOf(const Card &card) { return FromWallSeconds(card.patienceS); }

static bool AwaitRest(Guard &guard, Card &card, WallClock::duration patience)
{
    card.changed.notify_all();
    return card.rested.wait_until(guard, WallClock::now() + patience,
                                  [&] { return card.pace != ZVC_PACE_MANUAL || AllAtRest(card); });
}

static CardTime NextDue(const Card &card)
{
    CardTime next = kNever;
    for (const Wait *wait = card.waits; wait; wait = wait->next)
        next = std::min(next, DueOf(*wait));
    return next;
}

static bool CallbackInside(const Card &card)
{
    return std::any_of(card.tasks.begin(), card.tasks.end(),
                       [](const auto &entry) { return entry.second->inCallback; });
}

static int32_t AdvanceTo(Guard &guard, Card &card, CardTime end)
{
    card.rested.wait(guard, [&] { return !card.advancing; });  // one at a time
    card.advancing = true;
    bool allReturned = true;
    while (true) {
        // Once one hasn't returned, the others are given a moment only.
        const WallClock::duration patience = allReturned ? PatienceOf(card) : kShortPatience;
        if (!AwaitRest(guard, card, patience)) allReturned = false;
        if (card.now >= end || card.pace != ZVC_PACE_MANUAL) break;
        MoveTo(card, std::min(std::max(NextDue(card), card.now + 1), end));
        TellChange(card);
    }
    card.advancing = false;
    card.rested.notify_all();
    if (!allReturned) return ZVC_NOT_RETURNED;
    return CallbackInside(card) ? ZVC_STILL_INSIDE : ZVC_OK;
}

int32_t ZVC_Advance(double seconds)
{
    if (t_onEventThread) return ZVC_IN_CALLBACK;
    Card &card = TheCard();
    Guard guard(card.guard);
    if (card.pace != ZVC_PACE_MANUAL) return ZVC_NOT_MANUAL;
    const CardTime duration = FromSeconds(seconds);
    if (!(seconds >= 0.0) || duration == kNever) return ZVC_BAD_ARGUMENT;
    return AdvanceTo(guard, card, card.now + duration);
}

int32_t ZVC_AdvanceSamples(const char *channel, uint64_t samples)
{
    if (t_onEventThread) return ZVC_IN_CALLBACK;
    Card &card = TheCard();
    Guard guard(card.guard);
    if (card.pace != ZVC_PACE_MANUAL) return ZVC_NOT_MANUAL;
    if (!channel) return ZVC_BAD_ARGUMENT;
    SettleAll(card);
    const Task *task = FindRunning(card, channel);
    if (!task || !(task->clockRate > 0.0)) return ZVC_NOT_THERE;
    return AdvanceTo(guard, card, TimeOfCount(*task, CountAt(*task, card.now) + samples));
}

int32_t ZVC_SetPatience(double wallSeconds)
{
    if (!(wallSeconds > 0.0) || wallSeconds > 3600.0) return ZVC_BAD_ARGUMENT;
    Card &card = TheCard();
    const Guard guard(card.guard);
    card.patienceS = wallSeconds;
    return ZVC_OK;
}

int32_t ZVC_SetPace(int32_t pace)
{
    if (pace < ZVC_PACE_REAL || pace > ZVC_PACE_MANUAL) return ZVC_BAD_ARGUMENT;
    Card &card = TheCard();
    const Guard guard(card.guard);
    if (card.tasks.empty()) {
        RestartTime(card, pace);
    } else {
        SetPace(card, pace);
    }
    TellChange(card);
    return ZVC_OK;
}

int32_t ZVC_GetPace(void)
{
    Card &card = TheCard();
    const Guard guard(card.guard);
    return card.pace;
}

double ZVC_Now(void)
{
    Card &card = TheCard();
    const Guard guard(card.guard);
    return ToSeconds(NowAt(card));
}

static int32_t CountWaitingCalls(const Card &card)
{
    int32_t calls = 0;
    for (const Wait *wait = card.waits; wait; wait = wait->next)
        if (wait->isCall) ++calls;
    return calls;
}

int32_t ZVC_CountWaiting(void)
{
    Card &card = TheCard();
    const Guard guard(card.guard);
    return CountWaitingCalls(card);
}

int32_t ZVC_AwaitWaiting(int32_t count, double wallSeconds)
{
    Card &card = TheCard();
    Guard guard(card.guard);
    const auto until = WallClock::now() + FromWallSeconds(std::clamp(wallSeconds, 0.0, 3600.0));
    const bool came =
        card.rested.wait_until(guard, until, [&] { return CountWaitingCalls(card) >= count; });
    return came ? ZVC_OK : ZVC_TIMED_OUT;
}
