#ifndef QUORVEX_VIRTUAL_DAQ_CALLS_H
#define QUORVEX_VIRTUAL_DAQ_CALLS_H

// What every vendor call has in common: the count, the fault that may be told for it, the look-up
// of its task, its line in the log and its failure's text.

#include "card.h"
#include "codes.h"

#include <initializer_list>
#include <new>
#include <stdexcept>

#define ZVC_CALLS(X)                                                                               \
    X(CreateTask)                                                                                  \
    X(StartTask)                                                                                   \
    X(StopTask)                                                                                    \
    X(ClearTask)                                                                                   \
    X(CreateAIVoltageChan)                                                                         \
    X(CreateAOVoltageChan)                                                                         \
    X(CreateDOChan)                                                                                \
    X(CfgSampClkTiming)                                                                            \
    X(CfgDigEdgeStartTrig)                                                                         \
    X(CfgOutputBuffer)                                                                             \
    X(GetSampClkMaxRate)                                                                           \
    X(ReadAnalogF64)                                                                               \
    X(WriteAnalogF64)                                                                              \
    X(WriteAnalogScalarF64)                                                                        \
    X(ReadDigitalScalarU32)                                                                        \
    X(WriteDigitalScalarU32)                                                                       \
    X(RegisterEveryNSamplesEvent)                                                                  \
    X(SetChanAttribute)                                                                            \
    X(SetWriteAttribute)                                                                           \
    X(SetTrigAttribute)                                                                            \
    X(SetTimingAttribute)                                                                          \
    X(GetTimingAttribute)

enum Call : int
{
#define X(name) kCall##name,
    ZVC_CALLS(X)
#undef X
        kCalls
};
static_assert(kCalls <= kMostCalls);

const char *CallName(Call call);
int CallByName(const char *name);  // -1: none

// One argument of a call as it stands in the log.
struct Argument
{
    enum class Kind : uint8_t
    {
        whole,
        hex,
        real,
        text
    };
    Kind kind;
    int64_t whole = 0;
    double real = 0.0;
    const char *text = nullptr;

    Argument(int32_t value) : kind(Kind::whole), whole(value) {}
    Argument(uint32_t value) : kind(Kind::whole), whole(value) {}
    Argument(uint64_t value) : kind(Kind::whole), whole(static_cast<int64_t>(value)) {}
    Argument(double value) : kind(Kind::real), real(value) {}
    Argument(const char *value) : kind(Kind::text), text(value) {}
};
Argument AsHex(int32_t value);

using Arguments = std::initializer_list<Argument>;

// Answers a code with a sentence of its own for the failure's text.
int32_t Refuse(int32_t code, const std::string &sentence);

// Tells the log how many samples this thread's call has moved.
void NoteSamples(uint64_t samples);

// The three parts around a call's own work. Under the guard.
void BeginCall();
int32_t TakeFault(Card &card, Call call);  // counts the use
void EndCall(Card &card, Call call, const Task *task, const Arguments &arguments, int32_t result);
int32_t EndWithoutMemory(Card &card, Call call);

std::shared_ptr<Task> FindTask(const Card &card, ZVC_Task handle);

// Runs a call on a task: work(guard, task) gives the result. The guard may be let go inside.
template <class Work>
int32_t RunCall(Call call, ZVC_Task handle, const Arguments &arguments, Work work)
{
    Card &card = TheCard();
    Guard guard(card.guard);
    try {
        BeginCall();
        const std::shared_ptr<Task> task = FindTask(card, handle);
        const int32_t fault = TakeFault(card, call);
        int32_t result = fault;
        if (fault >= 0 || (call == kCallClearTask && task)) {
            const int32_t worked = task ? work(guard, *task) : kInvalidTask;
            if (fault == 0 || (fault > 0 && worked < 0)) result = worked;
        }
        EndCall(card, call, task.get(), arguments, result);
        return result;
    } catch (const std::bad_alloc &) {
    } catch (const std::length_error &) {
    }
    if (!guard.owns_lock()) guard.lock();
    return EndWithoutMemory(card, call);
}

#endif
