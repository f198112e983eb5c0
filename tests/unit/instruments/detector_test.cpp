// The detectors: keys, the helper program's start, orders with their numbers, gains.

#include "instruments/detector.h"

#include "platform/processes.h"
#include "quorvex/quorvex.h"
#include "recording_messages.h"
#include "recording_processes.h"
#include "scratch_folder.h"
#include "test_clock.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

using Posted = RecordingMessages::Posted;
using Posts = std::vector<Posted>;

void PrintTo(const Posted &posted, std::ostream *out)
{
    *out << posted.name << " " << posted.first << " " << posted.second;
}

// One order as it is posted.
static Posted Order(int64_t order, int64_t data) { return {"DKLEVENT", order, data}; }

class Detector : public testing::Test
{
protected:
    void SetUp() override
    {
        ResetDetectors();
        (void)Captured();
    }

    void TearDown() override
    {
        EXPECT_LE(programs.Held(), 1);
        ResetDetectors();
        EXPECT_EQ(programs.Held(), 0) << "a process handle leaked";
        (void)Captured();
    }

    static void ResetDetectors()
    {
        ReleaseDetectorProcess();
        for (ZVK_DetectorState &row : g_detector)
            row = {};
        g_detectorLink = {};
    }

    void WriteConfig(int mi, int simulate, const std::string &a = "DKL-7",
                     const std::string &b = "DKL-3") const
    {
        folder.Write("config.ini", "[FORCE]\r\nMI=" + std::to_string(mi) + "\r\nSIMULATE=" +
                                       std::to_string(simulate) + "\r\nDET_A_NAME=\"" + a +
                                       "\"\r\nDET_B_NAME=\"" + b + "\"\r\n");
    }

    void WriteConfigWithout(const std::string &key) const
    {
        WriteConfig(1, 0);
        std::string text = folder.Read("config.ini");
        const size_t at = text.find(key + "=");
        folder.Write("config.ini", text.erase(at, text.find('\n', at) + 1 - at));
    }

    void BringUp()
    {
        WriteConfig(1, 0);
        ASSERT_EQ(ZVK_Detector_Init(640, 0, 0), 0);
    }

    Posts NewPosts()
    {
        const Posts all = messages.Posts();
        Posts fresh(all.begin() + static_cast<std::ptrdiff_t>(m_seen), all.end());
        m_seen = all.size();
        return fresh;
    }

    static std::vector<int32_t> Captured()
    {
        int32_t count = 0;
        (void)ZVK_error_GetWarnings(0, &count, nullptr);
        std::vector<int32_t> codes(static_cast<size_t>(count) + 1);
        (void)ZVK_error_GetWarnings(0, nullptr, codes.data());
        codes.pop_back();
        return codes;
    }

    ScratchFolder folder;
    TestClock clock;
    RecordingMessages messages;
    RecordingProcesses programs;

private:
    size_t m_seen = 0;
};

TEST_F(Detector, InitStartsTheProgramNamesBothDetectorsAndSetsBothGainsToTen)
{
    WriteConfig(1, 0);
    EXPECT_EQ(ZVK_Detector_Init(640, 1, 1), 0);
    EXPECT_EQ(programs.Launched(), std::vector<std::string>{folder.Path("dkl.exe")});
    EXPECT_EQ(clock.Delays(), std::vector<double>{1.0});
    EXPECT_EQ(NewPosts(), (Posts{Order(1, 449), Order(1, 3 * 64 + 2), Order(2, 0x280 + 1),
                                 Order(2, 0x280 + 2)}));
    for (const ZVK_DetectorState &row : g_detector) {
        EXPECT_EQ(row.exists, 1);
        EXPECT_EQ(row.linked, 1);
        EXPECT_EQ(row.simulate, 0);
        EXPECT_EQ(row.gain, 10);
    }
    EXPECT_STREQ(g_detector[0].name.text, "DKL-7");
    EXPECT_STREQ(g_detector[1].name.text, "DKL-3");
    EXPECT_EQ(g_detectorLink.linkOpen, 1);
    EXPECT_EQ(g_detectorLink.eventMessage, 0xC001U);
    EXPECT_TRUE(Captured().empty());
}

TEST_F(Detector, TheSecondIsWaitedBehindTheStartAndBeforeTheFirstOrder)
{
    WriteConfig(1, 0);
    size_t started = 0;
    size_t posted = 9;
    clock.OnWait([&] {
        started = programs.Launched().size();
        posted = messages.Posts().size();
    });
    EXPECT_EQ(ZVK_Detector_Init(0, 0, 0), 0);
    EXPECT_EQ(started, 1U);
    EXPECT_EQ(posted, 0U);
}

