// Mutated configuration, objective and calibration files: whatever the bytes, no call crashes,
// hangs or asks for memory out of proportion. ZVK_FUZZ_ROUNDS sets the number of texts,
// ZVK_FUZZ_SEED the sequence; a failure names the round, and its text is then in
// ini_fuzz_failure.bin.

#include "files/ini_store.h"

#include "platform/files.h"
#include "platform/memory.h"
#include "quorvex/confile.h"
#include "scratch_folder.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <random>

static const std::string kSeeds[] = {
    "; The instrument\r\n\r\n[GALVO 0]\r\nMAXX = 3.2\r\nMINX = -3.2\r\nSIMULATE = 1\r\n\r\n"
    "; about the card\r\n[MAINDAQ]\r\nDAQNAME = \"Dev1\\\\ao\\x41\"\r\nCLOCKRATE = 50000\r\n\r\n"
    "[OBJ]\r\nLOAD = \"default.odf\"\r\nlong Line0001 = \"aaaa\"\r\nlong Line0002 = \"bb\"\r\n; "
    "end",
    "[GALVO 0]\nCOEFFNUM = 1\nAX0 = 1e3\nAY0 = -2.5\nAXI0 = +.5\nAYI0 = Inf\nCALXMIN = 0\n"
    "CALXMAX = 1\nCALYMIN = 2\nCALYMAX = 3\n[GALVO 1]\nCOEFFNUM = 4\nAX0 =\nAY0 = 1\n",
    "[TRAP A]\nBETACOUNT = 1\nKCOUNT = 1\nBETA_X_0 = 1\nBETA_Y_0 = 2\nBETA_Z_0 = 3\nK_X_0 = 4\n"
    "K_Y_0 = 5\nK_Z_0 = 6\n[TRAP B]\nBETACOUNT = 2147483647\nKCOUNT = -1\n"};

static const std::string kTokens[] = {"[",
                                      "]",
                                      "=",
                                      ";",
                                      "\"",
                                      "\\",
                                      "\\x",
                                      "\r\n",
                                      "\n\r",
                                      "\r",
                                      "\n",
                                      std::string(1, '\0'),
                                      " ",
                                      "\t",
                                      "[TRAP A]\n",
                                      "[GALVO 0]\n",
                                      "[a]\n",
                                      "x = 5\n",
                                      "a Line1 = b\n",
                                      " Line0002",
                                      " Line1",
                                      "BETACOUNT = 2147483647\n",
                                      "KCOUNT = 99999999999\n",
                                      "COEFFNUM = 1000000\n",
                                      "1e400",
                                      "-Inf",
                                      "nan",
                                      "; comment\n",
                                      ";\n\n",
                                      "\xff",
                                      "\x80",
                                      "0x10",
                                      "%s%n"};

// The greatest block that was asked for.
static size_t s_largest = 0;

static void *AllocateAndNote(size_t bytes)
{
    s_largest = std::max(s_largest, bytes);
    return std::malloc(bytes);
}

static constexpr ZVK_MemoryTable kNotingMemory = {.allocate = AllocateAndNote,
                                                  .release = std::free};

class IniFuzz : public testing::Test
{
protected:
    IniFuzz() : m_files(Files())
    {
        // The disk is not waited for.
        m_files.sync = [](int) { return 0; };
        m_files.syncFolder = [](const char *) { return 0; };
        UseFiles(&m_files);
        UseMemory(&kNotingMemory);
        s_largest = 0;
        m_random.seed(Setting("ZVK_FUZZ_SEED", 1));
    }

    ~IniFuzz() override
    {
        UseFiles(nullptr);
        UseMemory(nullptr);
    }

    static uint64_t Setting(const char *name, uint64_t usual)
    {
        const char *text = std::getenv(name);
        return text ? std::strtoull(text, nullptr, 10) : usual;
    }

    size_t Below(size_t limit) { return limit == 0 ? 0 : m_random() % limit; }

    void MutateOnce(std::string &text)
    {
        const size_t at = Below(text.size() + 1);
        switch (Below(8)) {
        case 0:  // a bit of a byte
            if (at < text.size()) text[at] = static_cast<char>(text[at] ^ (1 << Below(8)));
            break;
        case 1: text.erase(at, Below(40)); break;
        case 2: text.insert(at, text.substr(Below(text.size() + 1), Below(60))); break;
        case 3:  // the rest of another text
            text = text.substr(0, at) + kSeeds[Below(std::size(kSeeds))].substr(Below(100));
            break;
        case 4:  // around the lengths where lines and values are cut
            text.insert(at, std::string(70 + Below(20) + (Below(4) == 0 ? 950 : 0), 'v'));
            break;
        case 5: text.insert(at, 1, static_cast<char>(Below(256))); break;
        default: text.insert(at, kTokens[Below(std::size(kTokens))]);
        }
    }

    std::string NextText()
    {
        std::string text = kSeeds[Below(std::size(kSeeds))];
        for (size_t i = 1 + Below(16); i > 0; --i)
            MutateOnce(text);
        return text;
    }

