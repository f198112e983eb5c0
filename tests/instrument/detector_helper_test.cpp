// The detectors with the virtual helper program in a process of its own: orders really arrive.
// Bringing them up takes a second of real time each.

#include "instrument_folder.h"

#include <quorvex/messages.h>
#include <quorvex/quorvex.h>

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace fs = std::filesystem;

constexpr SessionHandle kVi = 640;

using Lines = std::vector<std::string>;

class DetectorHelper : public testing::Test
{
protected:
    DetectorHelper() : m_meeting("XDG_RUNTIME_DIR", folder.Files().Path().c_str()) {}

    void TearDown() override
    {
        EXPECT_EQ(ZVK_Detector_Shutdown(kVi), 0);
        const int process = Process();
        if (process > 0) (void)kill(process, SIGTERM);  // one that no order has reached
    }

    // The instrument's dkl.exe: the virtual program with these options.
    void Install(const std::string &options = "") const
    {
        const std::string program =
            std::string(std::getenv("ZVK_TEST_BINARY_DIR")) + "/bin/quorvex-virtual-detector";
        folder.Files().Write("dkl.exe", "#!/bin/sh\nexec '" + program + "' --log '" +
                                            folder.Files().Path("orders") + "' " + options + "\n");
        fs::permissions(folder.Files().Path("dkl.exe"), fs::perms::owner_all);
    }

    std::string Text() const { return folder.Files().Read("orders"); }

    Lines Log() const
    {
        Lines lines;
        std::istringstream text(Text());
        for (std::string line; std::getline(text, line);)
            lines.push_back(line);
        return lines;
    }

    // What another process does can only be waited for by looking.
    static bool Within20s(const std::function<bool()> &fact)
    {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (!fact()) {
            if (std::chrono::steady_clock::now() > end) return false;
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
        return true;
    }

    bool LogHolds(const std::string &part) const
    {
        return Within20s([&] { return Text().find(part) != std::string::npos; });
    }

    // The helper's process, by its first line; 0 when there is none.
    int Process() const
    {
        const std::string text = Text();
        const size_t at = text.find("as process ");
        return at == std::string::npos ? 0 : std::atoi(text.c_str() + at + 11);
    }

    bool HelperEnds() const
    {
        const int process = Process();
        if (process <= 0) return false;
        // A process that has ended and that nobody has waited for still has its number, but no
        // program.
        const fs::path program = "/proc/" + std::to_string(process) + "/exe";
        return Within20s([&] {
            std::error_code gone;
            (void)fs::read_symlink(program, gone);
            return static_cast<bool>(gone);
        });
    }

    InstrumentFolder folder{{{"config.ini", "[FORCE]\nMI=1\nSIMULATE=0\nDET_A_NAME=\"DKL-7\"\n"
                                            "DET_B_NAME=\"DKL-3\"\n"}}};

private:
    ScopedVariable m_meeting;  // other tests post too
};

TEST_F(DetectorHelper, GetsTheNamesTheGainsAndTheEnd)
{
    Install();
    ASSERT_EQ(ZVK_Detector_Init(kVi, 0, 0), 0);
    ASSERT_TRUE(LogHolds("gain of B is 10")) << Text();
    EXPECT_EQ(ZVK_Detector_SetGain(kVi, 0, 100), 0);
    EXPECT_EQ(ZVK_Detector_SetGain(kVi, 1, 1), 0);
    EXPECT_EQ(ZVK_Detector_SetGain(kVi, 1, 5), ZVK_DETECTOR_BAD_GAIN);
    EXPECT_EQ(ZVK_Detector_Shutdown(kVi), 0);
    ASSERT_TRUE(LogHolds("at the end")) << Text();
    EXPECT_EQ(Log(),
              (Lines{"listening as process " + std::to_string(Process()),
                     "order 1 data 449: detector A is number 7",
                     "order 1 data 194: detector B is number 3",
                     "order 2 data 641: gain of A is 10", "order 2 data 642: gain of B is 10",
                     "order 2 data 6401: gain of A is 100", "order 2 data 66: gain of B is 1",
                     "order 3 data 0: end", "at the end the gain of A is 100, of B 1"}));
    EXPECT_TRUE(HelperEnds());
    EXPECT_EQ(ZVK_Detector_SetGain(kVi, 0, 1), ZVK_DETECTOR_NOT_INITIALIZED);
}

TEST_F(DetectorHelper, OneThatTakesNoOrdersGoesUnnoticed)
{
    Install("--deaf");
    ASSERT_EQ(ZVK_Detector_Init(kVi, 0, 0), 0);
    ASSERT_TRUE(LogHolds("deaf as process")) << Text();
    EXPECT_EQ(ZVK_Detector_SetGain(kVi, 0, 100), 0);
    EXPECT_EQ(ZVK_Detector_Shutdown(kVi), 0);
    EXPECT_EQ(kill(Process(), SIGTERM), 0) << "it still runs";
    EXPECT_TRUE(LogHolds("ended by a signal"));
    EXPECT_EQ(Log().size(), 2U) << Text();
}

TEST_F(DetectorHelper, OneThatEndsAtOnceGoesUnnoticed)
{
    Install("--exit");
    ASSERT_EQ(ZVK_Detector_Init(kVi, 0, 0), 0);
    EXPECT_EQ(ZVK_Detector_SetGain(kVi, 1, 100), 0);
    EXPECT_EQ(ZVK_Detector_Shutdown(kVi), 0);
    EXPECT_EQ(Log(), Lines{"ended at once"});
}

TEST_F(DetectorHelper, OneThatIsNotThereEndsInitAndTheNextInitWorks)
{
    EXPECT_EQ(ZVK_Detector_Init(kVi, 0, 0), -1);
    folder.Files().Write("dkl.exe", "no program");
    EXPECT_EQ(ZVK_Detector_Init(kVi, 0, 0), -2);
    EXPECT_EQ(ZVK_Detector_SetGain(kVi, 0, 10), ZVK_DETECTOR_NOT_INITIALIZED);
    Install();
    EXPECT_EQ(ZVK_Detector_Init(kVi, 0, 0), 0);
    EXPECT_TRUE(LogHolds("gain of B is 10"));
}

TEST_F(DetectorHelper, RefusesOrdersThatMakeNoSense)
{
    Install();
    ASSERT_EQ(ZVK_Detector_Init(kVi, 0, 0), 0);
    ASSERT_TRUE(LogHolds("gain of B is 10")) << Text();
    const uint32_t message = ZVK_Messages_Register("DKLEVENT");
    for (const auto &[order, data] :
         {std::pair{9, 65}, {2, 64}, {2, 67}, {2, 5 * 64 + 1}, {-1, -1}})
        EXPECT_EQ(ZVK_Messages_Post(message, order, data), 0);
    EXPECT_TRUE(LogHolds("order -1 data -1: refused: no such order")) << Text();
    EXPECT_TRUE(LogHolds("order 9 data 65: refused: no such order"));
    EXPECT_TRUE(LogHolds("order 2 data 64: refused: no such channel"));
    EXPECT_TRUE(LogHolds("order 2 data 67: refused: no such channel"));
    EXPECT_TRUE(LogHolds("order 2 data 321: refused: no such gain"));
    EXPECT_EQ(ZVK_Detector_Shutdown(kVi), 0);
    EXPECT_TRUE(LogHolds("at the end the gain of A is 10, of B 10"));
}