TEST_F(Detector, AProgramThatCannotBeStartedIsTheStatusBehindTheSecondAllTheSame)
{
    WriteConfig(1, 0);
    const int32_t codes[] = {ZVK_LAUNCH_NOT_FOUND, ZVK_LAUNCH_NOT_ALLOWED, ZVK_LAUNCH_FAILED, 5};
    for (const int32_t code : codes) {
        programs.FailLaunches(code);
        EXPECT_EQ(ZVK_Detector_Init(0, 0, 0), code);
        EXPECT_EQ(g_detectorLink.linkOpen, 0);
        EXPECT_EQ(ZVK_Detector_SetGain(0, 0, 1), ZVK_DETECTOR_NOT_INITIALIZED);
        EXPECT_EQ(ZVK_Detector_Shutdown(0), 0);
    }
    EXPECT_EQ(clock.Delays(), std::vector<double>(4, 1.0));
    EXPECT_TRUE(NewPosts().empty());
    programs.FailLaunches(0);
    EXPECT_EQ(ZVK_Detector_Init(0, 0, 0), 0);
}

TEST_F(Detector, EachMissingKeyIsTheStatusAndTheKeysBeforeItCount)
{
    for (const char *key : {"MI", "SIMULATE", "DET_A_NAME", "DET_B_NAME"}) {
        ResetDetectors();
        WriteConfigWithout(key);
        EXPECT_EQ(ZVK_Detector_Init(0, 0, 0), ZVK_CONFILE_NOT_FOUND) << key;
        EXPECT_STREQ(g_detector[0].name.text, std::string(key) == "DET_B_NAME" ? "DKL-7" : "");
        EXPECT_EQ(g_detector[0].exists, 0);
    }
    folder.Write("config.ini", "");
    EXPECT_EQ(ZVK_Detector_Init(0, 0, 0), ZVK_CONFILE_NOT_READABLE);
    EXPECT_TRUE(programs.Launched().empty());
    EXPECT_TRUE(clock.Delays().empty());
}

TEST_F(Detector, KeysAreReadInTheirOrder)
{
    // Each is missing together with all that come behind it: the log tells the first one.
    const std::pair<const char *, const char *> steps[] = {
        {"", "MI"},
        {"MI=1\r\n", "SIMULATE"},
        {"SIMULATE=0\r\n", "DET_A_NAME"},
        {"DET_A_NAME=\"DKL-1\"\r\n", "DET_B_NAME"},
    };
    std::string text = "[FORCE]\r\n";
    for (const auto &[line, missing] : steps) {
        text += line;
        folder.Remove("log.ini");
        folder.Write("config.ini", text);
        EXPECT_EQ(ZVK_Detector_Init(0, 0, 0), ZVK_CONFILE_NOT_FOUND) << missing;
        EXPECT_NE(folder.Read("log.ini").find(missing), std::string::npos) << missing;
    }
}

TEST_F(Detector, AllFourKeysAreReadBeforeTheyAreLookedAt)
{
    WriteConfig(0, 1, "DKL-1", "");
    EXPECT_EQ(ZVK_Detector_Init(0, 0, 0), ZVK_CONFILE_NOT_FOUND) << "an empty name, before MI 0";
}

TEST_F(Detector, NoDetectorOpensNoLinkAndGainsAreRefused)
{
    WriteConfig(0, 1);
    EXPECT_EQ(ZVK_Detector_Init(0, 0, 0), 0);
    EXPECT_TRUE(programs.Launched().empty());
    EXPECT_TRUE(clock.Delays().empty());
    for (const int32_t path : {0, 1})
        EXPECT_EQ(ZVK_Detector_SetGain(0, path, 10), ZVK_DETECTOR_NOT_INITIALIZED);
    WriteConfig(1, 1);
    ASSERT_EQ(ZVK_Detector_Init(0, 0, 0), 0);
    WriteConfig(0, 1);
    ASSERT_EQ(ZVK_Detector_Init(0, 0, 0), 0);
    EXPECT_EQ(ZVK_Detector_SetGain(0, 0, 10), ZVK_DETECTOR_NOT_INITIALIZED)
        << "also behind a session that had some";
}

TEST_F(Detector, SimulatedGainsAreKeptAndNothingIsPosted)
{
    WriteConfig(1, 1);
    EXPECT_EQ(ZVK_Detector_Init(0, 0, 0), 0);
    for (const int32_t path : {0, 1}) {
        EXPECT_EQ(g_detector[path].gain, 0) << "Init sets none";
        EXPECT_EQ(ZVK_Detector_SetGain(0, path, 100), 0);
        EXPECT_EQ(g_detector[path].gain, 100);
        EXPECT_EQ(g_detector[path].simulate, 1);
        EXPECT_EQ(g_detector[path].linked, 0);
    }
    EXPECT_EQ(g_detectorLink.linkOpen, 0);
    EXPECT_EQ(ZVK_Detector_Shutdown(0), 0);
    EXPECT_EQ(ZVK_Detector_SetGain(0, 0, 1), 0) << "there was no link to close";
    EXPECT_TRUE(NewPosts().empty());
    EXPECT_TRUE(programs.Launched().empty());
}

