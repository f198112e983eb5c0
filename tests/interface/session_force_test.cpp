// Where force stands in a session: acquisition and calibration come up before the detectors, and
// the calibration comes up once in a process. So each test runs in a process of its own.

#include "close_modules.h"
#include "scratch_folder.h"
#include "two_paths.h"

#include <quorvex/quorvex.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <functional>
#include <iostream>
#include <string>

class SessionForce : public testing::Test
{
protected:
    void SetUp() override
    {
        GTEST_FLAG_SET(death_test_style, "threadsafe");
        folder.Write("config.ini", TwoPathsConfig());
        folder.Write("default.odf", TwoPathsObjective());
        folder.Write("default.cal", TwoPathsCalibration());
    }

    // Another value for a key of a section.
    void Set(const std::string &section, const std::string &key, const std::string &value) const
    {
        std::string text = folder.Read("config.ini");
        size_t at = text.find("\n" + key + " = ", text.find("[" + section + "]"));
        ASSERT_NE(at, std::string::npos) << key;
        at += key.size() + 4;
        folder.Write("config.ini", text.replace(at, text.find('\n', at) - at, value));
    }

    // Runs the body and ends the process: with 0 when each expectation in it held.
    [[noreturn]] static void EndWith(const std::function<bool()> &body)
    {
        const bool held = body();
        CloseModules();
        std::exit(held ? 0 : 1);
    }

    ScratchFolder folder;
    ScopedVariable headless{"ZVK_HEADLESS", "1"};
};

// Writes what differs where the parent shows it.
static bool Is(const char *what, int32_t got, int32_t expected)
{
    if (got != expected) std::cerr << what << ": " << got << " in place of " << expected << "\n";
    return got == expected;
}

static int32_t ForceStatus()
{
    int32_t status = -9;
    return ZVK_Force_GetInitStatus(0, &status) == 0 ? status : -8;
}

static int32_t CalibrationStatus()
{
    int32_t status = -9;
    return ZVK_ForceCal_GetInitStatus(0, &status) == 0 ? status : -8;
}

#define EXPECT_HOLDS(body) EXPECT_EXIT(EndWith([&]() -> bool body), testing::ExitedWithCode(0), "")

TEST_F(SessionForce, ASessionBringsAcquisitionAndCalibrationUpAndCloseLeavesThemSo)
{
    EXPECT_HOLDS({
        double temperature = 0.0;
        return Is("init", ZVK_init("", 0, 0, 5), 0) && Is("force", ForceStatus(), 2) &&
               Is("calibration", CalibrationStatus(), 2) &&
               Is("temperature", ZVK_ForceCal_GetTemperature(0, &temperature), 0) &&
               temperature == 293.15 && Is("close", ZVK_close(5), 0) &&
               Is("force, closed", ForceStatus(), 2) &&
               Is("calibration, closed", CalibrationStatus(), 2);
    });
}

TEST_F(SessionForce, ASecondInitPassesTheOthersAndEndsAtTheCalibration)
{
    EXPECT_HOLDS({
        if (!Is("init", ZVK_init("", 0, 0, 1), 0)) return false;
        int32_t index = 0;
        int32_t count = 0;
        (void)ZVK_Trap_Add(0, 0, &index, 1.0, "more", 1.0, 1.0, ZVK_UNIT_VOLT);
        (void)ZVK_Trap_GetNumberOfTraps(0, 0, &count);
        if (!Is("traps", count, 2)) return false;
        if (!Is("again", ZVK_init("", 0, 0, 1), ZVK_FORCECAL_ALREADY_INITIALIZED)) return false;
        (void)ZVK_Trap_GetNumberOfTraps(0, 0, &count);
        return Is("traps afresh", count, 1) && Is("calibration", CalibrationStatus(), 2);
    });
}

TEST_F(SessionForce, ASessionAfterACloseEndsAtTheCalibrationToo)
{
    EXPECT_HOLDS({
        return Is("init", ZVK_init("", 0, 0, 1), 0) && Is("close", ZVK_close(1), 0) &&
               Is("again", ZVK_init("", 0, 0, 1), ZVK_FORCECAL_ALREADY_INITIALIZED) &&
               Is("close again", ZVK_close(1), 0);
    });
}

// The names of the detectors stand in FORCE as well; without them the last step fails.
TEST_F(SessionForce, ACalibrationThatDoesNotExistEndsInitBeforeTheDetectors)
{
    std::string text = folder.Read("config.ini");
    for (const char *line : {"DET_A_NAME = \"DKL-1\"\n", "DET_B_NAME = \"DKL-2\"\n"}) {
        ASSERT_NE(text.find(line), std::string::npos);
        text.erase(text.find(line), std::strlen(line));
    }
    folder.Write("config.ini", text);
    EXPECT_HOLDS({
        return Is("the detectors", ZVK_init("", 0, 0, 1), ZVK_CONFILE_NOT_FOUND) &&
               Is("calibration", CalibrationStatus(), 2);
    });
    Set("FORCECAL", "MI", "0");
    EXPECT_HOLDS({
        return Is("init", ZVK_init("", 0, 0, 1), ZVK_FORCECAL_NOT_INSTALLED) &&
               Is("calibration", CalibrationStatus(), -1);
    });
}

TEST_F(SessionForce, ForceThatDoesNotExistPassesAndTheCalibrationComesUp)
{
    Set("FORCE", "MI", "0");
    EXPECT_HOLDS({
        return Is("init", ZVK_init("", 0, 0, 1), 0) && Is("force", ForceStatus(), -1) &&
               Is("calibration", CalibrationStatus(), 2);
    });
}

TEST_F(SessionForce, AFailedCardEndsInitBeforeTheCalibration)
{
    Set("FORCE", "SIMULATE", "0");
    EXPECT_HOLDS({
        return Is("init", ZVK_init("", 0, 0, 1), ZVK_CONFILE_NOT_FOUND) &&
               Is("calibration", CalibrationStatus(), 0);
    });
}

TEST_F(SessionForce, AFileOfStartValuesThatIsNotThereEndsInitAndTheNextOneWorks)
{
    Set("FORCECAL", "STARTUP_VALUES", "\"none.cal\"");
    EXPECT_HOLDS({
        if (ZVK_init("", 0, 0, 1) >= 0) return false;
        if (!Is("calibration", CalibrationStatus(), 0)) return false;
        Set("FORCECAL", "STARTUP_VALUES", "\"default.cal\"");
        return Is("again", ZVK_init("", 0, 0, 1), 0) && Is("calibration", CalibrationStatus(), 2);
    });
}
