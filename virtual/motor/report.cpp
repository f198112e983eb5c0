// A board's commands in words.

#include "quorvex-virtual/motor.h"

#include <charconv>

constexpr int kDone = 100;

static std::string Seconds(double seconds)
{
    char text[64];
    const auto end =
        std::to_chars(text, text + sizeof text, seconds, std::chars_format::fixed, 3).ptr;
    const std::string number(text, end);
    return std::string(number.size() < 8 ? 8 - number.size() : 0, ' ') + number;
}

struct ParameterName
{
    int parameter;
    const char *name;
};

static constexpr ParameterName kParameters[] = {
    {0, "target"},
    {1, "position"},
    {3, "speed"},
    {4, "highest speed"},
    {5, "highest acceleration"},
    {6, "highest current"},
    {7, "standby current"},
    {8, "position reached"},
    {138, "ramp mode"},
    {203, "mixed decay threshold"},
    {204, "freewheeling"},
};

static std::string NameOf(int parameter)
{
    for (const ParameterName &row : kParameters)
        if (row.parameter == parameter) return row.name;
    return "parameter " + std::to_string(parameter);
}

static std::string InWords(const VirtualMotorEvent &event)
{
    const std::string value = std::to_string(event.value);
    switch (event.command) {
    case 1: return "rotate up at " + value;
    case 2: return "rotate down at " + value;
    case 3: return "stop";
    case 4: return (event.type == 0 ? "move to " : "move by ") + value;
    case 5: return "set " + NameOf(event.type) + " " + value;
    case 6: return NameOf(event.type) + "? " + value;
    case 9: return "set user variable " + std::to_string(event.type) + " " + value;
    case 10: return "user variable " + std::to_string(event.type) + "? " + value;
    default: return "command " + std::to_string(event.command);
    }
}

std::string VirtualMotorReport(const std::vector<VirtualMotorEvent> &events)
{
    constexpr size_t kCommandWidth = 32;
    std::string text;
    for (const VirtualMotorEvent &event : events) {
        std::string command = InWords(event);
        if (command.size() < kCommandWidth) command.resize(kCommandWidth, ' ');
        text += Seconds(event.timeS) + " s  " + command + " at " + std::to_string(event.position);
        if (event.status != kDone) text += ", refused with " + std::to_string(event.status);
        text += "\n";
    }
    return text;
}
