#ifndef QUORVEX_VIRTUAL_DAQ_H
#define QUORVEX_VIRTUAL_DAQ_H

/*
 * Controls of the virtual DAQ card: what a test, a demonstration or another virtual device does to
 * the card from outside, while a program drives it through the card vendor's calls
 * (quorvex-virtual/daqmx_calls.h). A program that opens the card at run time and a test that is
 * linked to it meet the same card when both name the same file.
 *
 * Channels are written as in the vendor's calls ("Dev1/ao0", "Dev1/port0"), terminals as
 * "/Dev1/PFI1" or without device as "PFI1"; case doesn't count. All functions may be called from
 * any thread, and from a callback of the card unless told otherwise. Those that return int32_t give
 * ZVC_OK or one of the negative results below.
 *
 * Environment, looked at when the card is first used and by ZVC_Reset:
 *     ZVK_VIRTUAL_DAQ_PACE   real (the default), fast or manual
 *     ZVK_VIRTUAL_DAQ_LOG    a file to which each call is appended, with its card time
 */

#include "linkage.h"

#include <stddef.h>
#include <stdint.h>

ZVC_EXTERN_C_BEGIN

enum
{
    ZVC_OK = 0,
    ZVC_STILL_INSIDE = 1,  /* time has moved, but a callback waits for card time that lies ahead */
    ZVC_NOT_RETURNED = 2,  /* time has moved, but a callback did not return in time */
    ZVC_BAD_ARGUMENT = -1, /* a null pointer, a name that is none, a value out of range */
    ZVC_NOT_MANUAL = -2,   /* card time moves by itself */
    ZVC_IN_CALLBACK = -3,  /* not allowed on an event thread of the card */
    ZVC_NOT_THERE = -4,    /* no such task, sample, line of the log or entry */
    ZVC_TIMED_OUT = -5,    /* it did not come about in time */
    ZVC_OUT_OF_MEMORY = -6
};

/* Pace
 * ------------------------------------------------------------------------------------------ */

enum
{
    ZVC_PACE_REAL = 0,
    ZVC_PACE_FAST = 1,
    ZVC_PACE_MANUAL = 2
};

/*
 * Sets how card time passes. It goes on from where it is, or begins again at 0 while no task is
 * open.
 *
 * ZVC_PACE_REAL    with the wall clock.
 * ZVC_PACE_FAST    as fast as the program allows, without sleeping: a call that waits moves
 * card time on to the moment it waits for, or to the end of its time-out if nothing can come
 * before. An output without regeneration plays what it is given at once; its clock stands still
 * while it has nothing, and so does the clock of an input whose buffer is full: pace causes
 * neither underrun nor overrun. ZVC_PACE_MANUAL  by ZVC_Advance alone. Time-outs are card time
 * too.
 *
 * @return ZVC_OK; ZVC_BAD_ARGUMENT for any other pace.
 */
ZVC_API int32_t ZVC_SetPace(int32_t pace);
ZVC_API int32_t ZVC_GetPace(void);

/* Card time in seconds since the card's first use or the last reset. */
ZVC_API double ZVC_Now(void);

/*
 * Moves card time on in manual pace, from one due moment to the next: each event is delivered
 * on its task's event thread and each call that waits comes to its end at its own moment.
 * Returns when all that was due has been done and all callbacks have returned.
 *
 * @param seconds  0 or more; 0 delivers what is due now
 * @return ZVC_OK; ZVC_STILL_INSIDE and ZVC_NOT_RETURNED as told above, the time being moved in
 * full; else nothing is moved: ZVC_IN_CALLBACK, ZVC_NOT_MANUAL, ZVC_BAD_ARGUMENT.
 */
ZVC_API int32_t ZVC_Advance(double seconds);

/*
 * As ZVC_Advance, by so many periods of the sample clock of the running task that owns a
 * channel.
 *
 * @return as ZVC_Advance, and ZVC_NOT_THERE when no running task with a sample clock owns it.
 */
ZVC_API int32_t ZVC_AdvanceSamples(const char *channel, uint64_t samples);

