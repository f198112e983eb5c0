#ifndef QUORVEX_TESTS_BEAMPOWER_FIXTURE_H
#define QUORVEX_TESTS_BEAMPOWER_FIXTURE_H

// The beam power module as it is at load, with an instrument folder, a recording card and a test
// clock.

#include "instruments/beampower.h"
#include "quorvex/quorvex.h"
#include "recording_daq.h"
#include "scratch_folder.h"
#include "test_clock.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

using Calls = std::vector<std::string>;

// The keys of one path; SUBDAQ's beside them.
struct PowerKeys
{
    int mi = 1;
    int backend = 1;
    int simulate = 0;
    std::string scale = "4.0";
};

class BeamPowerTest : public testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override;

    static void ResetBeamPower();  // the state at load; tasks of the card are cleared

    void WriteConfig(const PowerKeys &a = {}, const PowerKeys &b = {}, int daqBackend = 1);
    void WriteConfigWithout(const std::string &section, const std::string &key);
    // qdmr.bin with a table of pairs V, P for each path; an empty one leaves its section out.
    void WriteTable(const std::vector<std::pair<std::string, std::string>> &a,
                    const std::vector<std::pair<std::string, std::string>> &b = {});
    void BringUp(int32_t path, const PowerKeys &keys = {});  // with the calls so far forgotten

    std::string Log() const { return folder.Read("log.ini"); }
    static std::vector<int32_t> Captured();  // read out, so that the list is empty again
    static double Power(int32_t path);       // NaN when the path isn't up

    ScratchFolder folder;
    TestClock clock;
    RecordingDaq card;
};

#endif
