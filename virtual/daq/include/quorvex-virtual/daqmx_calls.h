#ifndef QUORVEX_VIRTUAL_DAQMX_CALLS_H
#define QUORVEX_VIRTUAL_DAQMX_CALLS_H

/*
 * The calls of the card vendor's C interface that the virtual card has, with the vendor's names,
 * arguments and results: 0 success, negative error, positive warning (the call has worked). A
 * program that is linked to the card, or opens it at run time, calls it through these. Don't
 * include this header beside the vendor's own.
 *
 * Every call may be made from any thread. A handle is looked up, never dereferenced: one that is
 * dead or was never given answers -200088 and harms nothing.
 */

#include "linkage.h"

#include <stdint.h>

ZVC_EXTERN_C_BEGIN

typedef void *ZVC_Task;

/*
 * The event callback: its task, the event's type and interval as registered, the data as
 * registered. It runs on a thread of the card's own, one for each task, and may call every
 * function here, stop and clear its own task among them. Its result is not looked at.
 */
typedef int32_t (*ZVC_EveryNSamples)(ZVC_Task task, int32_t eventType, uint32_t nSamples,
                                     void *callbackData);

/* Tasks. An empty name gives a name of the card's own; a name in use answers -200089. */
ZVC_API int32_t DAQmxCreateTask(const char *taskName, ZVC_Task *taskHandle);
ZVC_API int32_t DAQmxStartTask(ZVC_Task taskHandle);
/* Discards the events that are pending. Doesn't wait for a callback that runs. */
ZVC_API int32_t DAQmxStopTask(ZVC_Task taskHandle);
/* Stops, gives the resources back and ends the handle. Doesn't wait for a callback that runs. */
ZVC_API int32_t DAQmxClearTask(ZVC_Task taskHandle);

/* Channels: "Dev1/ao0:3", "Dev1/port0/line0:7", lists by commas, case ignored, a leading slash
 * allowed. What names no channel answers -200170. */
ZVC_API int32_t DAQmxCreateAIVoltageChan(ZVC_Task taskHandle, const char *physicalChannel,
                                         const char *nameToAssignToChannel, int32_t terminalConfig,
                                         double minVal, double maxVal, int32_t units,
                                         const char *customScaleName);
ZVC_API int32_t DAQmxCreateAOVoltageChan(ZVC_Task taskHandle, const char *physicalChannel,
                                         const char *nameToAssignToChannel, double minVal,
                                         double maxVal, int32_t units, const char *customScaleName);
ZVC_API int32_t DAQmxCreateDOChan(ZVC_Task taskHandle, const char *lines,
                                  const char *nameToAssignToLines, int32_t lineGrouping);

/* Timing and triggers. What names no terminal answers -89120. */
ZVC_API int32_t DAQmxCfgSampClkTiming(ZVC_Task taskHandle, const char *source, double rate,
                                      int32_t activeEdge, int32_t sampleMode,
                                      uint64_t sampsPerChan);
ZVC_API int32_t DAQmxCfgDigEdgeStartTrig(ZVC_Task taskHandle, const char *triggerSource,
                                         int32_t triggerEdge);
ZVC_API int32_t DAQmxCfgOutputBuffer(ZVC_Task taskHandle, uint32_t numSampsPerChan);
ZVC_API int32_t DAQmxGetSampClkMaxRate(ZVC_Task taskHandle, double *data);

/* Samples. Time-outs in seconds: 0 is one try, -1 waits for ever. */
ZVC_API int32_t DAQmxReadAnalogF64(ZVC_Task taskHandle, int32_t numSampsPerChan, double timeout,
                                   uint32_t fillMode, double *readArray, uint32_t arraySizeInSamps,
                                   int32_t *sampsPerChanRead, uint32_t *reserved);
ZVC_API int32_t DAQmxWriteAnalogF64(ZVC_Task taskHandle, int32_t numSampsPerChan,
                                    uint32_t autoStart, double timeout, uint32_t dataLayout,
                                    const double *writeArray, int32_t *sampsPerChanWritten,
                                    uint32_t *reserved);
ZVC_API int32_t DAQmxWriteAnalogScalarF64(ZVC_Task taskHandle, uint32_t autoStart, double timeout,
                                          double value, uint32_t *reserved);
ZVC_API int32_t DAQmxReadDigitalScalarU32(ZVC_Task taskHandle, double timeout, uint32_t *value,
                                          uint32_t *reserved);
ZVC_API int32_t DAQmxWriteDigitalScalarU32(ZVC_Task taskHandle, uint32_t autoStart, double timeout,
                                           uint32_t value, uint32_t *reserved);

/* Events: type 1 for an input's samples acquired, 2 for an output's samples transferred. A null
 * callback takes the registration away. */
ZVC_API int32_t DAQmxRegisterEveryNSamplesEvent(ZVC_Task taskHandle, int32_t eventType,
                                                uint32_t nSamples, uint32_t options,
                                                ZVC_EveryNSamples callback, void *callbackData);

/* Attributes. The variable argument has the attribute's own type: int32_t, uint32_t or double;
 * a getter takes its address. */
ZVC_API int32_t DAQmxSetChanAttribute(ZVC_Task taskHandle, const char *channel, int32_t attribute,
                                      ...);
ZVC_API int32_t DAQmxSetWriteAttribute(ZVC_Task taskHandle, int32_t attribute, ...);
ZVC_API int32_t DAQmxSetTrigAttribute(ZVC_Task taskHandle, int32_t attribute, ...);
ZVC_API int32_t DAQmxSetTimingAttribute(ZVC_Task taskHandle, int32_t attribute, ...);
ZVC_API int32_t DAQmxGetTimingAttribute(ZVC_Task taskHandle, int32_t attribute, void *value, ...);

/* Texts. The first tells of the last call of this thread that failed; the second of any code.
 * With no buffer or a size of 0 both answer the size needed; a text that is cut answers
 * -200228. */
ZVC_API int32_t DAQmxGetExtendedErrorInfo(char *errorString, uint32_t bufferSize);
ZVC_API int32_t DAQmxGetErrorString(int32_t errorCode, char *errorString, uint32_t bufferSize);

ZVC_EXTERN_C_END

#endif