/*
 * How long ZVC_Advance waits, by the wall clock, for a callback that neither returns nor waits in
 * the card, before it goes on without it. At the start 10 s.
 *
 * @return ZVC_OK; ZVC_BAD_ARGUMENT when not above 0 or above 3600.
 */
ZVC_API int32_t ZVC_SetPatience(double wallSeconds);

/* Vendor calls that wait at this moment, those made in callbacks included. */
ZVC_API int32_t ZVC_CountWaiting(void);

/*
 * Waits until at least `count` vendor calls wait.
 *
 * @param wallSeconds  how long at most, by the wall clock
 * @return ZVC_OK or ZVC_TIMED_OUT.
 */
ZVC_API int32_t ZVC_AwaitWaiting(int32_t count, double wallSeconds);

/* Reset
 * ----------------------------------------------------------------------------------------- */

/*
 * Clears all tasks, waits until their callbacks have returned (unless called from one), and
 * puts time, pace, settings, faults, counts, logs, sources, lines and outputs back to what they
 * are at the card's first use.
 */
ZVC_API void ZVC_Reset(void);

/* Tasks
 * ----------------------------------------------------------------------------------------- */

enum
{
    ZVC_EMPTY = 0, /* no channels yet */
    ZVC_INPUT = 1,
    ZVC_OUTPUT = 2,
    ZVC_LINES = 3
};

enum
{
    ZVC_IDLE = 0,
    ZVC_ARMED = 1,   /* started, waits for its trigger */
    ZVC_RUNNING = 2, /* also a finite one that has come to its end */
    ZVC_FAILED = 3   /* stopped by itself */
};

/* A task as it stands. Texts that are longer are cut. */
typedef struct ZVC_TaskInfo
{
    void *handle;
    int32_t number;  /* 1 for the first task since the reset; "t1" in the call log */
    int32_t kind;    /* ZVC_EMPTY to ZVC_LINES */
    int32_t state;   /* ZVC_IDLE to ZVC_FAILED */
    int32_t failure; /* the code of ZVC_FAILED, else 0 */
    char name[256];
    char channels[1024]; /* each channel by its physical name, separated by commas */
    int32_t channelCount;
    double minVolts; /* of the first channel */
    double maxVolts;
    int32_t terminals; /* of the first input */
    int32_t timed;     /* 1: has a sample clock; the next seven are 0 or empty without */
    double rate;       /* Hz, as the card gives it */
    int32_t clockEdge;
    int32_t mode;            /* 10178 finite, 10123 continuous */
    uint64_t samples;        /* for each channel, as configured */
    uint32_t bufferSize;     /* samples for each channel */
    char clockSource[256];   /* as configured; empty: the card's own clock */
    char triggerSource[256]; /* empty: no start trigger */
    int32_t triggerEdge;
    int32_t regeneration;      /* 10097 on, 10158 off; outputs */
    int32_t relativeTo;        /* 10424 first sample, 10430 current position; outputs */
    int32_t transferCondition; /* of the first output; 0: never set */
    uint32_t usbRequestSize;   /* bytes, of the first output; 0: never set */
    int32_t eventType;         /* 0: no event registered */
    uint32_t eventInterval;    /* samples */
    uint64_t written;          /* of this run and for each channel: samples put into the buffer, */
    uint64_t moved;            /* transferred from it or acquired into it, */
    uint64_t taken;            /* read by the program */
    int32_t inCallback;        /* 1: its callback runs */
} ZVC_TaskInfo;

ZVC_API int32_t ZVC_CountTasks(void);

/*
 * @param index  0 for the oldest open task
 * @return ZVC_OK, ZVC_BAD_ARGUMENT (null), ZVC_NOT_THERE.
 */
ZVC_API int32_t ZVC_GetTask(int32_t index, ZVC_TaskInfo *info);

/* Settings
 * -------------------------------------------------------------------------------------- */

/*
 * The devices that exist, such as "Dev1,RWQS"; others then answer -200220. Null or "": any name
 * does, as at the start.
 */
ZVC_API int32_t ZVC_SetDevices(const char *devices);

/*
 * The largest sample rates in Hz of an input task: of one channel alone, and over all channels,
 * shared by them. At the start 1,000,000 both.
 */
