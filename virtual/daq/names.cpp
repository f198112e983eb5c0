// Physical channels and terminals as texts. Which numbers a card has is set wide: the tests of the
// virtual instrument name the card they want.

#include "names.h"

#include <algorithm>
#include <charconv>
#include <cstring>

constexpr uint32_t kAnalogInputs = 80;
constexpr uint32_t kAnalogOutputs = 32;
constexpr uint32_t kPorts = 12;
constexpr uint32_t kLines = 32;  // of a port
constexpr uint32_t kTerminalNumbers = 16;

static bool IsLetterOrDigit(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

static char LowerChar(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

std::string LowerCase(const std::string &text)
{
    std::string lower = text;
    std::transform(lower.begin(), lower.end(), lower.begin(), LowerChar);
    return lower;
}

static std::string WithoutBlanks(const std::string &text)
{
    const size_t first = text.find_first_not_of(" \t");
    if (first == std::string::npos) return "";
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

std::vector<std::string> SplitList(const std::string &list)
{
    std::vector<std::string> parts;
    size_t from = 0;
    while (true) {
        const size_t comma = list.find(',', from);
        parts.push_back(WithoutBlanks(list.substr(from, comma - from)));
        if (comma == std::string::npos) return parts;
        from = comma + 1;
    }
}

static bool IsDevice(const std::string &name)
{
    if (name.empty() || name.front() == ' ' || name.back() == ' ') return false;
    return std::all_of(name.begin(), name.end(), [](char c) {
        return IsLetterOrDigit(c) || c == '_' || c == '-' || c == ' ';
    });
}

// Reads "3" whole; false for anything else.
static bool ReadNumber(const std::string &text, uint32_t &number)
{
    const char *end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && rest == end && !text.empty();
}

static bool TakePrefix(std::string &text, const char *prefix)
{
    if (text.compare(0, std::strlen(prefix), prefix) != 0) return false;
    text.erase(0, std::strlen(prefix));
    return true;
}

// Reads "ao0", "ao0:3" or "ao0:ao3", in lower case; a range may fall.
static bool ReadRange(std::string text, const char *prefix, uint32_t limit,
                      std::vector<uint32_t> &numbers)
{
    if (!TakePrefix(text, prefix)) return false;
    const size_t colon = text.find(':');
    uint32_t first = 0;
    if (!ReadNumber(text.substr(0, colon), first) || first >= limit) return false;
    uint32_t last = first;
    if (colon != std::string::npos) {
        std::string end = text.substr(colon + 1);
        (void)TakePrefix(end, prefix);  // may be left out
        if (!ReadNumber(end, last) || last >= limit) return false;
    }
    numbers = {first};
    while (numbers.back() != last)
        numbers.push_back(last > first ? numbers.back() + 1 : numbers.back() - 1);
    return true;
}

static PhysicalChannel MakeChannel(const std::string &device, const std::string &rest)
{
    PhysicalChannel channel;
    channel.device = device;
    channel.text = device;
    channel.text += "/";
    channel.text += rest;
    channel.key = LowerCase(channel.text);
    return channel;
}

// Inputs inside the card, which see what an output puts out, or ground.
static bool IsInternalInput(const std::string &rest)
{
    if (rest == "_aognd_vs_aognd") return true;
    const size_t end = rest.find("_vs_aognd");
    if (end == std::string::npos || end + std::strlen("_vs_aognd") != rest.size()) return false;
    std::vector<uint32_t> numbers;
    return ReadRange(rest.substr(0, end), "_ao", kAnalogOutputs, numbers) && numbers.size() == 1;
}

static bool AddNumbered(const std::string &device, const std::string &rest, const char *prefix,
                        uint32_t limit, std::vector<PhysicalChannel> &channels)
{
    std::vector<uint32_t> numbers;
    if (!ReadRange(rest, prefix, limit, numbers)) return false;
    for (const uint32_t number : numbers)
        channels.push_back(MakeChannel(device, prefix + std::to_string(number)));
    return true;
}

// Reads "port0", all lines of it, or "port0/line0:7".
static bool AddLines(const std::string &device, const std::string &rest,
                     std::vector<PhysicalChannel> &channels)
{
    const size_t slash = rest.find('/');
    std::vector<uint32_t> ports;
    if (!ReadRange(rest.substr(0, slash), "port", kPorts, ports) || ports.size() != 1) return false;
    const std::string lines =
        slash == std::string::npos ? "line0:" + std::to_string(kLines - 1) : rest.substr(slash + 1);
    const std::string port = "port" + std::to_string(ports[0]);
    const std::string portKey = LowerCase(device + "/" + port);
    std::vector<uint32_t> numbers;
    if (!ReadRange(lines, "line", kLines, numbers)) return false;
    for (const uint32_t number : numbers) {
        channels.push_back(MakeChannel(device, port + "/line" + std::to_string(number)));
        channels.back().portKey = portKey;
        channels.back().line = number;
    }
    return true;
}

static bool AddChannels(const std::string &item, ChannelKind kind,
                        std::vector<PhysicalChannel> &channels)
{
    const size_t from = !item.empty() && item.front() == '/' ? 1 : 0;
    const size_t slash = item.find('/', from);
    if (slash == std::string::npos) return false;
    const std::string device = item.substr(from, slash - from);
    const std::string rest = LowerCase(item.substr(slash + 1));
    if (!IsDevice(device)) return false;

    switch (kind) {
    case ChannelKind::analogInput:
        if (AddNumbered(device, rest, "ai", kAnalogInputs, channels)) return true;
        if (!IsInternalInput(rest)) return false;
        channels.push_back(MakeChannel(device, rest));
        return true;
    case ChannelKind::analogOutput:
        return AddNumbered(device, rest, "ao", kAnalogOutputs, channels);
    case ChannelKind::line: return AddLines(device, rest, channels);
    }
    return false;
}

bool ParseChannels(const char *list, ChannelKind kind, std::vector<PhysicalChannel> &channels)
{
    channels.clear();
    for (const std::string &item : SplitList(list))
        if (!AddChannels(item, kind, channels)) return false;
    return true;
}

// A '#' at the end stands for a number below kTerminalNumbers.
static const char *const kTerminals[] = {"pfi#",
                                         "apfi#",
                                         "rtsi#",
                                         "pxi_trig#",
                                         "ai/sampleclock",
                                         "ao/sampleclock",
                                         "ai/starttrigger",
                                         "ao/starttrigger",
                                         "ai/referencetrigger",
                                         "onboardclock",
                                         "10mhzrefclock",
                                         "20mhztimebase",
                                         "80mhztimebase",
                                         "100mhztimebase",
                                         "100khztimebase"};

static bool FitsTerminal(const std::string &text, const std::string &pattern)
{
    if (pattern.back() != '#') return text == pattern;
    std::string number = text;
    uint32_t value = 0;
    return TakePrefix(number, pattern.substr(0, pattern.size() - 1).c_str()) &&
           ReadNumber(number, value) && value < kTerminalNumbers;
}

static bool IsKnownTerminal(const std::string &text)
{
    return std::any_of(std::begin(kTerminals), std::end(kTerminals),
                       [&](const char *pattern) { return FitsTerminal(text, pattern); });
}

std::string TerminalKey(const char *terminal)
{
    const std::string key = LowerCase(WithoutBlanks(terminal));
    return !key.empty() && key.front() == '/' ? key.substr(1) : key;
}

bool IsTerminal(const char *terminal)
{
    const std::string key = TerminalKey(terminal);
    if (IsKnownTerminal(key)) return true;  // without device
    const size_t slash = key.find('/');
    return slash != std::string::npos && IsDevice(key.substr(0, slash)) &&
           IsKnownTerminal(key.substr(slash + 1));
}

bool SameTerminal(const std::string &one, const std::string &other)
{
    if (one == other) return true;
    const auto endsWith = [](const std::string &whole, const std::string &part) {
        return whole.size() > part.size() + 1 && whole[whole.size() - part.size() - 1] == '/' &&
               whole.compare(whole.size() - part.size(), part.size(), part) == 0;
    };
    return (IsKnownTerminal(one) && endsWith(other, one)) ||
           (IsKnownTerminal(other) && endsWith(one, other));
}
