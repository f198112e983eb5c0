// Frames, and the log of a served port as text.

#include "quorvex-virtual/served_port.h"

size_t LineFrame(std::string_view pending)
{
    const size_t end = pending.find('\n');
    return end == std::string_view::npos ? 0 : end + 1;
}

PortFraming FixedFrame(size_t bytes)
{
    return [bytes](std::string_view pending) { return pending.size() < bytes ? 0 : bytes; };
}

static std::string HexOf(char byte)
{
    constexpr const char *kDigits = "0123456789ABCDEF";
    const auto value = static_cast<unsigned char>(byte);
    return {kDigits[value / 16], kDigits[value % 16]};
}

static std::string Shown(char byte)
{
    if (byte == '\r') return "\\r";
    if (byte == '\n') return "\\n";
    if (byte >= ' ' && byte <= '~') return {byte};
    return "\\x" + HexOf(byte);
}

std::string PortLogText(const std::vector<PortEvent> &log)
{
    std::string text;
    for (const PortEvent &event : log) {
        text += event.received ? "> " : "< ";
        for (const char byte : event.bytes)
            text += Shown(byte);
        text += '\n';
    }
    return text;
}

std::string PortLogHex(const std::vector<PortEvent> &log)
{
    std::string text;
    for (const PortEvent &event : log) {
        text += event.received ? ">" : "<";
        for (const char byte : event.bytes)
            text += " " + HexOf(byte);
        text += '\n';
    }
    return text;
}
