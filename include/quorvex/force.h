#ifndef QUORVEX_FORCE_H
#define QUORVEX_FORCE_H

/*
 * Acquisition of the position detectors. Each beam path has a detector with three signals, X, Y and
 * their sum; a seventh channel carries the reference pulse that the stage gives while it
 * oscillates. Samples are in volts.
 *
 * `Channels` is a mask of what to read: 1 path A, 2 path B, 4 the reference. The order within a
 * scan is always A, B, reference. Channels read for the masks 1 to 7: 3, 3, 6, 1, 4, 4, 7.
 *
 * A block that is acquired lies scan by scan: sample s of channel c at index s * channels + c.
 * ZVK_Force_Chunky2Planar puts it channel by channel: c * samples + s.
 *
 * There is one acquisition at a time. Threads: call the finite and the reshaping calls from one
 * thread at a time; ZVK_Force_GrabBuffer and ZVK_Force_StopAcquireBuffered from any thread.
 * The session value is ignored.
 *
 * Simulated (key SIMULATE) no card is touched: a block is 0 V throughout, and a buffered
 * acquisition delivers nothing.
 */

#include "quorvex/types.h"

ZVK_EXTERN_C_BEGIN

/** Trigger types. */
enum
{
    ZVK_FORCE_TRIGGER_NONE = 1,     /**< start at once */
    ZVK_FORCE_TRIGGER_INTERNAL = 2, /**< the terminal of key DAQCHANNELSTDI */
    ZVK_FORCE_TRIGGER_EXTERNAL = 4  /**< the terminal of key DAQCHANNELSTDE */
};

/** Trigger edges, as the card's driver numbers them. */
enum
{
    ZVK_FORCE_EDGE_RISING = 10280,
    ZVK_FORCE_EDGE_FALLING = 10171
};

/** Channel masks. */
enum
{
    ZVK_FORCE_CHANNELS_A = 1,
    ZVK_FORCE_CHANNELS_B = 2,
    ZVK_FORCE_CHANNEL_REFERENCE = 4
};

/** Name of the registered message that tells of a filled buffer (quorvex/messages.h). */
#define ZVK_FORCE_BUFFER_MESSAGE "ZVK_FORCE_BUFFER"

/**
 * Reads the keys of section FORCE and asks the card for its fastest rate on the reference channel.
 * Not installed (MI 0) or simulated, only MI and SIMULATE are read and the answer is 0.
 *
 * @param IDQuery, ResetInstrument  ignored
 * @return 0, else the first that applies:
 *         ZVK_FORCE_ALREADY_INITIALIZED          warning: nothing done
 *         a negative status of ZVK_ConFile_Read  a key is missing
 *         ZVK_FORCE_BAD_TRIGGER_EDGE             TRIGGEREDGE is neither 0 nor 1
 *         ZVK_FORCE_DAQ_FAILED                   the card refused, or warned in the last step
 */
ZVK_API int32_t ZVK_Force_Init(SessionHandle SessionHandle, uint16_t IDQuery,
                               uint16_t ResetInstrument);

/**
 * @param Status  out: 0 not initialized, -1 not installed, 2 simulated, 1 on a card
 * @return 0
 */
ZVK_API int32_t ZVK_Force_GetInitStatus(SessionHandle SessionHandle, int32_t *Status);

/**
 * Sets what starts the next finite acquisitions. Both values are stored as soon as the edge is
 * known to be good, also when the type isn't. The terminal is read anew from config.ini and goes to
 * the card only while a task exists; what the card says to it is not reported.
 *
 * @param TriggerType  ZVK_FORCE_TRIGGER_...
 * @param TriggerEdge  ZVK_FORCE_EDGE_...; not the 0 and 1 of the key TRIGGEREDGE
 * @return 0 when simulated, else the first that applies:
 *         ZVK_FORCE_NOT_INITIALIZED
 *         ZVK_FORCE_BAD_TRIGGER_EDGE             nothing stored
 *         ZVK_FORCE_BAD_TRIGGER_TYPE             stored all the same
 *         a negative status of ZVK_ConFile_Read  the terminal's key is missing
 *         else 0
 */
ZVK_API int32_t ZVK_Force_ConfigureTrigger(SessionHandle SessionHandle, int32_t TriggerType,
                                           int32_t TriggerEdge);

