#ifndef QUORVEX_TESTS_GALVO_SESSION_H
#define QUORVEX_TESTS_GALVO_SESSION_H

// The galvo module with an instrument folder, a recording card, told timers and a test clock: what
// its start, its output and its end do.

#include "galvo_fixture.h"
#include "recording_daq.h"
#include "scratch_folder.h"
#include "test_clock.h"
#include "test_timers.h"

#include <optional>
#include <string>

class GalvoSessionTest : public GalvoTest
{
protected:
    void SetUp() override;
    void TearDown() override;

    // config.ini with these MAINDAQ values; N is 100, the clock 10,000 samples a second.
    void WriteConfig(int simulate, int trigger = 0, int backend = 1);
    void WriteConfigWithout(const std::string &key);  // hardware, one line missing
    std::string Log() const;

    // ZVK_Galvo_Init on the recording card or simulated, with the calls so far forgotten.
    void BringUp(int simulate);

    ScratchFolder folder;
    std::optional<RecordingDaq> card;
    std::optional<TestTimers> timers;
    std::optional<TestClock> clock;
};

#endif
