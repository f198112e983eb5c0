#include "scratch_folder.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace fs = std::filesystem;

static std::string NewTemporaryFolder()
{
    std::string name = (fs::temp_directory_path() / "quorvex-test-XXXXXX").string();
    if (!mkdtemp(name.data())) throw fs::filesystem_error("mkdtemp", name, std::error_code());
    return name;
}

ScratchFolder::ScratchFolder() : m_base(NewTemporaryFolder())
{
    const char *before = std::getenv("ZVK_COMMON_APPDATA");
    m_before = before ? before : "";
    fs::create_directory(Path());
    setenv("ZVK_COMMON_APPDATA", m_base.c_str(), 1);
}

ScratchFolder::~ScratchFolder()
{
    if (m_before.empty()) {
        unsetenv("ZVK_COMMON_APPDATA");
    } else {
        setenv("ZVK_COMMON_APPDATA", m_before.c_str(), 1);
    }
    std::error_code ignored;  // a left folder in the temporary place does no harm
    fs::remove_all(m_base, ignored);
}

std::string ScratchFolder::Path(const std::string &name) const
{
    const std::string folder = m_base + "/ZVK640";
    return name.empty() ? folder : folder + "/" + name;
}

void ScratchFolder::Write(const std::string &name, const std::string &bytes) const
{
    std::ofstream file(Path(name), std::ios::binary | std::ios::trunc);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

std::string ScratchFolder::Read(const std::string &name) const
{
    std::ifstream file(Path(name), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

bool ScratchFolder::Holds(const std::string &name) const { return fs::exists(Path(name)); }

void ScratchFolder::Remove(const std::string &name) const { fs::remove(Path(name)); }

int ScratchFolder::CountFiles() const
{
    return static_cast<int>(
        std::distance(fs::directory_iterator(Path()), fs::directory_iterator()));
}

ScopedVariable::ScopedVariable(const char *name, const char *value) : m_name(name)
{
    const char *before = std::getenv(name);
    m_wasSet = before != nullptr;
    m_before = before ? before : "";
    if (value) {
        setenv(name, value, 1);
    } else {
        unsetenv(name);
    }
}

ScopedVariable::~ScopedVariable()
{
    if (m_wasSet) {
        setenv(m_name.c_str(), m_before.c_str(), 1);
    } else {
        unsetenv(m_name.c_str());
    }
}
