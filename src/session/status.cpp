// Status numbers become texts.

#include "quorvex/errors.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <iterator>

namespace {

struct StatusRow
{
    int32_t status;
    int32_t result;  // what ZVK_error_message answers
    const char *text;
};

}  // namespace

static const StatusRow kRows[] = {
#define ZVK_ROW(name, number, text) {number, ZVK_SUCCESS, text},
#define ZVK_ROW_101(name, number, text) {number, ZVK_ERROR_UNRECOGNIZED, text},
#define ZVK_NO_ROW(name, number)
    ZVK_STATUS_TABLE(ZVK_ROW, ZVK_ROW_101, ZVK_NO_ROW)
#undef ZVK_ROW
#undef ZVK_ROW_101
#undef ZVK_NO_ROW
};

int32_t ZVK_error_message(SessionHandle, int32_t status_code, char *message)
{
    const auto *row = std::ranges::find(kRows, status_code, &StatusRow::status);
    if (row != std::end(kRows)) {
        if (message != nullptr) std::strcpy(message, row->text);
        return row->result;
    }
    if (message == nullptr) return ZVK_SUCCESS;
    char unknown[64];
    std::snprintf(unknown, sizeof unknown, "An unknown error occurred. Error code %d.\n",
                  status_code);
    std::strcpy(message, unknown);
    return ZVK_SUCCESS;
}
