#ifndef QUORVEX_SESSION_H
#define QUORVEX_SESSION_H

#include "quorvex/types.h"

ZVK_EXTERN_C_BEGIN

ZVK_API int32_t ZVK_init(const char *rsrcName, uint16_t id_query, uint16_t reset_instr, SessionHandle vi);
ZVK_API int32_t ZVK_close(SessionHandle vi);
ZVK_API int32_t ZVK_reset(SessionHandle vi);
ZVK_API int32_t ZVK_self_test(SessionHandle vi, int16_t **result, char *message);
ZVK_API int32_t ZVK_revision_query(SessionHandle vi, char *driver_rev, char *instr_rev);
ZVK_API int32_t ZVK_error_query(SessionHandle vi, int32_t **error_code, char *error_message);

ZVK_EXTERN_C_END

#endif