ZVC_API int32_t ZVC_SetMaxRate(double singleChannel, double allChannels);

/*
 * The frequency in Hz from which sample clocks are divided: a rate asked for becomes timebase
 * divided by the nearest whole number of at least 1. 0, as at the start: each rate is given as
 * asked.
 */
ZVC_API int32_t ZVC_SetTimebase(double hertz);

/*
 * The size of the on-board memory in samples over all channels, at the start 8191. A program
 * that feeds an output late is forgiven by up to this share a channel of samples; beyond it the
 * output has run dry.
 */
ZVC_API int32_t ZVC_SetOnBoardMemory(uint32_t samples);

/*
 * The rate in Hz of a clock that comes in at a terminal. One that was never set runs at the
 * rate the task was configured for; 0: no clock there, nothing moves; negative: as never set.
 */
ZVC_API int32_t ZVC_SetExternalClock(const char *terminal, double hertz);

/* Whether the card is on USB (1, as at the start) and so knows the size of a USB request. */
ZVC_API int32_t ZVC_SetUsb(int32_t usb);

/* Faults and counts
 * ----------------------------------------------------------------------------- */

/*
 * Lets the nth use from now of a vendor call answer a code. Several faults may wait at once. A
 * negative code is answered in place of the call, which then does nothing, but that a
 * DAQmxClearTask always clears; a positive one, a warning, is answered by a call that has
 * worked.
 *
 * @param call  the call's name, such as "DAQmxStartTask"; "*": any call but the two that give
 * texts
 * @param nth   1: the next use; 0: takes back all faults told for this name
 * @return ZVC_OK, ZVC_BAD_ARGUMENT (no such call), ZVC_OUT_OF_MEMORY.
 */
ZVC_API int32_t ZVC_FailCall(const char *call, uint64_t nth, int32_t code);

/* Faults told that have not come about yet. */
ZVC_API int32_t ZVC_CountFaults(void);

/* Uses of a call since the reset, those that failed too; "*": of all. 0 for a name that is
 * none. */
ZVC_API uint64_t ZVC_CountCalls(const char *call);

/* Outputs
 * --------------------------------------------------------------------------------------- */

/* Samples written to an output since the reset, over all tasks. */
ZVC_API uint64_t ZVC_CountWritten(const char *channel);

/*
 * Copies samples written to an output, in the order in which they play; sample 0 is the first
 * since the reset. Samples that a stop has discarded are among them.
 *
 * @param volts  out, room for `count` samples
 * @return the number copied: fewer at the end of what was written; 0 when `first` is no longer
 * kept (ZVC_SetTrackLength), or not there yet.
 */
ZVC_API uint64_t ZVC_CopyWritten(const char *channel, uint64_t first, uint64_t count,
                                 double *volts);

/* How many samples of each output are kept, at the start 2,097,152; forgets those kept so far.
 */
ZVC_API int32_t ZVC_SetTrackLength(uint64_t samples);

/* Samples that an output has played since the reset, over all tasks. */
ZVC_API uint64_t ZVC_CountPlayed(const char *channel);

/* The volts at an output's terminal now: the last sample played, kept after a stop. */
ZVC_API double ZVC_GetVolts(const char *channel);

/*
 * The volts at an output's terminal at `count` moments of card time, `firstS` and then every
 * `stepS` seconds, of the present run: what lies ahead has the value of now, what lies before
 * the run the value that stood then. Meant for signal sources, to follow an output sample by
 * sample.
 *
 * @return ZVC_OK, ZVC_BAD_ARGUMENT.
 */
ZVC_API int32_t ZVC_CopyVoltsAt(const char *channel, double firstS, double stepS, uint32_t count,
                                double *volts);

/* Inputs
 * ---------------------------------------------------------------------------------------- */

/* What a signal source is asked for: a run of samples of one channel. */
typedef struct ZVC_Block
{
    const char *channel;  /* physical, in lower case: "dev1/ai0" */
    uint64_t firstSample; /* counted from the start of the task's run */
    uint32_t count;       /* samples */
    double rate;          /* Hz; 0: one moment, read on demand */
    double startS;        /* card time of the first sample */
} ZVC_Block;

