#ifndef QUORVEX_PLATFORM_STAGELINK_H
#define QUORVEX_PLATFORM_STAGELINK_H

// The stage's controller, one call for each operation of its command language. A call gives 1 on
// success and 0 on failure; what went wrong is then told by getError. Arrays have one entry for
// each axis that is named.

#include <cstddef>
#include <cstdint>
#include <type_traits>

// - connect: gives an identifier of 0 or more, negative on failure.
// - getError: the last error of the controller or of the connection, once; 0 for none.
// - translateError: puts a text for a code, cut to the buffer and ended by a zero.
// - axes: names of axes, such as "1 \n2 \n3 \n"; a single one may be cut out of such a list. A
//   null or empty list names none and fails, but for defineHome, where it means all of them.
// - setOnline: by the numbers of the piezo channels.
// - stop: ends all moves and generators. The controller reports the stop as an error of its own,
//   which is read and dropped.
// - waveSine: one period from `offset` up by `amplitude` (peak to peak) with its highest point at
//   `centre`, into points first to first + count - 1; mode 0 clears the table before.
#define ZVK_STAGE_LINK_CALLS(X)                                                                    \
    X(connect, int32_t(const char *host, int32_t port))                                            \
    X(close, void(int32_t id))                                                                     \
    X(getError, int32_t(int32_t id))                                                               \
    X(translateError, int32_t(int32_t code, char *text, size_t size))                              \
    X(queryCommandSet, int32_t(int32_t id, double *version))                                       \
    X(queryAxes, int32_t(int32_t id, char *axes, size_t size))                                     \
    X(setOnline, int32_t(int32_t id, const int32_t *channels, const int32_t *values, int32_t n))   \
    X(setServo, int32_t(int32_t id, const char *axes, const int32_t *values))                      \
    X(setVelocityControl, int32_t(int32_t id, const char *axes, const int32_t *values))            \
    X(setDriftCompensation, int32_t(int32_t id, const char *axes, const int32_t *values))          \
    X(setVelocity, int32_t(int32_t id, const char *axes, const double *values))                    \
    X(queryUpperLimit, int32_t(int32_t id, const char *axes, double *values))                      \
    X(queryLowerLimit, int32_t(int32_t id, const char *axes, double *values))                      \
    X(move, int32_t(int32_t id, const char *axes, const double *values))                           \
    X(moveRelative, int32_t(int32_t id, const char *axes, const double *values))                   \
    X(queryTarget, int32_t(int32_t id, const char *axes, double *values))                          \
    X(queryPosition, int32_t(int32_t id, const char *axes, double *values))                        \
    X(queryOnTarget, int32_t(int32_t id, const char *axes, int32_t *values))                       \
    X(defineHome, int32_t(int32_t id, const char *axes))                                           \
    X(stop, int32_t(int32_t id))                                                                   \
    X(clearWave, int32_t(int32_t id, int32_t table))                                               \
    X(queryParameter, int32_t(int32_t id, const char *axis, uint32_t parameter, double *value))    \
    X(queryWavePoints, int32_t(int32_t id, int32_t table, int32_t *points))                        \
    X(setWaveRate, int32_t(int32_t id, int32_t generator, int32_t rate, int32_t interpolation))    \
    X(waveSine, int32_t(int32_t id, int32_t table, int32_t first, int32_t count, int32_t mode,     \
                        int32_t centre, double amplitude, double offset, int32_t segment))         \
    X(setTriggerOutput, int32_t(int32_t id, int32_t line, int32_t parameter, double value))        \
    X(startGenerator, int32_t(int32_t id, int32_t generator, int32_t mode))

struct ZVK_StageLinkTable
{
#define X(call, type) std::add_pointer_t<type> call;
    ZVK_STAGE_LINK_CALLS(X)
#undef X
};

const ZVK_StageLinkTable &StageLink();               // the table in use, every entry set
void UseStageLink(const ZVK_StageLinkTable *table);  // null: back to the network

#endif
