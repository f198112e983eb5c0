// The search for serial ports by friendly name.

#include "instruments/locate_port.h"

#include "platform/ports.h"

#include <charconv>
#include <string_view>

constexpr int kLastPort = 255;

static void TurnIntoCapitals(std::string &text)
{
    for (char &c : text)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
}

// White space and a plus sign may stand before the number.
static std::string_view SkipLead(std::string_view text)
{
    const size_t first = text.find_first_not_of(" \t\n\v\f\r");
    if (first == std::string_view::npos) return {};
    text.remove_prefix(first);
    const bool plus = text.size() > 1 && text[0] == '+' && text[1] != '-';
    if (plus) text.remove_prefix(1);
    return text;
}

// The number behind the last "COM", or 0 for none from 1 to 255.
static int PortNumberInCapitals(std::string_view name)
{
    const size_t last = name.rfind("COM");
    if (last == std::string_view::npos) return 0;
    const std::string_view digits = SkipLead(name.substr(last + 3));
    int number = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    if (error != std::errc{} || number < 1 || number > kLastPort) return 0;
    return number;
}

int ZVK_LocateComPort(char *inval, int *list, int maxnum)
{
    std::vector<ZVK_PortEntry> ports;
    if (!inval || !ListPorts(ports)) return 0;
    const bool firstOnly = !list || maxnum < 1;
    int stored = 0;
    for (ZVK_PortEntry &port : ports) {
        TurnIntoCapitals(port.friendlyName);
        if (port.friendlyName.find(inval) == std::string::npos) continue;
        const int number = PortNumberInCapitals(port.friendlyName);
        if (number == 0) continue;
        if (firstOnly) return number;
        if (stored < maxnum) list[stored++] = number;
    }
    return stored;
}
