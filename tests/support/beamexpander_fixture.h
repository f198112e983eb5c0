#ifndef QUORVEX_TESTS_BEAMEXPANDER_FIXTURE_H
#define QUORVEX_TESTS_BEAMEXPANDER_FIXTURE_H

// The beam expander module at load, in front of recording ports and a test clock, with an
// instrument folder of its own.

#include "instruments/beamexpander.h"
#include "recording_serial.h"
#include "scratch_folder.h"
#include "test_clock.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

using Calls = std::vector<std::string>;

// The keys of one path.
struct ExpanderKeys
{
    int32_t mi = 1;
    int32_t backend = 1;
    int32_t simulate = 0;
    int32_t initPos = 100;
    int32_t cwLimit = 1001;
    int32_t ccwLimit = 0;
    int32_t iniSec = 12;
};

constexpr int kPortOfA = 5;
constexpr int kPortOfB = 6;

// Nine bytes to the board: address 1, command, type, motor or bank, value, sum.
std::string CommandBytes(int command, int type, int motor, int32_t value);
// Nine bytes from the board, with status 100.
std::string ReplyBytes(int command, int32_t value);

class BeamExpanderTest : public testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override;

    void WriteConfig(const ExpanderKeys &a = {}, const ExpanderKeys &b = {}) const;
    void WriteConfigWithout(const std::string &key) const;  // of path B

    // Two boards that answer each command as the real ones do: A's on COM5, B's on COM6.
    void OfferBoards();
    void OfferBoard(int port, int32_t owner);
    // What a port answers to one command, in place of the usual reply.
    void AnswerCommand(int port, int command, int type, int motor, int32_t value,
                       const std::string &reply);
    void AnswerMove(int port, int32_t steps);

    // Written and initialized, with the calls of that forgotten.
    void BringUp(int32_t path, const ExpanderKeys &keys = {});
    void BringUpBoth(const ExpanderKeys &a = {}, const ExpanderKeys &b = {});

    // What was written to all ports since the last look, a line "5: 4 1 0 = -7" a command: port,
    // command, type, motor and value.
    Calls Commands();
    std::string InitPos(int32_t path) const;  // as it stands in config.ini
    static int32_t Position(int32_t path);    // -9999 when the call fails
    static std::vector<int32_t> Captured();   // read out, so that the list is empty again
    std::string Log() const { return folder.Read("log.ini"); }

    ScratchFolder folder;
    TestClock clock;
    RecordingSerial ports;
};

#endif
