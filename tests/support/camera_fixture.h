#ifndef QUORVEX_TESTS_CAMERA_FIXTURE_H
#define QUORVEX_TESTS_CAMERA_FIXTURE_H

// The camera module at load, in front of a recording desktop, recorded messages and a test clock.

#include "imaging/camera.h"
#include "quorvex/camera.h"
#include "recording_messages.h"
#include "recording_windows.h"
#include "scratch_folder.h"
#include "test_clock.h"
#include "test_timers.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

using Calls = std::vector<std::string>;

// Section CAMERA of config.ini, in the order in which the keys are read.
struct CameraConfig
{
    std::string installed = "1";
    std::string simulate = "1";
    std::string backend = "2";
    std::string colorMode = "5";
    std::string exposureTime = "0.025";
    std::string startCooling = "1";
    std::string coolerTemperature = "-17";
    std::string width = "800";
    std::string height = "600";
    std::string offsetX = "11";
    std::string offsetY = "12";
    std::string child = "0";
    std::string parent = "Lab";
    std::string histogram = "0";
    std::string histogramWidth = "300";
    std::string histogramHeight = "150";
    std::string histogramOffsetX = "13";
    std::string histogramOffsetY = "14";
    std::string histogramChild = "0";
    std::string histogramParent = "Desk";
    std::string nativeX = "512";
    std::string nativeY = "512";

    // Without the lines of these keys.
    std::string Text(const std::vector<std::string> &without = {}) const;
};

class CameraTest : public ::testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override;

    void Write(const CameraConfig &config, const std::vector<std::string> &without = {}) const;
    // Written and initialized, with the loops scheduled and not begun, and the calls forgotten.
    void BringUp(const CameraConfig &config = {});

    // What a loop does at its start, so that its passes can be run one by one.
    static void BeginLoops();
    // The next frame, handed over or missed; then what the window shows of it.
    static bool Acquire() { return AcquirePass(); }
    static bool Display() { return DisplayPass(); }

    template <class Value>
    static Value Get(Value ZVK_CameraState::*field)
    {
        return CameraGet(field);
    }
    static std::vector<int32_t> View();
    static std::vector<int32_t> AcquiredSize();
    static std::vector<int32_t> DisplaySize();

    ScratchFolder folder;
    TestClock clock;
    // Pool functions run when the test says so; a test with real loops lets them go.
    std::unique_ptr<TestTimers> threads = std::make_unique<TestTimers>();
    RecordingMessages messages;
    RecordingWindows windows;
};

#endif
