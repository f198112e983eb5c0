// Numbers and friendly names of serial ports.

#include "platform/port_names.h"

#include <algorithm>
#include <charconv>

constexpr std::string_view kUsbWords = "USB Serial Port";
constexpr std::string_view kPlainWords = "Communications Port";
constexpr std::string_view kMotorBoardMaker = "TRINAMIC";

constexpr int kMotorBoardVendor = 0x2A3C;
constexpr int kSharedVendor = 0x16D0;  // its products belong to many makers
constexpr int kSharedMotorBoard = 0x06CC;

struct NumberRule
{
    std::string_view prefix;
    int firstNumber;
    int count;
};

constexpr NumberRule kNumberRules[] = {
    {"/dev/ttyS", 1, 64},
    {"/dev/ttyUSB", 65, 64},
    {"/dev/ttyACM", 129, 127},
};

// All of the text as a whole number without sign, or -1.
static int WholeNumber(std::string_view text)
{
    int number = -1;
    if (text.empty() || text.front() < '0' || text.front() > '9') return -1;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc{} || end != text.data() + text.size()) return -1;
    return number;
}

int PortNumberOfDevice(std::string_view device)
{
    for (const NumberRule &rule : kNumberRules) {
        if (!device.starts_with(rule.prefix)) continue;
        const int index = WholeNumber(device.substr(rule.prefix.size()));
        if (index >= 0 && index < rule.count) return rule.firstNumber + index;
    }
    return 0;
}

int PortNumberOfName(std::string_view friendlyName)
{
    const size_t open = friendlyName.rfind("(COM");
    if (open == std::string_view::npos) return 0;
    const std::string_view rest = friendlyName.substr(open + 4);
    const int number = WholeNumber(rest.substr(0, rest.find(')')));
    return number >= 1 && number <= 255 ? number : 0;
}

static bool HoldsCaseBlind(std::string_view text, std::string_view words)
{
    const auto capital = [](char c) {
        return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
    };
    return std::search(text.begin(), text.end(), words.begin(), words.end(),
                       [&](char a, char b) { return capital(a) == capital(b); }) != text.end();
}

static bool IsMotorBoard(const ZVK_PortFacts &facts)
{
    if (facts.vendorId == kMotorBoardVendor) return true;
    if (facts.vendorId == kSharedVendor && facts.productId == kSharedMotorBoard) return true;
    return HoldsCaseBlind(facts.maker, kMotorBoardMaker) ||
           HoldsCaseBlind(facts.product, kMotorBoardMaker);
}

static void AppendWords(std::string &name, std::string_view words)
{
    if (words.empty() || HoldsCaseBlind(name, words)) return;
    if (!name.empty()) name += ' ';
    name += words;
}

// A search for plain serial adapters must not meet a motor board, so the class words stay out.
static std::string MotorBoardWords(const ZVK_PortFacts &facts)
{
    std::string name(kMotorBoardMaker);
    if (!HoldsCaseBlind(facts.product, kUsbWords)) AppendWords(name, facts.product);
    return name;
}

static std::string UsbWords(const ZVK_PortFacts &facts)
{
    std::string name;
    AppendWords(name, facts.maker);
    AppendWords(name, facts.product);
    AppendWords(name, kUsbWords);
    return name;
}

static std::string DeviceWords(const ZVK_PortFacts &facts)
{
    if (!facts.usb) return std::string(kPlainWords);
    return IsMotorBoard(facts) ? MotorBoardWords(facts) : UsbWords(facts);
}

std::string ComposePortName(const ZVK_PortFacts &facts)
{
    const int number = PortNumberOfDevice(facts.device);
    if (number == 0) return {};
    return DeviceWords(facts) + " (COM" + std::to_string(number) + ")";
}

static std::string_view Trimmed(std::string_view text)
{
    const size_t first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

std::vector<ZVK_PortEntry> ParsePinnedPorts(std::string_view text)
{
    std::vector<ZVK_PortEntry> ports;
    while (!text.empty()) {
        const size_t end = std::min(text.find(';'), text.size());
        const std::string_view entry = text.substr(0, end);
        text.remove_prefix(std::min(end + 1, text.size()));

        const size_t separator = entry.rfind('=');
        if (separator == std::string_view::npos) continue;
        const std::string_view name = Trimmed(entry.substr(0, separator));
        const std::string_view device = Trimmed(entry.substr(separator + 1));
        if (device.empty() || PortNumberOfName(name) == 0) continue;
        ports.push_back({std::string(name), std::string(device)});
    }
    return ports;
}

void AddUnlessPinned(std::vector<ZVK_PortEntry> &ports, const std::vector<ZVK_PortEntry> &found)
{
    const size_t pinned = ports.size();
    for (const ZVK_PortEntry &port : found) {
        const auto end = ports.begin() + static_cast<std::ptrdiff_t>(pinned);
        const bool taken = std::any_of(ports.begin(), end, [&](const ZVK_PortEntry &pin) {
            return pin.device == port.device ||
                   PortNumberOfName(pin.friendlyName) == PortNumberOfName(port.friendlyName);
        });
        if (!taken) ports.push_back(port);
    }
}
