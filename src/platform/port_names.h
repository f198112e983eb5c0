#ifndef QUORVEX_PLATFORM_PORT_NAMES_H
#define QUORVEX_PLATFORM_PORT_NAMES_H

// How a serial port gets its number and its friendly name, and how a list of pinned ports is read.
// Pure: no port is touched. All of it may throw std::bad_alloc.

#include "platform/ports.h"

#include <string_view>

// What the operating system knows about one port.
struct ZVK_PortFacts
{
    std::string device;  // such as "/dev/ttyUSB0"
    bool usb = false;
    int vendorId = 0;  // of USB devices, 0 when unknown
    int productId = 0;
    std::string maker;  // of USB devices, empty when unknown
    std::string product;
};

// ttySn is port 1+n (n to 63), ttyUSBn 65+n (n to 63), ttyACMn 129+n (n to 126); 0 for all others.
int PortNumberOfDevice(std::string_view device);

// The number behind the last "(COM" of a friendly name, 0 when there is none from 1 to 255.
int PortNumberOfName(std::string_view friendlyName);

// Empty for a device without a number.
std::string ComposePortName(const ZVK_PortFacts &facts);

// Reads "friendly name (COMn)=/dev/path;...". Entries that aren't of this form are left out.
std::vector<ZVK_PortEntry> ParsePinnedPorts(std::string_view text);

// Adds those ports that no entry of the list has by number or by device.
void AddUnlessPinned(std::vector<ZVK_PortEntry> &ports, const std::vector<ZVK_PortEntry> &found);

#endif
