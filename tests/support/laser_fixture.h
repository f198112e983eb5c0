#ifndef QUORVEX_TESTS_LASER_FIXTURE_H
#define QUORVEX_TESTS_LASER_FIXTURE_H

// The laser module at load, in front of a recording card, recording ports and a test clock.

#include "instruments/laser.h"
#include "recording_daq.h"
#include "recording_serial.h"
#include "scratch_folder.h"
#include "test_clock.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

using Calls = std::vector<std::string>;

constexpr int kLaserPort = 7;

// The lines of config.ini that the laser reads.
struct LaserConfig
{
    std::string cardSimulate = "0";
    std::string cardName = "Dev1";
    std::string installed = "1";
    std::string simulate = "0";
    std::string backend = "1";
    std::string trapPaths = "2";
    std::string maxCurrent = "6.5";
    std::string maxPower = "3.5";
    std::string minPower = "0.25";
    std::string alignPower = "1.25";
    std::string mode = "CP";
    std::string input = "ai7";

    // In the order in which the keys are read; DAQNAME and DAQLASERAI come last.
    std::string Text(const std::string &without = "") const;
};

class LaserTest : public ::testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override;

    // A laser on COM7 that answers as the real one does, with the interlock closed and no error.
    void OfferLaser();
    void Write(const LaserConfig &config) const;
    // Written and initialized, with the calls of that forgotten.
    void BringUp(const LaserConfig &config);
    void BringUpSerial() { BringUp({}); }
    void BringUpLevels() { BringUp({.backend = "4"}); }
    void BringUpSimulated(const std::string &mode = "CP")
    {
        BringUp({.cardSimulate = "1", .simulate = "1", .mode = mode});
    }
    void ForgetCalls();
    std::string Log() const { return folder.Read("log.ini"); }

    ScratchFolder folder;
    TestClock clock;
    RecordingDaq card;
    RecordingSerial ports;
};

#endif
