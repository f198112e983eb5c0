// The card's calls in use, and what stands in when there is no library.

#include "platform/daqmx.h"

#include "platform/backends.h"
#include "platform/daqmx_loader.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>

constexpr const char *kVendorLibrary = "libnidaqmx.so.1";

static constinit TableSwitch<ZVK_DaqTable> s_daq;
static constinit std::atomic<const char *> s_absenceReason{""};

// One function for each type of call, variadic where the call is.
template <class Type>
struct AbsentCall;

template <class... Arguments>
struct AbsentCall<int32_t(Arguments...)>
{
    static int32_t Answer(Arguments...) { return ZVK_DAQ_ABSENT; }
};

template <class... Arguments>
struct AbsentCall<int32_t(Arguments..., ...)>
{
    static int32_t Answer(Arguments..., ...) { return ZVK_DAQ_ABSENT; }
};

static int32_t TellReason(char *text, uint32_t size)
{
    if (!text || size == 0) return ZVK_DAQ_ABSENT;
    (void)std::snprintf(text, size, "%s", s_absenceReason.load());  // cut to the caller's buffer
    return 0;
}

ZVK_DaqTable AbsentDaq(const char *reason) noexcept
{
    s_absenceReason = reason;
    ZVK_DaqTable table = {
#define X(entry, vendorName, ...) AbsentCall<__VA_ARGS__>::Answer,
        ZVK_DAQ_CALLS(X)
#undef X
    };
    table.getExtendedErrorInfo = TellReason;
    return table;
}

static ZVK_DaqTable LoadOrStandIn()
{
    static char reason[1024];
    const char *named = std::getenv("ZVK_DAQMX_LIBRARY");
    ZVK_DaqTable table;
    if (LoadDaq(named && *named ? named : kVendorLibrary, table, reason, sizeof reason))
        return table;
    return AbsentDaq(reason);
}

static const ZVK_DaqTable &LoadedDaq()
{
    static const ZVK_DaqTable table = LoadOrStandIn();  // once, whichever thread comes first
    return table;
}

const ZVK_DaqTable &Daq() { return s_daq.InUse(LoadedDaq); }

void UseDaq(const ZVK_DaqTable *table) { s_daq.Use(table); }
