#ifndef QUORVEX_TESTS_FORCE_FIXTURE_H
#define QUORVEX_TESTS_FORCE_FIXTURE_H

// The force module at load, with an instrument folder, a recording card, recorded messages and a
// test clock.

#include "force/force.h"
#include "recording_daq.h"
#include "recording_messages.h"
#include "scratch_folder.h"
#include "test_clock.h"

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

class ForceTest : public ::testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override;

    static void ResetForce();

    // Section FORCE of a card "Dev2" with paths A and B and the reference, these keys put in place
    // of the usual ones or left out where the value is "-".
    void WriteConfig(const std::map<std::string, std::string> &changes = {}) const;

    // ZVK_Force_Init on the recording card, with the calls so far forgotten.
    void BringUp();

    ScratchFolder folder;
    std::optional<RecordingDaq> card;
    std::optional<RecordingMessages> messages;
    std::optional<TestClock> clock;
};

// Frees what a call handed out, at the end of a test.
struct HandedBlock
{
    double *data = nullptr;

    HandedBlock() = default;
    HandedBlock(const HandedBlock &) = delete;
    HandedBlock &operator=(const HandedBlock &) = delete;
    ~HandedBlock();
    double **operator&() { return &data; }
    std::vector<double> Values(int64_t count) const { return {data, data + count}; }
};

#endif