TEST_F(Detector, AnySimulateButZeroIsSimulatedAndKeptAsOne)
{
    for (const int simulate : {2, -1}) {
        ResetDetectors();
        WriteConfig(1, simulate);
        EXPECT_EQ(ZVK_Detector_Init(0, 0, 0), 0);
        for (const ZVK_DetectorState &row : g_detector) {
            EXPECT_EQ(row.exists, 1);
            EXPECT_EQ(row.simulate, 1);
        }
    }
    EXPECT_TRUE(programs.Launched().empty());
    EXPECT_TRUE(clock.Delays().empty());
}

TEST_F(Detector, EachGainGoesOutAboveTheChannel)
{
    BringUp();
    (void)NewPosts();
    const struct
    {
        int32_t path;
        int32_t gain;
        int64_t data;
    } rows[] = {{0, 1, 0x40 | 1}, {0, 10, 0x280 | 1}, {0, 100, 0x1900 | 1},
                {1, 1, 0x40 | 2}, {1, 10, 0x280 | 2}, {1, 100, 0x1900 | 2}};
    for (const auto &row : rows) {
        EXPECT_EQ(ZVK_Detector_SetGain(0, row.path, row.gain), 0);
        EXPECT_EQ(NewPosts(), Posts{Order(2, row.data)});
        EXPECT_EQ(g_detector[row.path].gain, row.gain);
    }
}

TEST_F(Detector, AnotherGainIsRefusedAndChangesNothing)
{
    BringUp();
    (void)NewPosts();
    for (const int32_t gain : {5, 0, -1, 11, 1000, 2147483647, -2147483647 - 1}) {
        EXPECT_EQ(ZVK_Detector_SetGain(0, 0, gain), ZVK_DETECTOR_BAD_GAIN);
        EXPECT_EQ(g_detector[0].gain, 10);
    }
    EXPECT_TRUE(NewPosts().empty());
    EXPECT_TRUE(Captured().empty());
}

TEST_F(Detector, PathThenExistenceThenGainAreTested)
{
    for (const int32_t path : {-1, 2, 2147483647})
        EXPECT_EQ(ZVK_Detector_SetGain(0, path, 5), ZVK_DETECTOR_BAD_PATH);
    EXPECT_EQ(ZVK_Detector_SetGain(0, 0, 5), ZVK_DETECTOR_NOT_INITIALIZED);
    BringUp();
    EXPECT_EQ(ZVK_Detector_SetGain(0, 2, 5), ZVK_DETECTOR_BAD_PATH);
    EXPECT_EQ(ZVK_Detector_SetGain(0, 1, 5), ZVK_DETECTOR_BAD_GAIN);
}

TEST_F(Detector, TheNumberOfANameIsItsLastCharacter)
{
    const struct
    {
        const char *name;
        int64_t number;
    } rows[] = {{"DKL-0", 0}, {"9", 9}, {"12", 2}, {"DKL-A", 'A' - '0'}, {"DKL-!", '!' - '0'}};
    for (const auto &row : rows) {
        WriteConfig(1, 0, row.name, row.name);
        EXPECT_EQ(ZVK_Detector_Init(0, 0, 0), 0);
        const Posts posts = NewPosts();
        ASSERT_GE(posts.size(), 2U);
        EXPECT_EQ(posts[0], Order(1, (row.number * 64) | 1)) << row.name;
        EXPECT_EQ(posts[1], Order(1, (row.number * 64) | 2)) << row.name;
    }
}

TEST_F(Detector, ANameThatFillsItsRoomKeepsItsLastCharacterInsideIt)
{
    WriteConfig(1, 0, std::string(255, 'x') + "4" + "789", "DKL-1");
    EXPECT_EQ(ZVK_Detector_Init(0, 0, 0), 0);
    EXPECT_EQ(NewPosts().front(), Order(1, 4 * 64 + 1)) << "256 characters are kept";
}

TEST_F(Detector, OrdersGoOutBlind)
{
    messages.FailPosts(-4);
    BringUp();
    EXPECT_EQ(g_detector[0].gain, 10);
    EXPECT_EQ(ZVK_Detector_SetGain(0, 0, 100), 0);
    EXPECT_EQ(g_detector[0].gain, 100);
    EXPECT_EQ(ZVK_Detector_Shutdown(0), 0);
    EXPECT_EQ(g_detectorLink.linkOpen, 0);
    EXPECT_TRUE(Captured().empty());
    messages.FailPosts(0);
    messages.FailNames();
    EXPECT_EQ(ZVK_Detector_Init(0, 0, 0), 0);
    EXPECT_TRUE(NewPosts().empty());
}