/**
 * Acquires one block and returns when it is complete. The samples come in reads of 1000 a channel.
 * When the time-out passes, the samples that came before are in the block and the rest is 0 V.
 * A card that refuses ten reads in a row ends the call as a time-out does.
 *
 * Busy is raised by every call that gets past the first check, and stays raised where told: until
 * ZVK_Force_StopAcquireBuffered, which lowers it when a task exists.
 *
 * @param SampleRate        hertz; -1.0 (within 0.0001): the fastest that the card gives
 * @param NumberOfSamples   samples a channel, at least 1000
 * @param TimeOut           seconds for each read; negative: for ever
 * @param Data              in: null or a block of malloc, which is freed; out: a new block of
 *                          NumberOfSamples * channels doubles; the caller frees it
 * @param Channels          mask, 1 to 7
 * @param NumberOfChannels  out: channels in the block; untouched in simulation; may be null
 * @return 0, else the first that applies:
 *         ZVK_FORCE_BUSY               an acquisition owns the card
 *         ZVK_FORCE_NOT_INITIALIZED    busy from now on
 *         ZVK_FORCE_TOO_FEW_SAMPLES    below 1000; busy from now on
 *         ZVK_FORCE_BAD_SAMPLE_COUNT   below 1
 *         ZVK_FORCE_BAD_CHANNELS
 *         ZVK_FORCE_NO_MEMORY          *Data is null
 *         0                            simulated: a block of 0 V; busy from now on
 *         ZVK_FORCE_BAD_SAMPLE_RATE    busy, and the task stays open
 *         a negative status of ZVK_Force_ConfigureTrigger  busy, and the task stays open
 *         ZVK_FORCE_NO_TRIGGER         a read timed out
 */
ZVK_API int32_t ZVK_Force_Acquire(SessionHandle SessionHandle, double SampleRate,
                                  int32_t NumberOfSamples, double TimeOut, double **Data,
                                  int32_t Channels, int32_t *NumberOfChannels);

/**
 * @param MaxSampleRate  out: hertz, the fastest rate of the reference channel alone; 0 until an
 *                       Init on a card has read it
 * @return 0
 */
ZVK_API int32_t ZVK_Force_GetMaxSampleRateSingleChannel(SessionHandle SessionHandle,
                                                        double *MaxSampleRate);

/**
 * Ends the task of an acquisition that left it open. The module stays initialized, and Busy stays
 * as it is. A buffered acquisition that runs is ended; its buffers stay until
 * ZVK_Force_StopAcquireBuffered. It waits until the thread has left, which is at once.
 *
 * @return 0
 */
ZVK_API int32_t ZVK_Force_Shutdown(SessionHandle SessionHandle);

/**
 * Puts a block channel by channel.
 *
 * @param InputData   NumberOfSamples * NumberOfChannels doubles, scan by scan; null counts as 0 V
 * @param OutputData  in: the same block as InputData, which is then rewritten in place, or null, or
 *                    a block of malloc, which is freed; out: the result; the caller frees it
 * @return 0, else the first that applies:
 *         ZVK_FORCE_NOT_INITIALIZED
 *         ZVK_FORCE_NO_MEMORY        *OutputData is null, or in place as it was
 */
ZVK_API int32_t ZVK_Force_Chunky2Planar(SessionHandle SessionHandle, double *InputData,
                                        int32_t NumberOfSamples, int32_t NumberOfChannels,
                                        double **OutputData);

/**
 * Splits a block of three channels that lies channel by channel: one path's X, Y and sum.
 *
 * @param InputData                     3 * NumberOfSamples doubles; null counts as 0 V
 * @param Channel1, Channel2, Channel3  in: null or a block of malloc, which is freed; out: new
 *                                      arrays of NumberOfSamples doubles; the caller frees them. A
 *                                      null argument is passed over. An old array may be
 *                                      InputData itself.
 * @return 0, else the first that applies:
 *         ZVK_FORCE_NOT_INITIALIZED
 *         ZVK_FORCE_NO_MEMORY        the arrays of this call are null
 */
ZVK_API int32_t ZVK_Force_Slice3(SessionHandle SessionHandle, const double *InputData,
                                 int32_t NumberOfSamples, double **Channel1, double **Channel2,
                                 double **Channel3);

/**
 * The same for four channels: one path and the reference.
 *
 * @return as ZVK_Force_Slice3
 */
