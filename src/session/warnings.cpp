// Warnings that arise inside a call are collected here and logged.

#include "platform/memory.h"
#include "quorvex/confile.h"
#include "quorvex/errors.h"
#include "session/session.h"

#include <algorithm>
#include <mutex>

constexpr int64_t kTextSize = 4096;

ZVK_WarningList g_warnings;

// Never destroyed: the card's thread may still capture while the process ends.
static std::mutex &Lock()
{
    static std::mutex &lock = *new std::mutex;
    return lock;
}

void FreeWarnings()
{
    const std::lock_guard lock(Lock());
    Release(g_warnings.codes);
    g_warnings.count = 0;
}

static bool Append(int32_t code)
{
    const std::lock_guard lock(Lock());
    int32_t *codes = AllocateArray<int32_t>(g_warnings.count + 1);
    if (codes == nullptr) return false;
    std::copy_n(g_warnings.codes, g_warnings.count, codes);
    codes[g_warnings.count] = code;
    Release(g_warnings.codes);
    g_warnings.codes = codes;
    ++g_warnings.count;
    return true;
}

int32_t ZVK_error_CaptureWarning(SessionHandle vi, int32_t error_code)
{
    if (error_code == 0) return ZVK_SUCCESS;
    if (!Append(error_code)) return ZVK_ERROR_NO_MEMORY;
    char *text = AllocateArray<char>(kTextSize);
    if (text == nullptr) return ZVK_SUCCESS;  // captured, but not logged
    (void)ZVK_error_message(0, error_code, text);
    (void)ZVK_ConFile_WriteLog(vi, "log.ini", text);
    Release(text);
    return ZVK_SUCCESS;
}

int32_t ZVK_error_GetWarnings(SessionHandle, int32_t *elements, int32_t *list)
{
    const std::lock_guard lock(Lock());
    if (list == nullptr) {
        if (elements) *elements = g_warnings.count;
        return ZVK_SUCCESS;
    }
    if (g_warnings.count == 0) {
        if (elements) *elements = 0;
        return ZVK_SUCCESS;
    }
    std::copy_n(g_warnings.codes, g_warnings.count, list);
    Release(g_warnings.codes);
    g_warnings.count = 0;
    return ZVK_SUCCESS;
}