TEST_F(Detector, AFirstGainThatFailsTakesTheDetectorOutOfUseAndIsCaptured)
{
    const int32_t warnings[] = {ZVK_DETECTOR_A_NO_REPLY, ZVK_DETECTOR_B_NO_REPLY};
    for (const int32_t path : {0, 1}) {
        g_detector[path].exists = 1;
        g_detector[path].linked = 1;
        EXPECT_EQ(KeepFirstGain(path, ZVK_DETECTOR_NOT_INITIALIZED, 0),
                  ZVK_DETECTOR_NOT_INITIALIZED);
        EXPECT_EQ(Captured(), std::vector<int32_t>{warnings[path]});
        EXPECT_EQ(g_detector[path].exists, 0);
        EXPECT_EQ(g_detector[path].linked, 0);
    }
    EXPECT_EQ(KeepFirstGain(1, 0, -1600), -1600) << "what A gave is kept when B works";
    EXPECT_EQ(g_detector[1].linked, 1);
}

TEST_F(Detector, ShutdownOrdersTheEndOnceAndTakesBothOutOfUse)
{
    BringUp();
    (void)NewPosts();
    EXPECT_EQ(ZVK_Detector_Shutdown(0), 0);
    EXPECT_EQ(NewPosts(), Posts{Order(3, 0)});
    EXPECT_EQ(programs.Held(), 0);
    for (const ZVK_DetectorState &row : g_detector) {
        EXPECT_EQ(row.exists, 0);
        EXPECT_EQ(row.gain, 10) << "only `exists` falls";
        EXPECT_EQ(row.linked, 1);
    }
    EXPECT_EQ(ZVK_Detector_SetGain(0, 0, 1), ZVK_DETECTOR_NOT_INITIALIZED);
    EXPECT_EQ(ZVK_Detector_Shutdown(0), 0);
    EXPECT_TRUE(NewPosts().empty());
}

TEST_F(Detector, ASecondInitRunsAgainAndStartsTheProgramAgain)
{
    BringUp();
    (void)NewPosts();
    ASSERT_EQ(ZVK_Detector_SetGain(0, 0, 100), 0);
    EXPECT_EQ(ZVK_Detector_Init(0, 0, 0), 0);
    EXPECT_EQ(programs.Launched().size(), 2U);
    EXPECT_EQ(programs.Held(), 1) << "the first handle is given back";
    EXPECT_EQ(NewPosts().size(), 5U);
    EXPECT_EQ(g_detector[0].gain, 10);
}

TEST_F(Detector, AProgramThatCannotBeStartedAgainLeavesTheLinkOfTheFirstOne)
{
    BringUp();
    (void)NewPosts();
    programs.FailLaunches(ZVK_LAUNCH_NOT_FOUND);
    EXPECT_EQ(ZVK_Detector_Init(0, 0, 0), ZVK_LAUNCH_NOT_FOUND);
    EXPECT_EQ(g_detectorLink.linkOpen, 1);
    EXPECT_TRUE(NewPosts().empty()) << "no names";
    EXPECT_EQ(ZVK_Detector_SetGain(0, 1, 1), 0);
    EXPECT_EQ(ZVK_Detector_Shutdown(0), 0);
    EXPECT_EQ(NewPosts(), (Posts{Order(2, 0x40 | 2), Order(3, 0)}));
}

TEST_F(Detector, TheMessageIsRegisteredBeforeTheProgramIsStarted)
{
    WriteConfig(1, 0);
    programs.FailLaunches(ZVK_LAUNCH_NOT_FOUND);
    EXPECT_EQ(ZVK_Detector_Init(0, 0, 0), ZVK_LAUNCH_NOT_FOUND);
    EXPECT_EQ(g_detectorLink.eventMessage, 0xC001U) << "also when it can't be started";
}

TEST_F(Detector, HardwareBehindSimulationSendsItsFirstGains)
{
    WriteConfig(1, 1);
    ASSERT_EQ(ZVK_Detector_Init(0, 0, 0), 0);
    BringUp();
    EXPECT_EQ(NewPosts().size(), 4U);
    EXPECT_EQ(g_detector[0].simulate, 0);
}

TEST_F(Detector, AHundredRoundsLeaveNothingBehind)
{
    for (int round = 0; round < 100; ++round) {
        BringUp();
        ASSERT_EQ(ZVK_Detector_Shutdown(0), 0);
        ASSERT_EQ(programs.Held(), 0);
    }
    EXPECT_EQ(NewPosts().size(), 500U);
    EXPECT_EQ(clock.Delays().size(), 100U);
}