    ScratchFolder m_folder;
    ZVK_FileTable m_files;
    std::mt19937_64 m_random;
};

// What comes out when the text is read, put in order and written.
static std::string Normalised(const std::string &text)
{
    const Store store(Ini_New(1), Ini_Dispose);
    EXPECT_EQ(Ini_ReadFromText(store.get(), text), 0);
    PutInOrder(*store);
    return TextOf(*store);
}

// A file that was written once stays as it is. Parts that only the order brought together are the
// exception: they are joined when they are read.
static bool StaysAsItIs(const std::string &text)
{
    if (text.find(" Line") != std::string::npos) return true;
    const std::string once = Normalised(text);
    const std::string twice = Normalised(once);  // long tags are cut when they are written
    return Normalised(twice) == twice;
}

static void GetAndPut(const std::string &text)
{
    const Store store(Ini_New(1), Ini_Dispose);
    EXPECT_EQ(Ini_ReadFromText(store.get(), text), 0);
    for (const char *section : {"GALVO 0", "TRAP A", "a", "", "OBJ"}) {
        for (const char *tag : {"MAXX", "BETACOUNT", "x", "", "LOAD", "long"}) {
            int32_t number = 0;
            double real = 0;
            char *copy = nullptr;
            (void)Ini_GetInt(store.get(), section, tag, &number);
            (void)Ini_GetDouble(store.get(), section, tag, &real);
            if (Ini_GetStringCopy(store.get(), section, tag, &copy) > 0) Release(copy);
        }
    }
    EXPECT_EQ(Ini_PutInt(store.get(), "GALVO 0", "MAXX", 5), 0);
    EXPECT_EQ(Ini_PutString(store.get(), "new", "text", text.c_str()), 0);
    char *copy = nullptr;
    const Store again(Ini_New(1), Ini_Dispose);
    EXPECT_EQ(Ini_ReadFromText(again.get(), TextOf(*store)), 0);
    int32_t five = 0;
    EXPECT_GT(Ini_GetInt(again.get(), "GALVO 0", "MAXX", &five), 0);
    EXPECT_EQ(five, 5);
    ASSERT_GT(Ini_GetStringCopy(again.get(), "new", "text", &copy), 0);
    EXPECT_STREQ(copy, text.c_str()) << "a text comes back byte for byte";
    Release(copy);
}

static void ReadAsCalibration(int32_t path)
{
    int32_t counts[2];
    double *beta = nullptr;
    double *k = nullptr;
    (void)ZVK_ConFile_ReadForceCalibration(0, "default.cal", path, &counts[0], &counts[1], &beta,
                                           &k);
    Release(beta);
    Release(k);
}

static void CallAll()
{
    double table[16] = {};
    char text[256];
    char section[] = "GALVO 0";
    int32_t number = 5;
    (void)ZVK_ConFile_Read(0, "default.cal", "TRAP A", "BETACOUNT", &number, ZVK_CONFILE_LONG);
    (void)ZVK_ConFile_Read(0, "default.cal", "OBJ", "LOAD", text, ZVK_CONFILE_STRING);
    (void)ZVK_ConFile_ReadObjective(0, "default.odf", section, 16, table, table, table, table,
                                    table);
    ReadAsCalibration(0);
    ReadAsCalibration(1);
    EXPECT_EQ(
        ZVK_ConFile_WriteObjective(0, "default.odf", section, 2, table, table, table, table, table),
        0);
    EXPECT_EQ(
        ZVK_ConFile_ReadObjective(0, "default.odf", section, 2, table, table, table, table, table),
        0);
    EXPECT_EQ(ZVK_ConFile_WriteForceCalibration(0, "default.cal", 0, 2, 2, table, table), 0);
    ReadAsCalibration(0);
    EXPECT_EQ(ZVK_ConFile_Write(0, "default.cal", "a", "x", &number, ZVK_CONFILE_LONG), 0);
}

TEST_F(IniFuzz, MutatedFilesNeitherCrashNorHangNorTakeMemory)
{
    const uint64_t rounds = Setting("ZVK_FUZZ_ROUNDS", 8000);
    for (uint64_t round = 0; round < rounds && !HasFailure(); ++round) {
        const std::string text = NextText();
        EXPECT_TRUE(StaysAsItIs(text));
        GetAndPut(text);
        if (round % 16 == 0) {
            m_folder.Write("default.odf", text);
            m_folder.Write("default.cal", text);
            m_folder.Remove("log.ini");
            CallAll();
        }
        EXPECT_LT(s_largest, 1U << 20)
            << "a number in the file is no reason for a block of its size";
        if (HasFailure()) {
            std::ofstream("ini_fuzz_failure.bin", std::ios::binary) << text;
            ADD_FAILURE() << "in round " << round;
        }
    }
    EXPECT_FALSE(m_folder.Holds("ini$$0.CVI"));
}
