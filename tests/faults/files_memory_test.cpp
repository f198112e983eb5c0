// Each allocation under the file calls fails in turn: the told status comes, no block leaks, no
// file is harmed, and the next call works.

#include "quorvex/confile.h"

#include "failing_memory.h"
#include "failing_new.h"
#include "files/ini_store.h"
#include "platform/files.h"
#include "platform/memory.h"
#include "scratch_folder.h"
#include "test_clock.h"

#include <algorithm>
#include <cstdio>
#include <functional>
#include <gtest/gtest.h>

// A file that uses all that a store can hold: comments, duplicates, long values.
static std::string Rich()
{
    std::string text =
        "; head\n\n; of a\n[a]\n; of x\nx = 1\nx = 2\nm = 3\nlong = " + std::string(300, 'v') +
        "\n[TRAP A]\nBETACOUNT = 1\nKCOUNT = 1\n" +
        "BETA_X_0=1\nBETA_Y_0=2\nBETA_Z_0=3\nK_X_0=1\nK_Y_0=2\nK_Z_0=3\n" +
        "text = \"a text that is too long for a short string\"\n";
    text += "[GALVO 0]\nAX0=1\nAY0=2\nAXI0=3\nAYI0=4\nCALXMIN=5\nCALXMAX=6\nCALYMIN=7\nCALYMAX=8\n";
    for (int i = 0; i < 20; ++i)
        text += "[section " + std::to_string(i) + "]\nq = 1\n";
    return text + "; tail\n";
}

static const char kLongName[] = "a name that is too long for a short string";
static const double kRow[4] = {1, 2, 3, 4};

class FilesMemory : public testing::Test
{
protected:
    // `told` are the statuses that a failure may have. Where the call can do without the block, it
    // succeeds. `file` must be the old one after a failure.
    void FailEach(const std::vector<int32_t> &told, const std::string &file,
                  const std::function<int32_t()> &act)
    {
        int failures = 0;
        for (int nth = 1;; ++nth) {
            m_folder.Write(file, Rich());
            const std::string before = Rich();
            const int64_t blocks = LiveNewBlocks();
            int32_t status = 0;
            bool failed = false;
            {
                const FailingNew allocations(nth);
                status = act();
                failed = allocations.Failed();
            }
            EXPECT_EQ(LiveNewBlocks(), blocks) << "a block leaked at allocation " << nth;
            if (status != 0) {
                ++failures;
                EXPECT_NE(std::find(told.begin(), told.end(), status), told.end()) << status;
                EXPECT_EQ(m_folder.Read(file), before) << "allocation " << nth;
            }
            EXPECT_EQ(act(), 0) << "the next call works, after allocation " << nth;
            if (!failed) break;
        }
        EXPECT_GT(failures, 2);
        for (int i = 0; i < 3; ++i)
            EXPECT_FALSE(m_folder.Holds("ini$$" + std::to_string(i) + ".CVI"));
    }

    ScratchFolder m_folder;
    TestClock m_clock;

private:
    // The disk is not waited for: hundreds of files are written here.
    struct UnflushedFiles
    {
        UnflushedFiles() : table(Files())
        {
            table.sync = [](int) { return 0; };
            table.syncFolder = [](const char *) { return 0; };
            UseFiles(&table);
        }

        ~UnflushedFiles() { UseFiles(nullptr); }

        ZVK_FileTable table;
    };

    UnflushedFiles m_files;
};

TEST_F(FilesMemory, ReadOfAText)
{
    char text[256];
    FailEach({-301, -303}, "config.ini", [&] {
        return ZVK_ConFile_Read(0, "config.ini", "TRAP A", "text", text, ZVK_CONFILE_STRING);
    });
}

TEST_F(FilesMemory, ReadOfANumberLeavesItAlone)
{
    double number = 0;
    FailEach({-301, -303}, "config.ini", [&] {
        number = 77;
        const int32_t status =
            ZVK_ConFile_Read(0, "config.ini", "a", "m", &number, ZVK_CONFILE_DOUBLE);
        EXPECT_EQ(number, status == 0 ? 3 : 77);
        return status;
    });
}

TEST_F(FilesMemory, CopyOfATextComesFromTheGeneralHeap)
{
    m_folder.Write("config.ini", Rich());
    FailingMemory memory;
    memory.FailAt(1);
    char text[256] = "kept";
    EXPECT_EQ(ZVK_ConFile_Read(0, "config.ini", "TRAP A", "text", text, ZVK_CONFILE_STRING), -303);
    EXPECT_TRUE(memory.Failed());
    EXPECT_STREQ(text, "kept");
    EXPECT_EQ(ZVK_ConFile_Read(0, "config.ini", "TRAP A", "text", text, ZVK_CONFILE_STRING), 0);
    EXPECT_EQ(memory.Live(), 0);
}

TEST_F(FilesMemory, WriteOfEachType)
{
    const int32_t number = 5;
    FailEach({-300, -301}, "config.ini", [&] {
        return ZVK_ConFile_Write(0, "config.ini", "a", "x", &number, ZVK_CONFILE_LONG);
    });
    FailEach({-300, -301}, "config.ini", [&] {
        return ZVK_ConFile_Write(0, "config.ini", kLongName, kLongName, kLongName,
                                 ZVK_CONFILE_STRING);
    });
}

