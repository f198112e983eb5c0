#ifndef QUORVEX_TESTS_STAGE_FIXTURE_H
#define QUORVEX_TESTS_STAGE_FIXTURE_H

// The stage module at load, with an instrument folder, a recording card, a test clock, and a
// virtual controller whose axes travel on that clock.

#include "instruments/stage.h"
#include "recording_daq.h"
#include "scratch_folder.h"
#include "test_clock.h"

#include <quorvex-virtual/stage.h>

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

class StageTest : public ::testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override;

    static void ResetStage();

    // Sections STAGE and SUBDAQ: travel 100, 0.1 V a unit, step size 0.01, these keys put in place
    // of the usual ones or left out where the value is "-".
    void WriteConfig(const std::map<std::string, std::string> &changes = {}) const;

    void BringUpController();
    void BringUpOutputs();  // with the calls so far forgotten
    void BringUpBoth();
    void Simulate(const std::string &backend);

    // What the controller was asked since the last look, without the questions for errors.
    std::vector<std::string> Asked();

    ScratchFolder folder;
    RecordingDaq card;
    TestClock clock;
    std::unique_ptr<VirtualStage> controller;
};

#endif
