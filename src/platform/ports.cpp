// The list of serial ports: the pinned ones, then those found.

#include "platform/ports.h"

#include "platform/backends.h"
#include "platform/port_names.h"

#include <atomic>
#include <cstdlib>
#include <new>

static constinit std::atomic<ZVK_PortLister> s_lister{nullptr};

static bool ListRealPorts(std::vector<ZVK_PortEntry> &ports)
{
    const char *pinned = std::getenv("ZVK_SERIAL_PORTS");
    ports = ParsePinnedPorts(pinned ? pinned : "");
    for (ZVK_PortEntry &port : ports)
        port.device = RealDevice(port.device);
    std::vector<ZVK_PortEntry> found;
    if (!SystemPorts(found)) return !ports.empty();  // pinned ports stand by themselves
    AddUnlessPinned(ports, found);
    return true;
}

bool ListPorts(std::vector<ZVK_PortEntry> &ports) noexcept
{
    try {
        ports.clear();
        const ZVK_PortLister lister = s_lister.load();
        if (lister ? lister(ports) : ListRealPorts(ports)) return true;
    } catch (const std::bad_alloc &) {
    }
    ports.clear();
    return false;
}

std::string DeviceOfPort(int port) noexcept
{
    std::vector<ZVK_PortEntry> ports;
    if (port < 1 || !ListPorts(ports)) return {};
    for (ZVK_PortEntry &entry : ports)
        if (PortNumberOfName(entry.friendlyName) == port) return std::move(entry.device);
    return {};
}

void UsePorts(ZVK_PortLister lister) { s_lister.store(lister); }
