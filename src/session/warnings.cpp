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

// What this thread may be handed: the number it last asked for and what it captured since. A client
// makes its array by that number, so that entries which other threads append in between must wait.
constexpr int32_t kNeverAsked = -1;
static thread_local int32_t t_room = kNeverAsked;

static void Empty()
{
    Release(g_warnings.codes);
    g_warnings.count = 0;
}

void FreeWarnings()
{
    const std::lock_guard lock(Lock());
    t_room = kNeverAsked;
    Empty();
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
    if (t_room != kNeverAsked) ++t_room;
    return true;
}

// The oldest entries go into the list; the others move up.
static void HandOut(int32_t count, int32_t *list)
{
    std::copy_n(g_warnings.codes, count, list);
    if (count == g_warnings.count) {
        Empty();
        return;
    }
    std::copy(g_warnings.codes + count, g_warnings.codes + g_warnings.count, g_warnings.codes);
    g_warnings.count -= count;
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
        t_room = g_warnings.count;
        if (elements != nullptr) *elements = g_warnings.count;
        return ZVK_SUCCESS;
    }
    const int32_t room = t_room == kNeverAsked ? g_warnings.count : t_room;
    const int32_t count = std::min(room, g_warnings.count);
    t_room = kNeverAsked;
    if (count == 0) {
        if (elements != nullptr) *elements = 0;
        return ZVK_SUCCESS;
    }
    HandOut(count, list);
    return ZVK_SUCCESS;
}
