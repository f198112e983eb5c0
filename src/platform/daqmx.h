#ifndef QUORVEX_PLATFORM_DAQMX_H
#define QUORVEX_PLATFORM_DAQMX_H

// The card vendor's C interface, opened at run time. Results are the vendor's: 0 success, negative
// error, positive warning. Without the library every call answers ZVK_DAQ_ABSENT and the extended
// error text names the library and the environment variable that can name another.

#include <cstdint>
#include <type_traits>

typedef void *ZVK_DaqTask;
typedef int32_t (*ZVK_DaqEveryNSamples)(ZVK_DaqTask task, int32_t eventType, uint32_t nSamples,
                                        void *callbackData);

// A code of ours, outside the vendor's numbers: there is no library to call.
constexpr int32_t ZVK_DAQ_ABSENT = -1;

enum : int32_t
{
    ZVK_DAQ_VOLTS = 10348,
    ZVK_DAQ_RISING = 10280,
    ZVK_DAQ_FALLING = 10171,
    ZVK_DAQ_CONTINUOUS = 10123,
    ZVK_DAQ_FINITE = 10178,
    ZVK_DAQ_DIFFERENTIAL = 10106,
    ZVK_DAQ_SINGLE_ENDED = 10083,
    ZVK_DAQ_ON_BOARD_MEMORY_EMPTY = 10235,
    ZVK_DAQ_NO_REGENERATION = 10158,
    ZVK_DAQ_REGENERATION = 10097,
    ZVK_DAQ_FROM_FIRST_SAMPLE = 10424,
    ZVK_DAQ_NO_TRIGGER = 10230,
    ZVK_DAQ_ACQUIRED = 1,
    ZVK_DAQ_TRANSFERRED = 2,
    ZVK_DAQ_BY_CHANNEL = 0,
    ZVK_DAQ_BY_SCAN = 1,
    ZVK_DAQ_ONE_CHANNEL_FOR_ALL_LINES = 1,
    // attributes
    ZVK_DAQ_AO_TRANSFER_CONDITION = 0x183C,
    ZVK_DAQ_AO_USB_REQUEST_SIZE = 0x2A8F,  // bytes; only USB cards know it
    ZVK_DAQ_WRITE_REGENERATION = 0x1453,
    ZVK_DAQ_WRITE_RELATIVE_TO = 0x190C,
    ZVK_DAQ_SAMPLE_CLOCK_RATE = 0x1344,  // a double
    ZVK_DAQ_START_TRIGGER_TYPE = 0x1393
};

// X(entry, vendor's name, type). The attribute setters are variadic in the vendor's library; the
// argument behind them is an int32_t, but a double for ZVK_DAQ_SAMPLE_CLOCK_RATE.
#define ZVK_DAQ_CALLS(X)                                                                           \
    X(createTask, DAQmxCreateTask, int32_t(const char *name, ZVK_DaqTask *task))                   \
    X(startTask, DAQmxStartTask, int32_t(ZVK_DaqTask task))                                        \
    X(stopTask, DAQmxStopTask, int32_t(ZVK_DaqTask task))                                          \
    X(clearTask, DAQmxClearTask, int32_t(ZVK_DaqTask task))                                        \
    X(createAIVoltageChan, DAQmxCreateAIVoltageChan,                                               \
      int32_t(ZVK_DaqTask task, const char *channels, const char *name, int32_t terminals,         \
              double min, double max, int32_t units, const char *scale))                           \
    X(createAOVoltageChan, DAQmxCreateAOVoltageChan,                                               \
      int32_t(ZVK_DaqTask task, const char *channels, const char *name, double min, double max,    \
              int32_t units, const char *scale))                                                   \
    X(createDOChan, DAQmxCreateDOChan,                                                             \
      int32_t(ZVK_DaqTask task, const char *lines, const char *name, int32_t grouping))            \
    X(cfgSampClkTiming, DAQmxCfgSampClkTiming,                                                     \
      int32_t(ZVK_DaqTask task, const char *source, double rate, int32_t edge, int32_t mode,       \
              uint64_t samples))                                                                   \
    X(cfgDigEdgeStartTrig, DAQmxCfgDigEdgeStartTrig,                                               \
      int32_t(ZVK_DaqTask task, const char *source, int32_t edge))                                 \
    X(cfgOutputBuffer, DAQmxCfgOutputBuffer, int32_t(ZVK_DaqTask task, uint32_t samples))          \
    X(getSampClkMaxRate, DAQmxGetSampClkMaxRate, int32_t(ZVK_DaqTask task, double *rate))          \
    X(readAnalogF64, DAQmxReadAnalogF64,                                                           \
      int32_t(ZVK_DaqTask task, int32_t samples, double timeoutS, uint32_t layout, double *out,    \
              uint32_t outSize, int32_t *read, uint32_t *reserved))                                \
    X(writeAnalogF64, DAQmxWriteAnalogF64,                                                         \
      int32_t(ZVK_DaqTask task, int32_t samples, uint32_t autoStart, double timeoutS,              \
              uint32_t layout, const double *in, int32_t *written, uint32_t *reserved))            \
    X(writeAnalogScalarF64, DAQmxWriteAnalogScalarF64,                                             \
      int32_t(ZVK_DaqTask task, uint32_t autoStart, double timeoutS, double volts,                 \
              uint32_t *reserved))                                                                 \
    X(readDigitalScalarU32, DAQmxReadDigitalScalarU32,                                             \
      int32_t(ZVK_DaqTask task, double timeoutS, uint32_t *value, uint32_t *reserved))             \
    X(writeDigitalScalarU32, DAQmxWriteDigitalScalarU32,                                           \
      int32_t(ZVK_DaqTask task, uint32_t autoStart, double timeoutS, uint32_t value,               \
              uint32_t *reserved))                                                                 \
    X(registerEveryNSamplesEvent, DAQmxRegisterEveryNSamplesEvent,                                 \
      int32_t(ZVK_DaqTask task, int32_t eventType, uint32_t nSamples, uint32_t options,            \
              ZVK_DaqEveryNSamples callback, void *data))                                          \
    X(getExtendedErrorInfo, DAQmxGetExtendedErrorInfo, int32_t(char *text, uint32_t size))         \
    X(setChanAttribute, DAQmxSetChanAttribute,                                                     \
      int32_t(ZVK_DaqTask task, const char *channels, int32_t attribute, ...))                     \
    X(setWriteAttribute, DAQmxSetWriteAttribute,                                                   \
      int32_t(ZVK_DaqTask task, int32_t attribute, ...))                                           \
    X(setTrigAttribute, DAQmxSetTrigAttribute, int32_t(ZVK_DaqTask task, int32_t attribute, ...))  \
    X(setTimingAttribute, DAQmxSetTimingAttribute,                                                 \
      int32_t(ZVK_DaqTask task, int32_t attribute, ...))                                           \
    X(getTimingAttribute, DAQmxGetTimingAttribute,                                                 \
      int32_t(ZVK_DaqTask task, int32_t attribute, void *value, ...))

struct ZVK_DaqTable
{
#define X(entry, vendorName, type) std::add_pointer_t<type> entry;
    ZVK_DAQ_CALLS(X)
#undef X
};

const ZVK_DaqTable &Daq();               // the table in use, every entry set
void UseDaq(const ZVK_DaqTable *table);  // null: back to the loaded library

#endif
