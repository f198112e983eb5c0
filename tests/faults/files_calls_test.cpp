// Each file call under the exported calls fails in turn: the told status comes, the file is the old
// or the new one, nothing stays open or lies about, and the next call works.

#include "quorvex/confile.h"

#include "failing_files.h"
#include "failing_memory.h"
#include "platform/memory.h"
#include "scratch_folder.h"
#include "test_clock.h"

#include <functional>
#include <gtest/gtest.h>

static const char kOld[] = "[a]\nx = 1\n";
static const char kNew[] = "[a]\r\nx = 2\r\n\r\n";

// A file call, as FailingFiles names it up to its first blank, and the status when it fails.
struct Step
{
    const char *call;
    int32_t status;
};

class FilesCalls : public testing::Test
{
protected:
    // Fails the calls of `act` one by one, after `prepare`. `check` sees the status of each run.
    void FailEach(const std::vector<Step> &steps, const std::function<void()> &prepare,
                  const std::function<int32_t()> &act, const std::function<void(int32_t)> &check)
    {
        for (size_t nth = 0; nth <= steps.size(); ++nth) {
            prepare();
            FailingFiles files;
            files.FailAt(static_cast<int64_t>(nth) + 1);
            const int32_t status = act();
            ASSERT_EQ(files.Failed(), nth < steps.size()) << "number of calls";
            EXPECT_EQ(files.OpenFiles(), 0) << nth;
            if (nth < steps.size()) {
                const std::string call = files.Calls().at(nth);
                EXPECT_EQ(call.substr(0, call.find(' ')), steps[nth].call) << nth;
            }
            EXPECT_EQ(status, nth < steps.size() ? steps[nth].status : 0) << nth;
            check(status);
            files.FailAt(0);
            EXPECT_EQ(act(), 0) << "the next call works, after failure " << nth;
            check(0);
        }
    }

    ScratchFolder m_folder;
    TestClock m_clock;
};

TEST_F(FilesCalls, WriteOfAValue)
{
    const int32_t two = 2;
    FailEach(
        {{"open", -301},
         {"size", -301},
         {"read", -301},
         {"close", 0},
         {"access", -300},
         {"open", 0},  // the next temporary name is taken
         {"write", -300},
         {"sync", -300},
         {"close", -300},
         {"access", 0},
         {"copyMode", 0},
         {"rename", -300},
         {"syncFolder", 0}},
        [&] { m_folder.Write("config.ini", kOld); },
        [&] { return ZVK_ConFile_Write(0, "config.ini", "a", "x", &two, ZVK_CONFILE_LONG); },
        [&](int32_t status) {
            EXPECT_EQ(m_folder.Read("config.ini"), status == 0 ? kNew : kOld);
            EXPECT_EQ(m_folder.CountFiles(), 1) << "no temporary file, no log";
        });
}

TEST_F(FilesCalls, ReadOfAValue)
{
    int32_t number = 0;
    FailEach(
        {{"open", -301}, {"size", -301}, {"read", -301}, {"close", 0}},
        [&] {
            m_folder.Write("config.ini", kOld);
            number = 77;
        },
        [&] { return ZVK_ConFile_Read(0, "config.ini", "a", "x", &number, ZVK_CONFILE_LONG); },
        [&](int32_t status) { EXPECT_EQ(number, status == 0 ? 1 : 77); });
    EXPECT_EQ(m_folder.Read("config.ini"), kOld);
}

TEST_F(FilesCalls, ReadKeepsItsStatusWhenTheLogFails)
{
    m_folder.Write("config.ini", kOld);
    for (int nth = 5; nth <= 7; ++nth) {  // open, write and close of the log
        FailingFiles files;
        files.FailAt(nth);
        int32_t number = 77;
        EXPECT_EQ(ZVK_ConFile_Read(0, "config.ini", "a", "none", &number, ZVK_CONFILE_LONG), -303);
        EXPECT_TRUE(files.Failed());
        EXPECT_EQ(files.OpenFiles(), 0);
        EXPECT_EQ(number, 77);
    }
}

TEST_F(FilesCalls, LogRecord)
{
    FailEach(
        {{"open", -305}, {"write", 0}, {"close", 0}}, [] {},
        [] { return ZVK_ConFile_WriteLog(0, "log.ini", "event"); }, [](int32_t) {});
}

static const double kRow[4] = {1, 2, 3, 4};

static int32_t SaveObjective()
{
    char section[8] = "GALVO 1";
    return ZVK_ConFile_WriteObjective(0, "default.odf", section, 1, kRow, kRow, kRow, kRow, kRow);
}

