#ifndef QUORVEX_TESTS_RECORDING_PROCESSES_H
#define QUORVEX_TESTS_RECORDING_PROCESSES_H

// Programs that are written down and not started. In use as long as the object lives.

#include <cstdint>
#include <string>
#include <vector>

class RecordingProcesses
{
public:
    RecordingProcesses();
    ~RecordingProcesses();
    RecordingProcesses(const RecordingProcesses &) = delete;
    RecordingProcesses &operator=(const RecordingProcesses &) = delete;

    std::vector<std::string> Launched() const;  // paths, with those that were refused
    void FailLaunches(int32_t code);            // what launch answers from now on; 0: it works
    int Held() const;                           // handles given and not released
};

#endif
