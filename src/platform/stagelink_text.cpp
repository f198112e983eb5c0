#include "platform/stagelink_text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <iterator>

struct ZVK_LinkErrorRow
{
    int32_t code;
    const char *text;
};

static const ZVK_LinkErrorRow kErrors[] = {
    {0, "No error."},
    {1, "The controller found an error in the syntax of a command."},
    {2, "The controller does not know the command."},
    {5, "A move was refused: the servo is off, or the axis has no reference."},
    {7, "The position is outside the limits."},
    {8, "The velocity is outside the limits."},
    {10, "The controller was stopped by command."},
    {15, "There is no axis of that name."},
    {17, "A parameter is out of range."},
    {23, "There is no axis of that name."},
    {24, "A command has the wrong number of parameters."},
    {54, "There is no such parameter."},
    {63, "The controller is still starting up."},
    {67, "The wave is too long for its table."},
    {72, "The axis follows an analog input."},
    {73, "The axis follows its wave generator."},
    {ZVK_LINK_LOST, "The connection to the stage controller is lost."},
    {ZVK_LINK_SEND_FAILED, "A command could not be sent to the stage controller."},
    {ZVK_LINK_NOT_CONNECTED,
     "The stage controller could not be reached. Check that it is switched on, and IP and PORTNUM "
     "of section STAGE."},
    {ZVK_LINK_NO_MEMORY, "There was no memory for a command to the stage controller."},
    {ZVK_LINK_TIMED_OUT, "The stage controller did not answer in time."},
    {ZVK_LINK_BAD_ID, "There is no connection to a stage controller."},
    {ZVK_LINK_BAD_REPLY, "The stage controller gave an answer that makes no sense."},
};

const char *LinkErrorText(int32_t code)
{
    const auto *row = std::find_if(std::begin(kErrors), std::end(kErrors),
                                   [=](const ZVK_LinkErrorRow &r) { return r.code == code; });
    return row != std::end(kErrors) ? row->text
                                    : "The stage controller reported an error without a text here.";
}

std::string NumberText(int32_t value) { return std::to_string(value); }

std::string NumberText(double value)
{
    char text[64];
    const auto end = std::to_chars(text, text + sizeof text, value, std::chars_format::general, 9);
    return {text, end.ptr};
}

std::string HexText(uint32_t value)
{
    char text[16];
    (void)std::snprintf(text, sizeof text, "0x%08X", value);
    return text;
}

static bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

std::vector<std::string> AxisNames(const char *axes)
{
    std::vector<std::string> names;
    bool inside = false;
    for (; axes != nullptr && *axes != '\0'; ++axes) {
        if (IsBlank(*axes)) {
            inside = false;
            continue;
        }
        if (!inside) names.emplace_back();
        names.back() += *axes;
        inside = true;
    }
    return names;
}

bool IsCompleteReply(std::string_view reply)
{
    if (reply.empty() || reply.back() != '\n') return false;
    return reply.size() < 2 || reply[reply.size() - 2] != ' ';
}

static std::string_view WithoutBlanksInFront(std::string_view text)
{
    while (!text.empty() && IsBlank(text.front()))
        text.remove_prefix(1);
    if (text.size() > 1 && text.front() == '+' && text[1] != '-') text.remove_prefix(1);
    return text;
}

bool ReadNumber(std::string_view text, double *value)
{
    text = WithoutBlanksInFront(text);
    double read = 0.0;
    const auto result = std::from_chars(text.data(), text.data() + text.size(), read);
    if (result.ec != std::errc() || !std::isfinite(read)) return false;
    if (result.ptr != text.data() + text.size() && !IsBlank(*result.ptr)) return false;
    *value = read;
    return true;
}

// Some controllers write whole numbers with decimals.
bool ReadWhole(std::string_view text, int32_t *value)
{
    double read = 0.0;
    if (!ReadNumber(text, &read)) return false;
    if (read < -2147483648.0 || read > 2147483647.0) return false;
    *value = static_cast<int32_t>(read);
    return true;
}

bool ReadErrorCode(std::string_view reply, int32_t *code)
{
    while (!reply.empty() && IsBlank(reply.back()))
        reply.remove_suffix(1);
    const size_t end = reply.rfind('\n');
    const std::string_view line =
        WithoutBlanksInFront(end == std::string_view::npos ? reply : reply.substr(end + 1));
    int32_t read = 0;
    const auto result = std::from_chars(line.data(), line.data() + line.size(), read);
    if (result.ec != std::errc() || result.ptr != line.data() + line.size()) return false;
    *code = read;
    return true;
}

std::string_view BehindEquals(std::string_view text)
{
    const size_t at = text.find('=');
    return at == std::string_view::npos ? std::string_view() : text.substr(at + 1);
}

// The text behind "name=" in one of the lines.
static std::string_view FindItem(std::string_view reply, const std::string &name)
{
    while (!reply.empty()) {
        const size_t end = std::min(reply.find('\n'), reply.size() - 1) + 1;
        const std::string_view line = WithoutBlanksInFront(reply.substr(0, end));
        if (line.size() > name.size() && line.starts_with(name) && line[name.size()] == '=')
            return line.substr(name.size() + 1);
        reply.remove_prefix(end);
    }
    return {};
}

template <class Value>
static bool ReadAll(std::string_view reply, const std::vector<std::string> &names, Value *values,
                    bool (*read)(std::string_view, Value *))
{
    std::vector<Value> found(names.size());
    for (size_t i = 0; i < names.size(); ++i) {
        if (!read(FindItem(reply, names[i]), &found[i])) return false;
    }
    std::copy(found.begin(), found.end(), values);
    return true;
}

bool ReadItems(std::string_view reply, const std::vector<std::string> &names, double *values)
{
    return ReadAll(reply, names, values, ReadNumber);
}

bool ReadItems(std::string_view reply, const std::vector<std::string> &names, int32_t *values)
{
    return ReadAll(reply, names, values, ReadWhole);
}
