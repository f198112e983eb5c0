#ifndef QUORVEX_VIRTUAL_LINKAGE_H
#define QUORVEX_VIRTUAL_LINKAGE_H

/* How the functions of the virtual instrument are declared. */

#define ZVC_API __attribute__((visibility("default")))

#ifdef __cplusplus
#define ZVC_EXTERN_C_BEGIN                                                                         \
    extern "C"                                                                                     \
    {
#define ZVC_EXTERN_C_END }
#else
#define ZVC_EXTERN_C_BEGIN
#define ZVC_EXTERN_C_END
#endif

#endif
