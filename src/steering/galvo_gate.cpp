#include "steering/galvo_gate.h"

#include "steering/galvo.h"

#include <atomic>
#include <condition_variable>
#include <thread>

namespace {

struct Gate
{
    std::mutex mutex;
    std::condition_variable changed;
    std::thread::id holder;  // of the claim; no thread when free
    int depth = 0;           // claims of the holder
    int eventsInside = 0;    // output events now inside the library
    int stopping = 0;        // clients now taking the output down
    int recovering = 0;      // recoveries that wait for the claim: clients let them go first
};

}  // namespace

// Never destroyed: the card's and the timer's threads may still come while the process ends.
static Gate &TheGate()
{
    static Gate &gate = *new Gate;
    return gate;
}

std::mutex &GalvoData()
{
    static std::mutex &data = *new std::mutex;
    return data;
}

int32_t LoadFlag(int32_t &flag) { return std::atomic_ref(flag).load(std::memory_order_acquire); }

void StoreFlag(int32_t &flag, int32_t value)
{
    std::atomic_ref(flag).store(value, std::memory_order_release);
}

void *LoadTask() { return std::atomic_ref(g_galvoDaq.taskHandle).load(std::memory_order_acquire); }

void StoreTask(void *task)
{
    std::atomic_ref(g_galvoDaq.taskHandle).store(task, std::memory_order_release);
}

static void TakeClaim(Gate &gate)
{
    gate.holder = std::this_thread::get_id();
    ++gate.depth;
}

static void DropClaim(Gate &gate)
{
    if (--gate.depth > 0) return;
    gate.holder = std::thread::id();
    gate.changed.notify_all();
}

GalvoClaim::GalvoClaim()
{
    Gate &gate = TheGate();
    const std::thread::id self = std::this_thread::get_id();
    std::unique_lock lock(gate.mutex);
    gate.changed.wait(
        lock, [&] { return gate.holder == self || (gate.depth == 0 && gate.recovering == 0); });
    TakeClaim(gate);
}

GalvoClaim::~GalvoClaim()
{
    Gate &gate = TheGate();
    const std::lock_guard lock(gate.mutex);
    DropClaim(gate);
}

GalvoRecoveryClaim::GalvoRecoveryClaim()
{
    Gate &gate = TheGate();
    std::unique_lock lock(gate.mutex);
    ++gate.recovering;
    gate.changed.wait(lock, [&] { return gate.depth == 0 || gate.stopping > 0; });
    --gate.recovering;
    gate.changed.notify_all();
    if (gate.stopping > 0) return;
    TakeClaim(gate);
    m_held = true;
}

GalvoRecoveryClaim::~GalvoRecoveryClaim()
{
    if (!m_held) return;
    Gate &gate = TheGate();
    const std::lock_guard lock(gate.mutex);
    DropClaim(gate);
}

GalvoEventScope::GalvoEventScope()
{
    Gate &gate = TheGate();
    const std::lock_guard lock(gate.mutex);
    ++gate.eventsInside;
}

GalvoEventScope::~GalvoEventScope()
{
    Gate &gate = TheGate();
    const std::lock_guard lock(gate.mutex);
    --gate.eventsInside;
    gate.changed.notify_all();
}

GalvoStopScope::GalvoStopScope()
{
    Gate &gate = TheGate();
    const std::lock_guard lock(gate.mutex);
    ++gate.stopping;
    gate.changed.notify_all();
}

GalvoStopScope::~GalvoStopScope()
{
    Gate &gate = TheGate();
    const std::lock_guard lock(gate.mutex);
    --gate.stopping;
}

void GalvoStopScope::WaitForEvents()
{
    Gate &gate = TheGate();
    std::unique_lock lock(gate.mutex);
    gate.changed.wait(lock, [&] { return gate.eventsInside == 0; });
}

bool BeginRebuild()
{
    const std::lock_guard lock(TheGate().mutex);
    if (LoadFlag(g_galvoDaq.updating) != 0) return false;
    StoreFlag(g_galvoDaq.dataReady, 0);
    return true;
}

bool BeginUpdate()
{
    const std::lock_guard lock(TheGate().mutex);
    if (LoadFlag(g_galvoDaq.dataReady) != 1) return false;
    StoreFlag(g_galvoDaq.updating, 1);
    return true;
}

void SetUpdating(int32_t on)
{
    Gate &gate = TheGate();
    const std::lock_guard lock(gate.mutex);
    StoreFlag(g_galvoDaq.updating, on);
    gate.changed.notify_all();
}

void WaitForUpdate()
{
    Gate &gate = TheGate();
    std::unique_lock lock(gate.mutex);
    gate.changed.wait(lock, [] { return LoadFlag(g_galvoDaq.updating) != 1; });
}
