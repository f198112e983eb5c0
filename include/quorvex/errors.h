#ifndef QUORVEX_ERRORS_H
#define QUORVEX_ERRORS_H

#include "quorvex/status_table.h"
#include "quorvex/types.h"

ZVK_EXTERN_C_BEGIN

/** Every status by name: 0 success, negative an error, positive a warning. */
enum
{
#define ZVK_STATUS_VALUE(name, number, text) name = number,
#define ZVK_STATUS_BARE(name, number) name = number,
    ZVK_STATUS_TABLE(ZVK_STATUS_VALUE, ZVK_STATUS_VALUE, ZVK_STATUS_BARE)
#undef ZVK_STATUS_VALUE
#undef ZVK_STATUS_BARE
};

ZVK_API int32_t ZVK_error_message(SessionHandle vi, int32_t status_code, char *message);
ZVK_API int32_t ZVK_error_CaptureWarning(SessionHandle vi, int32_t error_code);
ZVK_API int32_t ZVK_error_GetWarnings(SessionHandle vi, int32_t *elements, int32_t *list);

ZVK_EXTERN_C_END

#endif
