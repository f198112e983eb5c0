#ifndef QUORVEX_PLATFORM_PORTS_H
#define QUORVEX_PLATFORM_PORTS_H

// The serial ports of this machine by friendly name, such as "USB Serial Port (COM7)".

#include <string>
#include <vector>

struct ZVK_PortEntry
{
    std::string friendlyName;  // ends in "(COMn)"
    std::string device;        // what the serial back-end opens
};

// Every port: first those of ZVK_SERIAL_PORTS, in its order, then those found. False when the list
// could not be made.
bool ListPorts(std::vector<ZVK_PortEntry> &ports) noexcept;

// The device file of port number n, empty when there is no such port.
std::string DeviceOfPort(int port) noexcept;

typedef bool (*ZVK_PortLister)(std::vector<ZVK_PortEntry> &ports);
void UsePorts(ZVK_PortLister lister);  // null: back to the ports of this machine

#endif
