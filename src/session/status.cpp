// Status numbers become texts.

#include "quorvex/errors.h"

#include <cstdio>
#include <cstring>

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
    for (const StatusRow &row : kRows) {
        if (row.status != status_code) continue;
        std::strcpy(message, row.text);
        return row.result;
    }
    std::sprintf(message, "An unknown error occurred. Error code %d.\n", status_code);
    return ZVK_SUCCESS;
}
