#ifndef QUORVEX_TESTS_SCRATCH_FOLDER_H
#define QUORVEX_TESTS_SCRATCH_FOLDER_H

// An instrument folder of the test's own: as long as the object lives, the common data folder is in
// a new temporary folder, which goes with it.

#include <string>

class ScratchFolder
{
public:
    ScratchFolder();
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder &) = delete;
    ScratchFolder &operator=(const ScratchFolder &) = delete;

    // The path of a file in the instrument folder; without a name the folder, without a last slash.
    std::string Path(const std::string &name = "") const;

    void Write(const std::string &name, const std::string &bytes) const;
    std::string Read(const std::string &name) const;  // empty when there is no such file
    bool Holds(const std::string &name) const;
    void Remove(const std::string &name) const;  // harmless when there is no such file
    int CountFiles() const;

private:
    std::string m_base;
    std::string m_before;  // ZVK_COMMON_APPDATA as it was, empty when unset
};

// Sets an environment variable for as long as the object lives; null: takes it away.
class ScopedVariable
{
public:
    ScopedVariable(const char *name, const char *value);
    ~ScopedVariable();
    ScopedVariable(const ScopedVariable &) = delete;
    ScopedVariable &operator=(const ScopedVariable &) = delete;

private:
    std::string m_name;
    std::string m_before;
    bool m_wasSet = false;
};

#endif
