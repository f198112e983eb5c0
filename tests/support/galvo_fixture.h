#ifndef QUORVEX_TESTS_GALVO_FIXTURE_H
#define QUORVEX_TESTS_GALVO_FIXTURE_H

// The galvo module at load, and an output made by hand: samples without a card or a timer behind
// them.

#include "quorvex/galvo.h"
#include "steering/galvo.h"

#include <gtest/gtest.h>

#include <vector>

class GalvoTest : public ::testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override;

    // The module as it is when the library is loaded.
    static void ResetGalvo();

    // An output of N samples a channel at 10,000 samples a second, simulated so that nothing is
    // sent, but with each output's samples in their own block. Limits -10 V to 10 V on both paths.
    static void PrepareOutput(int32_t n);

    // Waypoints at (1, 2), (1.01, 2.01)... volts, all standing, at 1 V/s.
    static void Configure(int32_t path, int32_t count);

    // Samples of one output: 0 path A X, 1 path A Y, 2 path B X, 3 path B Y.
    static std::vector<double> Channel(int32_t channel);
    static std::vector<double> AllSamples();
};

#endif