TEST_F(FilesCalls, FirstSaveOfAnObjective)
{
    FailEach(
        {{"open", 0},  // the file isn't there anyway
         {"open", -300},
         {"write", -300},
         {"close", -300},
         {"open", -301},
         {"size", -301},
         {"read", -301},
         {"close", 0},
         {"access", -300},
         {"open", 0},
         {"write", -300},
         {"sync", -300},
         {"close", -300},
         {"access", 0},
         {"copyMode", 0},
         {"rename", -300},
         {"syncFolder", 0}},
        [&] { m_folder.Remove("default.odf"); }, SaveObjective,
        [&](int32_t status) {
            const std::string text = m_folder.Read("default.odf");
            if (status == 0) {
                EXPECT_NE(text.find("AX0 = 1\r\n"), std::string::npos);
            } else if (!text.empty()) {
                EXPECT_NE(text.find("AX0 =\n"), std::string::npos) << "a skeleton";
                EXPECT_NE(text.find("[GALVO 1]\n"), std::string::npos) << "and a whole one";
            }
            EXPECT_LE(m_folder.CountFiles(), 1);
        });
}

TEST_F(FilesCalls, LaterSaveOfAnObjective)
{
    FailEach(
        {{"open", -300},
         {"size", -300},
         {"read", -300},
         {"close", 0},
         {"access", -300},
         {"open", 0},
         {"write", -300},
         {"sync", -300},
         {"close", -300},
         {"access", 0},
         {"copyMode", 0},
         {"rename", -300},
         {"syncFolder", 0}},
        [&] { m_folder.Write("default.odf", kOld); }, SaveObjective,
        [&](int32_t status) {
            const std::string text = m_folder.Read("default.odf");
            EXPECT_EQ(text == kOld, status != 0);
            EXPECT_NE(text.find("x = 1"), std::string::npos);
            EXPECT_EQ(m_folder.CountFiles(), 1);
        });
}

TEST_F(FilesCalls, LaterSaveOfACalibration)
{
    FailEach(
        {{"open", -300},
         {"size", -300},
         {"read", -300},
         {"close", 0},
         {"access", -300},
         {"open", 0},
         {"write", -300},
         {"sync", -300},
         {"close", -300},
         {"access", 0},
         {"copyMode", 0},
         {"rename", -300},
         {"syncFolder", 0}},
        [&] { m_folder.Write("default.cal", kOld); },
        [] { return ZVK_ConFile_WriteForceCalibration(0, "default.cal", 1, 1, 1, kRow, kRow); },
        [&](int32_t status) {
            EXPECT_EQ(m_folder.Read("default.cal") == kOld, status != 0);
            EXPECT_EQ(m_folder.CountFiles(), 1);
        });
}

TEST_F(FilesCalls, FirstSaveOfACalibration)
{
    FailEach(
        {{"open", 0},
         {"open", -300},
         {"write", -300},
         {"close", -300},
         {"open", -301},
         {"size", -301},
         {"read", -301},
         {"close", 0},
         {"access", -300},
         {"open", 0},
         {"write", -300},
         {"sync", -300},
         {"close", -300},
         {"access", 0},
         {"copyMode", 0},
         {"rename", -300},
         {"syncFolder", 0}},
        [&] { m_folder.Remove("default.cal"); },
        [] { return ZVK_ConFile_WriteForceCalibration(0, "default.cal", 1, 1, 1, kRow, kRow); },
        [&](int32_t) { EXPECT_LE(m_folder.CountFiles(), 1); });
}

TEST_F(FilesCalls, ReadOfObjectiveAndCalibration)
{
    ASSERT_EQ(SaveObjective(), 0);
    ASSERT_EQ(ZVK_ConFile_WriteForceCalibration(0, "default.cal", 1, 1, 1, kRow, kRow), 0);
    const std::vector<Step> steps = {{"open", -301}, {"size", -301}, {"read", -301}, {"close", 0}};
    double table[4];
    FailEach(
        steps, [] {},
        [&] {
            return ZVK_ConFile_ReadObjective(0, "default.odf", "GALVO 1", 1, table, table, table,
                                             table, table);
        },
        [](int32_t) {});
    FailingMemory memory;
    FailEach(
        steps, [] {},
        [] {
            int32_t count = 0;
            double *beta = nullptr;
            double *k = nullptr;
            const int32_t status =
                ZVK_ConFile_ReadForceCalibration(0, "default.cal", 1, &count, &count, &beta, &k);
            Release(beta);
            Release(k);
            return status;
        },
        [](int32_t) {});
    EXPECT_EQ(memory.Live(), 0);
}
