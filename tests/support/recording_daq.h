#ifndef QUORVEX_TESTS_RECORDING_DAQ_H
#define QUORVEX_TESTS_RECORDING_DAQ_H

// A card that writes down what it is told. In use as long as the object lives.
//
// Each call is kept as its entry's name with its arguments, tasks being t1, t2 and so on in the
// order of their creation and samples being left out:
//
//     createTask(t1, "Galvo")
//     createAOVoltageChan(t1, "Dev1/ao0:3", "", -10, 10, 10348, null)
//     cfgSampClkTiming(t1, "OnboardClock", 10000, 10280, 10123, 5000)
//     setChanAttribute(t1, "", 0x183C, 10235)
//     writeAnalogF64(t1, 5000, 0, 10, 0)
//
// getExtendedErrorInfo is not among the calls: it is asked for when another one has failed.
// A call on a task that isn't open answers -200088 and is kept as misuse.

#include "platform/daqmx.h"

#include <string>
#include <vector>

// The code of a told failure, unless the test names another one.
constexpr int32_t kToldDaqFailure = -50103;

class RecordingDaq
{
public:
    RecordingDaq();
    ~RecordingDaq();
    RecordingDaq(const RecordingDaq &) = delete;
    RecordingDaq &operator=(const RecordingDaq &) = delete;

    std::vector<std::string> Calls() const;
    void ForgetCalls();

    // Lets the nth call from now fail, 1 being the next one, whichever entry it is; 0: none. A
    // failed call is kept among the calls and does nothing, but that clearTask always frees the
    // task. The code may be a positive warning: then the call is done all the same.
    void FailAt(int64_t nth, int32_t code = kToldDaqFailure);
    // Lets the nth call from now of one entry, such as "writeAnalogF64", fail.
    void FailCall(const std::string &entry, int64_t nth, int32_t code = kToldDaqFailure);
    // Whether the call that was to fail has been made.
    bool Failed() const;
    // What getExtendedErrorInfo gives; at the start "told failure".
    void SetErrorText(const std::string &text);

    int OpenTasks() const;
    int Misuses() const;  // calls on tasks that weren't open

    // Each block that writeAnalogF64 took, all channels of a task together; a scalar counts as a
    // block of one. `channels` of a block come from the task's channel list, such as
    // "Dev1/ao0:3,Dev2/ao1".
    std::vector<std::vector<double>> Blocks() const;

    // Calls the every-N callback of the newest task that has one, on this thread, and gives its
    // result; 0 when there is none.
    int32_t FireEvent();
    bool HasEvent() const;

    void SetMaxRate(double hertz);  // at the start 1e6
    void SupplySamples(
        const std::vector<double> &next);  // for readAnalogF64, over and over; 0 V at the start
    void SupplyLines(uint32_t lines);      // for readDigitalScalarU32; 0 at the start
};

#endif