ZVK_API int32_t ZVK_Force_Slice4(SessionHandle SessionHandle, const double *InputData,
                                 int32_t NumberOfSamples, double **Channel1, double **Channel2,
                                 double **Channel3, double **Channel4);

/**
 * The same for six channels: both paths.
 *
 * @return as ZVK_Force_Slice3
 */
ZVK_API int32_t ZVK_Force_Slice6(SessionHandle SessionHandle, const double *InputData,
                                 int32_t NumberOfSamples, double **Channel1, double **Channel2,
                                 double **Channel3, double **Channel4, double **Channel5,
                                 double **Channel6);

/**
 * The same for seven channels: both paths and the reference.
 *
 * @return as ZVK_Force_Slice3
 */
ZVK_API int32_t ZVK_Force_Slice7(SessionHandle SessionHandle, const double *InputData,
                                 int32_t NumberOfSamples, double **Channel1, double **Channel2,
                                 double **Channel3, double **Channel4, double **Channel5,
                                 double **Channel6, double **Channel7);

/**
 * Starts a continuous acquisition into a ring of buffers. A thread fills them in turn and tells of
 * each by the message ZVK_FORCE_BUFFER, to this process and to others:
 *
 *     first   Channels << 22 | samples stored in the buffer * channels
 *     second  buffer number << 22 | channels
 *
 * (the lower part of each has 22 bits). ZVK_Force_GrabBuffer copies a buffer out and frees it for
 * the next lap. When the thread finds its next buffer not grabbed yet it stops by itself, with
 * ReadStatus 0. No trigger is used. Samples come in reads of 1000 a channel with a time-out of 10
 * s; a buffer whose read timed out is handed over with what it has. What a read gives beyond the
 * end of a buffer is dropped: use multiples of 1000.
 *
 * Simulated, a ring is made and nothing else.
 *
 * @param SampleRate        hertz; -1.0 (within 0.0001): the fastest that the card gives
 * @param NumberOfBuffers   at least 2
 * @param NumberOfSamples   samples a channel in a buffer, at least 1000
 * @param TimeOut           not used
 * @param Channels          mask, 1 to 7
 * @param NumberOfChannels  out: 0 at first, and the channels in a scan once the thread is started;
 *                          may be null
 * @return 0, else the first that applies:
 *         ZVK_FORCE_BUSY              also after an overrun, until ZVK_Force_StopAcquireBuffered
 *         ZVK_FORCE_NOT_INITIALIZED
 *         ZVK_FORCE_BAD_SAMPLE_COUNT  NumberOfSamples below 1
 *         ZVK_FORCE_TOO_FEW_SAMPLES   NumberOfSamples below 1000
 *         ZVK_FORCE_BAD_SAMPLE_COUNT  NumberOfBuffers below 2
 *         ZVK_FORCE_BAD_CHANNELS
 *         ZVK_FORCE_NO_MEMORY
 *         the driver's code           the card refused
 *         ZVK_FORCE_BAD_SAMPLE_RATE
 */
ZVK_API int32_t ZVK_Force_AcquireBuffered(SessionHandle SessionHandle, double SampleRate,
                                          int32_t NumberOfBuffers, int32_t NumberOfSamples,
                                          double TimeOut, int32_t Channels,
                                          int32_t *NumberOfChannels);

/**
 * Copies a buffer out and frees it for the next lap.
 *
 * @param BufferNumber  1 to the number of buffers, from the message
 * @param Data          in: the caller's block of NumberOfSamples * channels doubles; out: filled,
 * or set to null (and not freed) when the thread has ended
 * @param ReadStatus    out: 1 while the thread reads, 0 before, after an overrun and after a card
 *                      that gave up; may be null
 * @return 0, else
 *         ZVK_FORCE_BAD_BUFFER  the thread reads and there is no such buffer, or no block to fill
 */
ZVK_API int32_t ZVK_Force_GrabBuffer(SessionHandle SessionHandle, int32_t BufferNumber,
                                     double **Data, int32_t *ReadStatus);

/**
 * Ends the buffered acquisition, waits until its thread has left, and frees its buffers. It is also
 * what releases the card after an acquisition that stayed busy with a task open.
 *
 * Simulated, the module counts as not initialized afterwards.
 *
 * @return 0, or ZVK_FORCE_NOT_INITIALIZED
 */
ZVK_API int32_t ZVK_Force_StopAcquireBuffered(SessionHandle SessionHandle);

ZVK_EXTERN_C_END

#endif
