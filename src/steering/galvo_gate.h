#ifndef QUORVEX_STEERING_GALVO_GATE_H
#define QUORVEX_STEERING_GALVO_GATE_H

// Who may touch the galvo module's data, and when. Three kinds of thread meet here: clients', the
// card's event thread, the timer's thread.
//
// - A client's call that changes waypoints or the output holds the claim from its first line to its
//   last. Clients wait for each other; the same thread may claim again.
// - BeginRebuild gives way to an update that is running: the caller answers 609. Once it has
// passed,
//   dataReady is 0 and an update that comes answers -610: that block is skipped.
// - The data lock is held by whoever reads or writes arrays, nodes or samples, and only for that
// long:
//   never while the card is written.
// - The event's recovery needs the claim too. It gives up when a client is taking the output down,
//   since that client waits for the event to leave.

#include <cstdint>
#include <mutex>

std::mutex &GalvoData();

// The claim of a client's call.
class GalvoClaim
{
public:
    GalvoClaim();
    ~GalvoClaim();
    GalvoClaim(const GalvoClaim &) = delete;
    GalvoClaim &operator=(const GalvoClaim &) = delete;
};

// The claim of the event's recovery: not held when a client is taking the output down.
class GalvoRecoveryClaim
{
public:
    GalvoRecoveryClaim();
    ~GalvoRecoveryClaim();
    GalvoRecoveryClaim(const GalvoRecoveryClaim &) = delete;
    GalvoRecoveryClaim &operator=(const GalvoRecoveryClaim &) = delete;
    bool Held() const { return m_held; }

private:
    bool m_held = false;
};

// An output event is inside the library for as long as this lives.
class GalvoEventScope
{
public:
    GalvoEventScope();
    ~GalvoEventScope();
    GalvoEventScope(const GalvoEventScope &) = delete;
    GalvoEventScope &operator=(const GalvoEventScope &) = delete;
};

// The output is being taken down for as long as this lives: recoveries give up. Needs the claim.
class GalvoStopScope
{
public:
    GalvoStopScope();
    ~GalvoStopScope();
    GalvoStopScope(const GalvoStopScope &) = delete;
    GalvoStopScope &operator=(const GalvoStopScope &) = delete;
    void WaitForEvents();  // returns when no output event is inside
};

bool BeginRebuild();  // false: an update is running. Else dataReady is 0
bool BeginUpdate();   // false: the samples are not ready. Else updating is 1
void SetUpdating(int32_t on);
void WaitForUpdate();  // returns when no update is running

// Fields of g_galvoDaq that more than one thread touches.
int32_t LoadFlag(int32_t &flag);
void StoreFlag(int32_t &flag, int32_t value);
void *LoadTask();
void StoreTask(void *task);

#endif
