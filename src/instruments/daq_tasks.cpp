// What the instruments on the DAQ card share: the log of its failures, and the end of a task.

#include "instruments/daq_tasks.h"

#include "platform/daqmx.h"
#include "quorvex/confile.h"

constexpr uint32_t kErrorTextSize = 4096;

int32_t LogDaqFailure(SessionHandle vi, int32_t status)
{
    char text[kErrorTextSize] = "";
    (void)Daq().getExtendedErrorInfo(text, kErrorTextSize);
    text[kErrorTextSize - 1] = '\0';
    (void)ZVK_ConFile_WriteLog(vi, "log.ini", text);
    return status;
}

void StopAndClearTask(void *&task)
{
    if (!task) return;
    (void)Daq().stopTask(task);
    ClearStaleTask(task);
}

void ClearStaleTask(void *&task)
{
    if (!task) return;
    (void)Daq().clearTask(task);  // a task that is kept would keep its device reserved
    task = nullptr;
}
