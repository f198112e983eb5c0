// Result texts. The extended text of a failure belongs to the thread whose call failed.

#include "errors.h"

#include "quorvex-virtual/daqmx_calls.h"

#include <cstdio>
#include <cstring>

constexpr size_t kFailureTextSize = 2048;

// Plain bytes: they need no destructor, so a thread that ends late can still ask.
static thread_local char t_failure[kFailureTextSize];

struct CodeRow
{
    int32_t code;
    const char *text;
};

static const CodeRow kCodeRows[] = {
#define X(name, code, text) {code, text},
    ZVC_CODES(X)
#undef X
};

const char *CodeText(int32_t code) noexcept
{
    if (code == 0) return "Success";
    for (const CodeRow &row : kCodeRows)
        if (row.code == code) return row.text;
    return code < 0 ? "The call failed" : "The call has worked, with a warning";
}

void KeepFailure(int32_t code, const char *call, const char *task, const char *device,
                 const char *detail) noexcept
{
    // A text that is longer than the room is cut.
    (void)std::snprintf(t_failure, sizeof t_failure,
                        "%s.%s%s\n\nCall: %s\nDevice: %s\nTask Name: %s\n\nStatus Code: %d",
                        CodeText(code), *detail ? "\n" : "", detail, call, device, task, code);
}

static int32_t HandOut(const char *text, char *out, uint32_t size)
{
    const size_t needed = std::strlen(text) + 1;
    if (!out || size == 0) return static_cast<int32_t>(needed);
    const size_t taken = needed <= size ? needed - 1 : size - 1;
    std::memcpy(out, text, taken);
    out[taken] = '\0';
    return needed <= size ? 0 : kTextCut;
}

int32_t DAQmxGetExtendedErrorInfo(char *errorString, uint32_t bufferSize)
{
    return HandOut(t_failure, errorString, bufferSize);
}

int32_t DAQmxGetErrorString(int32_t errorCode, char *errorString, uint32_t bufferSize)
{
    char text[256];
    (void)std::snprintf(text, sizeof text, "%s. (%d)", CodeText(errorCode), errorCode);
    return HandOut(text, errorString, bufferSize);
}
