#ifndef QUORVEX_ZVK_INSTRUMENT_H
#define QUORVEX_ZVK_INSTRUMENT_H

// The instrument folder of a command: the user's own, or a copy of a sample, since a session writes
// its log there. The copy goes with the object.

#include <filesystem>

class Instrument
{
public:
    Instrument();  // throws std::runtime_error when there is neither
    // The folder above ZVK640 that is named; throws std::runtime_error when it is none.
    explicit Instrument(const std::filesystem::path &named);
    // A copy of a sample, "simulated" or "virtual".
    explicit Instrument(const char *sample);
    ~Instrument();
    Instrument(const Instrument &) = delete;
    Instrument &operator=(const Instrument &) = delete;

    bool IsSample() const { return !m_copy.empty(); }

private:
    void CopySample(const char *kind);

    std::filesystem::path m_copy;  // empty: the user's own folder is used
};

#endif