/*
 * Fills volts[0] to volts[count - 1]. Runs in the thread that reads, outside the card's lock:
 * it may call the controls. Within a run the samples of a channel are asked for in order, each
 * once; those that the program never reads are never asked for. The channels of a task come in
 * the task's order for the same block.
 */
typedef void (*ZVC_SourceFunction)(const ZVC_Block *block, double *volts, void *data);

/*
 * Puts a signal source at one or more inputs ("Dev1/ai0:2"). Returns when the function that was
 * there before is no longer inside (unless called from a source). Null: back to 0 V, or for
 * "Dev1/_ao0_vs_aognd" to the volts at that output.
 *
 * @return ZVC_OK, ZVC_BAD_ARGUMENT, ZVC_OUT_OF_MEMORY.
 */
ZVC_API int32_t ZVC_SetSource(const char *channels, ZVC_SourceFunction function, void *data);

/* Built-in signals over card time t in seconds. */
ZVC_API int32_t ZVC_SetConstant(const char *channels, double volts);
/* offset + amplitude * sin(2 pi hertz t + phase), phase in radians */
ZVC_API int32_t ZVC_SetSine(const char *channels, double offset, double amplitude, double hertz,
                            double phase);
/* from at the run's sample 0, then risen by `perSample` with each sample */
ZVC_API int32_t ZVC_SetRamp(const char *channels, double from, double perSample);

/*
 * An edge at a trigger terminal, now: starts each armed task that waits for this terminal,
 * whichever edge it wants. Null: every armed task.
 *
 * @return the number of tasks started.
 */
ZVC_API int32_t ZVC_FireTrigger(const char *terminal);

/*
 * Edges that come by themselves at a terminal: rising ones at firstS and every periodS seconds
 * of card time after it, falling ones half a period later. A period of 0 or less takes them
 * away.
 *
 * @return ZVC_OK, ZVC_BAD_ARGUMENT, ZVC_OUT_OF_MEMORY.
 */
ZVC_API int32_t ZVC_SetTriggerPeriod(const char *terminal, double firstS, double periodS);

/* Digital lines, bit i of a word is line i of the port
 * ------------------------------------------- */

/* The levels of a port ("Dev1/port0") as a read would find them. */
ZVC_API uint32_t ZVC_GetLines(const char *port);

/*
 * Holds lines from outside: those in `mask` have their level in `levels`, whatever is written
 * to them, and all others are let go.
 */
ZVC_API int32_t ZVC_HoldLines(const char *port, uint32_t mask, uint32_t levels);

/* Words written to a port since the reset. The newest 65,536 are kept. */
ZVC_API uint64_t ZVC_CountLineWords(const char *port);

/*
 * @param index  0 for the first word since the reset
 * @param timeS  out, card time of the write, may be null
 * @param word   out, all driven lines of the port after the write, may be null
 * @return ZVC_OK, ZVC_BAD_ARGUMENT, ZVC_NOT_THERE (not yet, or no longer kept).
 */
ZVC_API int32_t ZVC_GetLineWord(const char *port, uint64_t index, double *timeS, uint32_t *word);

/* The call log
 * ---------------------------------------------------------------------------------- */

/*
 * Each vendor call but the two that give texts is a line, written at its end, tasks being t1,
 * t2 and so on:
 *
 *     DAQmxCreateTask("", t1) = 0
 *     DAQmxCfgSampClkTiming(t1, "Dev1/pfi1", 10000, 10280, 10123, 5000) = 0
 *     DAQmxWriteAnalogF64(t1, 5000, 0, 10, 0) = -200292, 1200 samples
 */
ZVC_API uint64_t ZVC_CountLog(void);

/*
 * @param index  0 for the first line since the reset
 * @param text   out, ended by a zero, cut to `size` bytes
 * @return ZVC_OK, ZVC_BAD_ARGUMENT, ZVC_NOT_THERE (not yet, or no longer kept).
 */
ZVC_API int32_t ZVC_GetLog(uint64_t index, char *text, size_t size);

/* How many of the newest lines are kept, at the start 10,000. */
ZVC_API int32_t ZVC_SetLogLength(uint64_t lines);

ZVC_EXTERN_C_END

#endif
