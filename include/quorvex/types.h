#ifndef QUORVEX_TYPES_H
#define QUORVEX_TYPES_H

#include <stdint.h>

/*
 * What all headers share. Whole numbers have the same width on every platform. A table that a call
 * hands out comes from malloc, belongs to the caller and is freed by free().
 */

#ifdef __cplusplus
#define ZVK_EXTERN_C_BEGIN                                                                         \
    extern "C"                                                                                     \
    {
#define ZVK_EXTERN_C_END }
#else
#define ZVK_EXTERN_C_BEGIN
#define ZVK_EXTERN_C_END
#endif

#if defined(__GNUC__)
#define ZVK_API __attribute__((visibility("default")))
#else
#define ZVK_API
#endif

/** The value that a client chooses and passes to every call. No call looks at it. */
typedef uint32_t SessionHandle;

/** Beam paths. */
enum
{
    ZVK_PATH_A = 0,
    ZVK_PATH_B = 1
};

/** Units of positions and speeds. */
enum
{
    ZVK_UNIT_VOLT = 1,      /**< galvo drive voltage */
    ZVK_UNIT_PIXEL = 2,     /**< camera pixels of the calibrated field, absolute */
    ZVK_UNIT_MICROMETER = 3 /**< length in the object plane, from the trap centre */
};

/** Directions of ZVK_CoordinateSystems_Convert. */
enum
{
    ZVK_TRAFODIR_PIXEL_TO_VOLT = 1,
    ZVK_TRAFODIR_VOLT_TO_PIXEL = -1,
    ZVK_TRAFODIR_VOLT_TO_MICROMETER = 2,
    ZVK_TRAFODIR_MICROMETER_TO_VOLT = 3,
    ZVK_TRAFODIR_MICROMETER_TO_PIXEL = 4,
    ZVK_TRAFODIR_PIXEL_TO_MICROMETER = 5
};

/** Data types of ZVK_ConFile_Read and ZVK_ConFile_Write. */
enum
{
    ZVK_CONFILE_STRING = 1, /**< char[256] */
    ZVK_CONFILE_LONG = 2,   /**< int32_t */
    ZVK_CONFILE_DOUBLE = 3, /**< double */
    ZVK_CONFILE_FLOAT = 4   /**< float */
};

/** Move modes of a waypoint and of its trap. */
enum
{
    ZVK_MOVE_ONCE = 1,           /**< run the trajectory from head to tail, then stand */
    ZVK_MOVE_BACK_AND_FORTH = 2, /**< run the trajectory back and forth for ever */
    ZVK_MOVE_STAND = 3           /**< stand still */
};

/** Shapes of a trajectory's segments. 3 and 4 act as 1; any other value makes no nodes. */
enum
{
    ZVK_WAVEFORM_LINEAR = 1, /**< evenly spaced */
    ZVK_WAVEFORM_SINE = 2    /**< slow at both ends, fast in the middle */
};

#endif
