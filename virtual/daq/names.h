#ifndef QUORVEX_VIRTUAL_DAQ_NAMES_H
#define QUORVEX_VIRTUAL_DAQ_NAMES_H

// Physical channels and terminals as texts.

#include <cstdint>
#include <string>
#include <vector>

enum class ChannelKind : uint8_t
{
    analogInput,
    analogOutput,
    line
};

struct PhysicalChannel
{
    std::string device;   // as written
    std::string text;     // "Dev1/ao0", "Dev1/port0/line3"
    std::string key;      // the same in lower case
    std::string portKey;  // of a line: "dev1/port0"
    uint32_t line = 0;    // of a line: its number
};

// Takes a list such as "Dev1/ao0:2, /Dev1/ao5" apart, in its order. False: it is not one, or not of
// this kind; `channels` is then of no use.
bool ParseChannels(const char *list, ChannelKind kind, std::vector<PhysicalChannel> &channels);

// Whether a text names a terminal: "/Dev1/PFI1", "Dev1/ai/StartTrigger", "PFI0".
bool IsTerminal(const char *terminal);

// A terminal in lower case without the leading slash.
std::string TerminalKey(const char *terminal);

// Whether two terminal keys mean the same place; a key without device means it on any device.
bool SameTerminal(const std::string &one, const std::string &other);

std::string LowerCase(const std::string &text);

// The parts between commas, without blanks around them; an empty part stays one.
std::vector<std::string> SplitList(const std::string &list);

#endif
