#ifndef QUORVEX_PLATFORM_BACKENDS_H
#define QUORVEX_PLATFORM_BACKENDS_H

// What stands behind the seams on this operating system. Only the seams' own files include this;
// each platform folder (linux/) defines them.

#include "platform/clock.h"
#include "platform/files.h"
#include "platform/ports.h"
#include "platform/processes.h"
#include "platform/serial.h"
#include "platform/tcp.h"

#include <atomic>

const ZVK_FileTable &SystemFiles();
const ZVK_ClockTable &SystemClock();
const ZVK_SerialTable &SystemSerial();
const ZVK_TcpTable &SystemTcp();
const ZVK_ProcessTable &SystemProcesses();

// The ports found on this machine, without those that a user has pinned. May throw std::bad_alloc.
bool SystemPorts(std::vector<ZVK_PortEntry> &ports);

// What a link such as those of /dev/serial/by-id points to; any other path as it is.
std::string RealDevice(const std::string &device);

// The table in use: a test's, or the back-end's. Constant at load, so that a seam works from the
// first instruction of the library on.
template <class Table>
class TableSwitch
{
public:
    constexpr TableSwitch() = default;

    template <class Backend>
    const Table &InUse(Backend backend) const
    {
        const Table *chosen = m_chosen.load(std::memory_order_acquire);
        return chosen ? *chosen : backend();
    }

    void Use(const Table *table) { m_chosen.store(table, std::memory_order_release); }

private:
    std::atomic<const Table *> m_chosen{nullptr};
};

#endif
