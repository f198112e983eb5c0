#include "recording_processes.h"

#include "platform/processes.h"

#include <mutex>
#include <set>

struct ProcessRecord
{
    std::mutex guard;  // of all below
    std::vector<std::string> launched;
    std::set<int32_t> held;
    int32_t last = 0;
    int32_t code = 0;
};

static ProcessRecord s_record;

static int32_t KeepLaunch(const char *path, int32_t *process)
{
    const std::lock_guard lock(s_record.guard);
    s_record.launched.emplace_back(path);
    if (s_record.code != 0) return s_record.code;
    *process = ++s_record.last;
    s_record.held.insert(*process);
    return 0;
}

static void KeepRelease(int32_t process)
{
    const std::lock_guard lock(s_record.guard);
    s_record.held.erase(process);
}

static constexpr ZVK_ProcessTable kTable = {.launch = KeepLaunch, .release = KeepRelease};

RecordingProcesses::RecordingProcesses()
{
    const std::lock_guard lock(s_record.guard);
    s_record.launched.clear();
    s_record.held.clear();
    s_record.code = 0;
    UseProcesses(&kTable);
}

RecordingProcesses::~RecordingProcesses() { UseProcesses(nullptr); }

std::vector<std::string> RecordingProcesses::Launched() const
{
    const std::lock_guard lock(s_record.guard);
    return s_record.launched;
}

void RecordingProcesses::FailLaunches(int32_t code)
{
    const std::lock_guard lock(s_record.guard);
    s_record.code = code;
}

int RecordingProcesses::Held() const
{
    const std::lock_guard lock(s_record.guard);
    return static_cast<int>(s_record.held.size());
}