TEST_F(FilesMemory, LogRecord)
{
    FailEach({-305}, "hlls.bin", [] { return ZVK_ConFile_WriteLog(0, "hlls.bin", kLongName); });
}

TEST_F(FilesMemory, LaterSaveOfAnObjective)
{
    char section[] = "GALVO 0";
    FailEach({-300, -301, -303}, "default.odf", [&] {
        return ZVK_ConFile_WriteObjective(0, "default.odf", section, 1, kRow, kRow, kRow, kRow,
                                          kRow);
    });
}

TEST_F(FilesMemory, ReadOfAnObjective)
{
    double table[4];
    FailEach({-301, -303}, "default.odf", [&] {
        return ZVK_ConFile_ReadObjective(0, "default.odf", "GALVO 0", 1, table, table, table, table,
                                         table);
    });
}

TEST_F(FilesMemory, LaterSaveOfACalibration)
{
    FailEach({-300, -301, -303}, "default.cal", [] {
        return ZVK_ConFile_WriteForceCalibration(0, "default.cal", 0, 1, 1, kRow, kRow);
    });
}

TEST_F(FilesMemory, ReadOfACalibration)
{
    FailingMemory memory;
    FailEach({-301, -303}, "default.cal", [] {
        int32_t count = 0;
        double *beta = nullptr;
        double *k = nullptr;
        const int32_t status =
            ZVK_ConFile_ReadForceCalibration(0, "default.cal", 0, &count, &count, &beta, &k);
        Release(beta);
        Release(k);
        return status;
    });
    EXPECT_EQ(memory.Live(), 0);
}

// A first save leaves no file, a skeleton or the new file; each of them can be saved to again.
TEST_F(FilesMemory, FirstSaves)
{
    char section[8];
    const std::function<int32_t()> saves[] = {
        [&] {
            std::snprintf(section, sizeof section, "GALVO 1");
            return ZVK_ConFile_WriteObjective(0, "default.odf", section, 1, kRow, kRow, kRow, kRow,
                                              kRow);
        },
        [] { return ZVK_ConFile_WriteForceCalibration(0, "default.cal", 1, 1, 1, kRow, kRow); }};
    for (const auto &save : saves) {
        bool failed = true;
        for (int nth = 1; failed; ++nth) {
            m_folder.Remove("default.odf");
            m_folder.Remove("default.cal");
            const int64_t blocks = LiveNewBlocks();
            int32_t status = 0;
            {
                const FailingNew allocations(nth);
                status = save();
                failed = allocations.Failed();
            }
            EXPECT_EQ(LiveNewBlocks(), blocks) << nth;
            EXPECT_TRUE(status == 0 || (failed && status >= -303 && status <= -300)) << status;
            EXPECT_LE(m_folder.CountFiles(), 1) << nth;
            EXPECT_EQ(save(), 0) << nth;
        }
    }
}

// All a store holds, in a form to compare.
static std::string Contents(IniStore *store)
{
    PutInOrder(*store);
    return TextOf(*store);
}

TEST_F(FilesMemory, FailedPutIsNegativeAndLeavesTheStore)
{
    const std::function<int(IniStore *)> puts[] = {
        [](IniStore *s) { return Ini_PutInt(s, "a", "x", 5); },
        [](IniStore *s) { return Ini_PutDouble(s, "a", kLongName, 1.0 / 3); },
        [](IniStore *s) { return Ini_PutString(s, kLongName, kLongName, kLongName); }};
    for (const auto &put : puts) {
        bool failed = true;
        for (int nth = 1; failed; ++nth) {
            const Store store(Ini_New(1), Ini_Dispose);
            ASSERT_EQ(Ini_ReadFromText(store.get(), Rich()), 0);
            const std::string before = Contents(store.get());
            int result = 0;
            {
                const FailingNew allocations(nth);
                result = put(store.get());
                failed = allocations.Failed();
            }
            EXPECT_EQ(result < 0, failed) << nth;
            if (failed) {
                EXPECT_EQ(Contents(store.get()), before) << nth;
            }
            EXPECT_EQ(put(store.get()), 0);
        }
    }
}

TEST_F(FilesMemory, NewStoreIsNullWithoutMemory)
{
    FailEachAllocation([] { Ini_Dispose(Ini_New(1)); }, [](bool) {});
    const FailingNew allocations(1);
    EXPECT_EQ(Ini_New(1), nullptr);
}

TEST_F(FilesMemory, FailedLoadIsNegative)
{
    const std::string text = Rich();
    bool failed = true;
    for (int nth = 1; failed; ++nth) {
        const Store store(Ini_New(1), Ini_Dispose);
        std::string copy = text;
        const FailingNew allocations(nth);
        const int result = Ini_ReadFromText(store.get(), std::move(copy));
        failed = allocations.Failed();
        EXPECT_EQ(result < 0, failed) << nth;
    }
}
