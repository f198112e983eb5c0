#ifndef QUORVEX_VIRTUAL_DAQ_CARD_H
#define QUORVEX_VIRTUAL_DAQ_CARD_H

// The records of the virtual card. One lock guards them all; callbacks and signal sources run
// without it. The card is made at its first use and never destroyed, so that its threads find it
// whole however late in the process's end they run.

#include "quorvex-virtual/daq.h"
#include "quorvex-virtual/daqmx_calls.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

// Card time in nanoseconds since the last reset. Wide, as in fast pace a day may last for ages.
__extension__ typedef __int128 CardTime;
constexpr CardTime kNever = static_cast<CardTime>(1) << 126;

using Guard = std::unique_lock<std::mutex>;

enum class TaskKind : uint8_t
{
    empty,
    input,
    output,
    lines
};

enum class TaskState : uint8_t
{
    idle,
    armed,    // started, waits for its trigger
    running,  // also a finite one that has come to its end
    failed    // stopped by itself; `failure` tells why
};

// What one analog output has been given, over all tasks since the last reset.
struct OutputTrack
{
    std::vector<double> ring;  // the newest samples written
    uint64_t ringBase = 0;     // sample i lies at (i - ringBase) modulo the length kept
    uint64_t written = 0;      // samples
    uint64_t played = 0;       // samples
    double volts = 0.0;        // now at the terminal
    double voltsBefore = 0.0;  // as the present run started
};

// One digital port.
struct LineWord
{
    CardTime time = 0;
    uint32_t word = 0;
};

struct Port
{
    uint32_t driven = 0;      // last levels written
    uint32_t heldMask = 0;    // lines held from outside
    uint32_t heldLevels = 0;  // and their levels
    std::deque<LineWord> words;
    uint64_t wordsWritten = 0;
};

// The signal at one analog input.
struct Source
{
    ZVC_SourceFunction function = nullptr;
    void *data = nullptr;
    double values[4] = {};  // of a built-in signal
    int inUse = 0;          // reads that are inside the function
};

struct Channel
{
    std::string physical;  // "Dev1/ao0", the device as the client wrote it
    std::string key;       // the same in lower case
    std::string device;
    std::string name;  // the client's name, else the physical one
    double min = 0.0;  // V
    double max = 0.0;  // V
    int32_t terminals = 0;
    int32_t transferCondition = 0;  // 0: never set
    uint32_t usbRequestSize = 0;    // bytes, 0: never set
    std::string portKey;            // digital: "dev1/port0"
    uint32_t lines = 0;             // digital: bits of its port
    OutputTrack *track = nullptr;   // outputs; owned by the card
    Port *port = nullptr;           // the same
};

struct EveryNSamples
{
    int32_t type = 0;
    uint32_t interval = 0;
    ZVC_EveryNSamples callback = nullptr;  // null: none registered
    void *data = nullptr;
};

struct Task
{
    ZVC_Task handle = nullptr;
    int32_t number = 0;  // from 1 in the order of creation since the last reset
    std::string name;
    TaskKind kind = TaskKind::empty;
    TaskState state = TaskState::idle;
    bool cleared = false;
    std::vector<Channel> channels;

    // sample clock; not timed: on demand
    bool timed = false;
    double rate = 0.0;  // Hz, as the card really gives it
    int32_t edge = 0;
    int32_t mode = 0;
    uint64_t samples = 0;     // as configured, for each channel
    std::string clockSource;  // as configured; "": the card's own

    // start trigger; "": none
    std::string triggerSource;
    int32_t triggerEdge = 0;

    // the run
    uint64_t stops = 0;      // runs that have ended
    CardTime start = 0;      // of the sample clock; while armed the edge that is known to come
    double clockRate = 0.0;  // Hz of the source in use
    uint64_t moved = 0;      // samples acquired into, or transferred from, the buffer in this run
    int32_t failure = 0;

    // output buffer, channel c's sample i at c * bufferSize + i modulo bufferSize
    std::vector<double> buffer;
    uint32_t chosenSize = 0;  // samples a channel by DAQmxCfgOutputBuffer, 0: not chosen
    uint32_t bufferSize = 0;  // as allocated
    uint64_t written = 0;     // position of the next write, counted in the run's samples
    uint32_t filled = 0;      // slots that hold samples
    int32_t regeneration = 0;
    int32_t relativeTo = 0;

    uint64_t taken = 0;  // input: samples read in this run
    bool busy = false;   // a read or a write goes on: the next one waits for its turn

    EveryNSamples event;
    uint64_t eventsCounted = 0;  // intervals that have passed in this run
    uint64_t eventsPending = 0;  // of these not delivered yet
    bool inCallback = false;
    bool hasThread = false;
};

// A caller or an event thread that waits for card time, and what it waits for.
struct Wait
{
    Wait *next = nullptr;  // in the card's list
    Wait *previous = nullptr;
    const Task *task = nullptr;
    CardTime (*due)(const Wait &wait) = nullptr;  // in the past: what it waits for is there
    uint64_t count = 0;                           // samples
    uint64_t stops = 0;                           // of the task as the wait began
    CardTime deadline = kNever;
    bool forTurn = false;  // ends by another call's end, not by time
    bool isCall = false;   // a call, not an event thread at rest
    bool onEventThread = false;
};

struct Fault
{
    int call = 0;  // index of the call; -1: any call
    uint64_t at = 0;
    int32_t code = 0;
};

struct TriggerSignal
{
    CardTime first = 0;  // rising edge
    CardTime period = 0;
};

constexpr int kMostCalls = 32;

struct Card
{
    std::mutex guard;                 // of all below
    std::condition_variable changed;  // something that a waiting thread may look at
    std::condition_variable rested;   // a thread has begun to wait, or ended

    // time
    int32_t pace = ZVC_PACE_REAL;
    CardTime now = 0;  // fast and manual; in real pace the time at wallBase
    std::chrono::steady_clock::time_point wallBase;
    Wait *waits = nullptr;  // those that wait now
    int eventThreads = 0;
    bool advancing = false;
    double patienceS = 0.0;  // wall clock, for callbacks that don't return
    bool closing = false;    // the process ends: no more callbacks

    // tasks
    std::map<ZVC_Task, std::shared_ptr<Task>> tasks;
    uintptr_t lastHandle = 0;
    int32_t lastNumber = 0;
    std::map<std::string, const Task *> reserved;  // by resource, such as "dev1/ai"

    // the outside
    std::map<std::string, OutputTrack> outputs;  // by channel key
    std::map<std::string, std::shared_ptr<Source>> sources;
    std::map<std::string, Port> ports;  // by "dev1/port0"
    std::map<std::string, TriggerSignal> triggers;
    std::map<std::string, double> externalClocks;  // Hz by terminal

    // settings
    std::vector<std::string> devices;  // lower case; empty: any
    double maxRate = 0.0;              // Hz over all channels
    double maxRateSingle = 0.0;        // Hz of a single channel
    double timebase = 0.0;             // Hz, 0: any rate is given as asked
    uint32_t onBoardSamples = 0;       // over all channels
    bool usb = true;
    uint64_t trackLength = 0;  // samples kept of each output

    // faults and log
    std::vector<Fault> faults;
    uint64_t callCounts[kMostCalls] = {};
    uint64_t allCalls = 0;
    std::deque<std::string> log;
    uint64_t logLines = 0;  // since the last reset
    uint64_t logLength = 0;
};

Card &TheCard();

// Puts back what ZVC_Reset puts back but tasks and time. Under the guard.
void SetDefaults(Card &card);

#endif
