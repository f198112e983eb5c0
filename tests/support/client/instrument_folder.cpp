#include "instrument_folder.h"

#include "quorvex-virtual/daqmx_calls.h"

#include <dlfcn.h>

InstrumentFolder::InstrumentFolder(std::initializer_list<std::pair<std::string, std::string>> files)
    : m_card("ZVK_DAQMX_LIBRARY", CardPath().c_str())
{
    for (const auto &[name, text] : files)
        m_files.Write(name, text);
}

std::string InstrumentFolder::CardPath()
{
    // The file that this program has loaded, so that the library, which opens it by its path, meets
    // the same card.
    Dl_info card{};
    if (dladdr(reinterpret_cast<void *>(&DAQmxGetErrorString), &card) == 0) return "";
    return card.dli_fname;
}
