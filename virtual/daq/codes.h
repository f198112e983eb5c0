#ifndef QUORVEX_VIRTUAL_DAQ_CODES_H
#define QUORVEX_VIRTUAL_DAQ_CODES_H

// The numbers of the card vendor's interface: results with their texts, values, attributes.

#include <cstdint>

// X(name, code, text)
#define ZVC_CODES(X)                                                                               \
    X(kStoppedBeforeDone, 200010, "The task was stopped before all of its samples had come")       \
    X(kBadTerminal, -89120, "No such terminal on the card")                                        \
    X(kTaskAborted, -88709, "The task was stopped or cleared while the call waited")               \
    X(kResourceReserved, -50103, "The resource is reserved by another task")                       \
    X(kOutOfMemory, -50352, "Memory or threads ran out")                                           \
    X(kBadValue, -200077, "The value is not one that can be set")                                  \
    X(kInvalidTask, -200088, "The task does not exist")                                            \
    X(kDuplicateTask, -200089, "A task of this name exists already")                               \
    X(kBadChannel, -200170, "No such physical channel on the card")                                \
    X(kAttributeNotSupported, -200197, "The attribute is not supported")                           \
    X(kNoSuchDevice, -200220, "No such device")                                                    \
    X(kTextCut, -200228, "The buffer is too small for the text")                                   \
    X(kArrayTooSmall, -200229, "The array is too small for the samples asked for")                 \
    X(kReadPastEnd, -200278, "The acquisition has ended; the samples will never come")             \
    X(kInputOverrun, -200279, "Samples were overwritten before they were read")                    \
    X(kSamplesNotYetThere, -200284, "Not all samples had come when the time was over")             \
    X(kOutputUnderrun, -200290, "The output ran out of samples to generate")                       \
    X(kNoRoomYet, -200292, "Not all samples had found room when the time was over")                \
    X(kAttributeOutOfPlace, -200452, "The attribute is not supported for this task")               \
    X(kOutputBufferEmpty, -200462, "Nothing was written before the start")                         \
    X(kNoChannels, -200478, "The task has no channels")                                            \
    X(kTaskRunning, -200479, "The task is running")                                                \
    X(kNotInTask, -200486, "The channel is not in the task")                                       \
    X(kChannelTwice, -200489, "The channel is in the task already")                                \
    X(kReadChannelCount, -200523, "A single value is read from a task of one channel only")        \
    X(kWriteChannelCount, -200524, "A single value is written to a task of one channel only")      \
    X(kVoltsOutOfRange, -200561, "A sample lies outside the channel's range")                      \
    X(kRegenerationWhileRunning, -200568, "The regeneration mode of a running task is fixed")      \
    X(kNullPointer, -200604, "A pointer is null that must not be")                                 \
    X(kNeedsAutoStart, -200846, "The task is not running and the call does not start it")          \
    X(kEventNeedsBuffer, -200848, "The task has no buffer to count samples of")                    \
    X(kIntervalNoDivisor, -200877, "The event's interval does not divide the buffer")              \
    X(kIntervalZero, -200880, "The event's interval is 0")                                         \
    X(kEventTwice, -200881, "The event is registered already")                                     \
    X(kEventWrongType, -200849, "The event does not fit the task's direction")                     \
    X(kEventWhileRunning, -200960, "Events are registered before the start")                       \
    X(kNoSynchronousEvents, -200942, "Events in the registering thread are not supported")

enum : int32_t
{
#define X(name, code, text) name = code,
    ZVC_CODES(X)
#undef X
};

enum : int32_t
{
    kDefaultTerminals = -1,
    kByChannel = 0,
    kByScan = 1,
    kOneChannelPerLine = 0,
    kOneChannelForAllLines = 1,
    kAcquired = 1,
    kTransferred = 2,
    kSingleEnded = 10083,
    kNonReferenced = 10078,
    kDifferential = 10106,
    kRegeneration = 10097,
    kContinuous = 10123,
    kDigitalEdge = 10150,
    kNoRegeneration = 10158,
    kFalling = 10171,
    kFinite = 10178,
    kNoTrigger = 10230,
    kMemoryEmpty = 10235,
    kMemoryHalfEmpty = 10239,
    kMemoryNotFull = 10242,
    kRising = 10280,
    kVolts = 10348,
    kFromFirstSample = 10424,
    kFromCurrentPosition = 10430,
    kPseudoDifferential = 12529
};

enum : int32_t
{
    kAttributeSampleRate = 0x1344,
    kAttributeStartTrigger = 0x1393,
    kAttributeRegeneration = 0x1453,
    kAttributeTransferCondition = 0x183C,
    kAttributeRelativeTo = 0x190C,
    kAttributeUsbRequestSize = 0x2A8F
};

#endif
