// The card vendor's library by dlopen.

#include "platform/daqmx_loader.h"

#include <cstdio>
#include <dlfcn.h>

#define ZVK_DAQ_ADVICE "The environment variable ZVK_DAQMX_LIBRARY can name another library."

bool LoadDaq(const char *library, ZVK_DaqTable &table, char *reason, size_t reasonSize) noexcept
{
    void *opened = dlopen(library, RTLD_NOW | RTLD_LOCAL);
    if (!opened) {
        const char *error = dlerror();
        (void)std::snprintf(reason, reasonSize,
                            "The DAQ library %s can't be opened (%s). " ZVK_DAQ_ADVICE, library,
                            error ? error : "no reason given");
        return false;
    }
    ZVK_DaqTable found{};
    const char *lacking = nullptr;
#define X(entry, vendorName, ...)                                                                  \
    found.entry = reinterpret_cast<decltype(found.entry)>(dlsym(opened, #vendorName));             \
    if (!found.entry && !lacking) lacking = #vendorName;
    ZVK_DAQ_CALLS(X)
#undef X
    if (lacking) {
        (void)std::snprintf(reason, reasonSize,
                            "The DAQ library %s has no call %s. " ZVK_DAQ_ADVICE, library, lacking);
        (void)dlclose(opened);
        return false;
    }
    table = found;
    return true;
}
