// The instrument folder of a command.

#include "instrument.h"

#include <cstdlib>
#include <stdexcept>
#include <string>

namespace fs = std::filesystem;

constexpr const char *kVariable = "ZVK_COMMON_APPDATA";

// Beside the program as it is installed, or in the tree that it was built in.
static fs::path FindSample(const char *kind)
{
    std::error_code error;
    const fs::path bin = fs::read_symlink("/proc/self/exe", error).parent_path();
    const fs::path places[] = {fs::path("samples") / kind, bin / "../share/quorvex/samples" / kind,
                               bin / "../../../samples" / kind};
    for (const fs::path &place : places)
        if (fs::exists(place / "ZVK640" / "config.ini", error)) return place;
    return {};
}

Instrument::Instrument()
{
    const char *const own = std::getenv(kVariable);
    if (own == nullptr || *own == '\0') CopySample("simulated");
}

Instrument::Instrument(const fs::path &named)
{
    if (!fs::exists(named / "ZVK640" / "config.ini"))
        throw std::runtime_error("There is no " + (named / "ZVK640" / "config.ini").string() +
                                 ": name the folder above ZVK640.");
    setenv(kVariable, named.c_str(), 1);
}

Instrument::Instrument(const char *sample) { CopySample(sample); }

void Instrument::CopySample(const char *kind)
{
    const fs::path sample = FindSample(kind);
    if (sample.empty())
        throw std::runtime_error("No instrument folder: set ZVK_COMMON_APPDATA to the folder above "
                                 "ZVK640.");
    std::string name = (fs::temp_directory_path() / "zvk-XXXXXX").string();
    if (!mkdtemp(name.data()))
        throw std::runtime_error("Cannot make a folder in " + fs::temp_directory_path().string());
    m_copy = name;
    fs::copy(sample, m_copy, fs::copy_options::recursive);
    setenv(kVariable, m_copy.c_str(), 1);
}

Instrument::~Instrument()
{
    if (m_copy.empty()) return;
    std::error_code ignored;
    fs::remove_all(m_copy, ignored);
    unsetenv(kVariable);
}
