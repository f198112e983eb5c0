#ifndef QUORVEX_PLATFORM_STAGELINK_TEXT_H
#define QUORVEX_PLATFORM_STAGELINK_TEXT_H

// The texts of the stage controller's language: how commands are written and replies read, whatever
// the locale. No state.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// Codes of the controller that the link itself knows, and codes of the link.
enum ZVK_LinkError : int32_t
{
    ZVK_LINK_STOPPED = 10,
    ZVK_LINK_BAD_AXIS = 15,
    ZVK_LINK_BAD_ARGUMENT = 17,
    ZVK_LINK_LOST = -1,
    ZVK_LINK_SEND_FAILED = -2,
    ZVK_LINK_NOT_CONNECTED = -3,
    ZVK_LINK_NO_MEMORY = -5,
    ZVK_LINK_TIMED_OUT = -7,
    ZVK_LINK_BAD_ID = -9,
    ZVK_LINK_BAD_REPLY = -1004
};

const char *LinkErrorText(int32_t code);

std::string NumberText(int32_t value);
std::string NumberText(double value);  // nine digits
std::string HexText(uint32_t value);

// The names in a list such as "1 \n2 \n3 \n"; none for a null or empty one.
std::vector<std::string> AxisNames(const char *axes);

// It ends in a line feed that stands behind no blank.
bool IsCompleteReply(std::string_view reply);

// The first word of the text, which must be a finite number; what follows is passed over. The value
// stays as it was when there is none.
bool ReadNumber(std::string_view text, double *value);
bool ReadWhole(std::string_view text, int32_t *value);

// The reply to the question for the error: the last line, and nothing but a whole number in it.
bool ReadErrorCode(std::string_view reply, int32_t *code);

// What stands behind the first equals sign; empty without one.
std::string_view BehindEquals(std::string_view text);

// Lines of "item=value": one value for each name, in the order of the names, whatever the order of
// the lines. False, with nothing written, when one is missing or is no number.
bool ReadItems(std::string_view reply, const std::vector<std::string> &names, double *values);
bool ReadItems(std::string_view reply, const std::vector<std::string> &names, int32_t *values);

#endif
