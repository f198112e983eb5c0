// Mutated data files of the force calibration: whatever the bytes, a load neither crashes nor hangs
// nor takes memory out of proportion, and what it leaves can be handed out, saved and loaded.
// ZVK_FUZZ_ROUNDS sets the number of sets of files, ZVK_FUZZ_SEED the sequence; a failure names the
// round, and its two changed files are then in forcecal_data_fuzz_failure.bin.

#include "forcecal_fixture.h"

#include "platform/files.h"
#include "platform/memory.h"

#include <cmath>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <map>
#include <random>

static const std::string kTokens[] = {"\n",
                                      " ",
                                      ",",
                                      "#",
                                      "\r\n",
                                      "-",
                                      "+",
                                      ".",
                                      "e",
                                      "nan",
                                      "-nan ",
                                      "inf ",
                                      "1e400 ",
                                      "-1e-400 ",
                                      "0x10",
                                      "0 0 0 0\n",
                                      "1 2, 3 4\n",
                                      "2147483647",
                                      "-2147483648",
                                      "99999999999",
                                      "# Samplerate: 0.0001\n",
                                      "# Number of Samples: 100000000\n",
                                      "# Number of Averages: -1\n",
                                      "# Number of Averages: 0\n",
                                      "# Number of Frequencies: 2000000000\n",
                                      "# Measurement Time [s]: 0\n",
                                      "########################################################\n",
                                      std::string(1, '\0'),
                                      "\xff"};

// Files that are in memory only, so that a round takes no disk.
static std::map<std::string, std::string> s_disk;

struct OpenFile
{
    std::string path;
    size_t position = 0;
};
static std::map<int, OpenFile> s_open;

static int OpenInMemory(const char *path, ZVK_OpenMode mode)
{
    const bool there = s_disk.count(path) > 0;
    if (mode == ZVK_OPEN_READ ? !there : there) return -1;
    if (!there) s_disk[path];
    const int number = s_open.empty() ? 3 : s_open.rbegin()->first + 1;
    s_open[number] = {path};
    return number;
}

static int64_t ReadInMemory(int file, void *bytes, size_t count)
{
    OpenFile &entry = s_open.at(file);
    const size_t got =
        s_disk.at(entry.path).copy(static_cast<char *>(bytes), count, entry.position);
    entry.position += got;
    return static_cast<int64_t>(got);
}

static int64_t WriteInMemory(int file, const void *bytes, size_t count)
{
    s_disk.at(s_open.at(file).path).append(static_cast<const char *>(bytes), count);
    return static_cast<int64_t>(count);
}

static int RenameInMemory(const char *from, const char *to)
{
    s_disk[to] = s_disk.at(from);
    s_disk.erase(from);
    return 0;
}

static constexpr ZVK_FileTable kFilesInMemory = {
    .open = OpenInMemory,
    .size = [](int file) { return static_cast<int64_t>(s_disk.at(s_open.at(file).path).size()); },
    .read = ReadInMemory,
    .write = WriteInMemory,
    .sync = [](int) { return 0; },
    .close = [](int file) { return s_open.erase(file) == 1 ? 0 : -1; },
    .rename = RenameInMemory,
    .remove = [](const char *path) { return s_disk.erase(path) == 1 ? 0 : -1; },
    .syncFolder = [](const char *) { return 0; },
    .copyMode = [](const char *, const char *) { return 0; },
    .access =
        [](const char *path) {
            return s_disk.count(path) > 0 ? ZVK_ACCESS_WRITABLE : ZVK_ACCESS_ABSENT;
        },
};

static size_t s_largest = 0;  // the greatest block that was asked for

static void *AllocateAndNote(size_t bytes)
{
    s_largest = std::max(s_largest, bytes);
    return std::malloc(bytes);
}

static constexpr ZVK_MemoryTable kNotingMemory = {.allocate = AllocateAndNote,
                                                  .release = std::free};

constexpr int32_t kMaxFft = 40;

class ForceCalDataFuzz : public ForceCalTest
{
protected:
    void SetUp() override
    {
        ForceCalTest::SetUp();
        s_disk.clear();
        UseFiles(&kFilesInMemory);
        UseMemory(&kNotingMemory);
        m_random.seed(Setting("ZVK_FUZZ_SEED", 1));
        BringUpCalibration();
    }

    void TearDown() override
    {
        ForceCalTest::TearDown();
        UseMemory(nullptr);
        UseFiles(nullptr);
        EXPECT_TRUE(s_open.empty());
    }

    static uint64_t Setting(const char *name, uint64_t usual)
    {
        const char *text = std::getenv(name);
        return text != nullptr ? std::strtoull(text, nullptr, 10) : usual;
    }

    static void BringUpCalibration()
    {
        ResetForceCal();
        PretendUp();
        g_forceCal.MaxFFT = kMaxFft;
        g_forceCal.Bins = 6;
        g_forceCal.FitStartFrequency = 0.5;
        g_forceCal.FitStopFrequency = 1000.0;
        g_forceCal.SubtractDrift = 1;
        Still(0).OscAxis = kNoOscillation;  // so that histograms are made
        Still(1).OscAxis = kNoOscillation;
    }

    // Files of short runs in the first and the last container, the others empty.
    void WriteSeeds()
    {
        for (ZVK_ForceCalDataContainer *data : {&g_forceCal.Data[0][0], &g_forceCal.Data[1][3]}) {
            std::vector<double> x(36);
            for (size_t k = 0; k < x.size(); ++k)
                x[k] = std::sin(0.7 * static_cast<double>(k));
            PutSeries(*data, {x, x, x}, 3, 8.0);
            ASSERT_EQ(ZVK_ForceCal_CorrectTD(data), 0);
            ASSERT_EQ(ZVK_ForceCal_ComputeFD(data), 0);
        }
        ASSERT_EQ(ZVK_ForceCal_SaveData(0, "run_"), 0);
    }

    size_t Below(size_t end) { return end == 0 ? 0 : m_random() % end; }

    std::string Mutated(std::string text)
    {
        for (size_t steps = Below(12); steps > 0; --steps) {
            const size_t at = Below(text.size() + 1);
            switch (Below(8)) {
            case 0:  // a bit of a byte
                if (at < text.size()) text[at] = static_cast<char>(text[at] ^ (1 << Below(8)));
                break;
            case 1: text.erase(at, 1 + Below(40)); break;
            case 2: text.insert(at, text.substr(Below(text.size() + 1), Below(90))); break;
            case 3: text.resize(at); break;
            case 4: text.insert(at, 1, static_cast<char>(Below(256))); break;
            case 5: ChangeCount(text); break;
            default: text.insert(at, kTokens[Below(std::size(kTokens))]);
            }
        }
        return text;
    }

    // Another number behind one of the header's colons.
    void ChangeCount(std::string &text)
    {
        size_t at = 0;
        for (size_t steps = 1 + Below(5); steps > 0 && at != std::string::npos; --steps)
            at = text.find(": ", at + 1);
        if (at == std::string::npos) return;
        const size_t end = std::min(text.find('\n', at), text.size());
        const char *const numbers[] = {"0",  "1",          "-1",   "7",  "37",
                                       "90", "2147483647", "1e-5", "nan"};
        text.replace(at + 2, end - at - 2, numbers[Below(std::size(numbers))]);
    }

    static void UseWhatIsThere()
    {
        (void)ReadAllHandedOut();
        EXPECT_EQ(ZVK_ForceCal_UpdateFDFits(0), 0);
        EXPECT_EQ(ZVK_ForceCal_UpdatePotFits(0), 0);
        EXPECT_EQ(ZVK_ForceCal_UpdateCalibration(0), 0);
        (void)ReadAllHandedOut();
    }

    std::mt19937_64 m_random;
};

static bool IsTold(int32_t status)
{
    return status == 0 || status == ZVK_FORCECAL_NO_TIME_DATA ||
           status == ZVK_FORCECAL_SPECTRUM_TOO_LONG;
}

TEST_F(ForceCalDataFuzz, MutatedFilesNeitherCrashNorHangNorTakeMemory)
{
    ASSERT_NO_FATAL_FAILURE(WriteSeeds());
    const char *const time[] = {"run_TDAxdat", "run_TDBndat"};
    const char *const spectrum[] = {"run_FDAxdat", "run_FDBndat"};
    const std::string timeSeed = s_disk.at(time[0]);
    const std::string spectrumSeed = s_disk.at(spectrum[0]);
    const uint64_t rounds = Setting("ZVK_FUZZ_ROUNDS", 8000);
    for (uint64_t round = 0; round < rounds && !HasFailure(); ++round) {
        if (round % 4 == 0) BringUpCalibration();  // else over what the round before has left
        const size_t which = round % 2;
        const std::string timeText = Mutated(timeSeed);
        const std::string spectrumText = Mutated(spectrumSeed);
        s_disk[time[which]] = timeText;
        s_disk[spectrum[which]] = spectrumText;
        s_largest = 0;
        EXPECT_TRUE(IsTold(ZVK_ForceCal_LoadData(0, "run_")));
        // Eight bytes a row; more rows than the file has bytes are believed up to a few.
        EXPECT_LE(s_largest, 8 * std::max<size_t>(timeText.size(), 65536))
            << "a number in the file is no reason for a block of its size";
        UseWhatIsThere();
        if (round % 16 == 0) {
            EXPECT_EQ(ZVK_ForceCal_SaveData(0, "run_"), 0);
            EXPECT_TRUE(IsTold(ZVK_ForceCal_LoadData(0, "run_")));
            s_disk[time[1 - which]] = timeSeed;
            s_disk[spectrum[1 - which]] = spectrumSeed;
        }
        if (HasFailure()) {
            std::ofstream("forcecal_data_fuzz_failure.bin", std::ios::binary)
                << timeText << "\n----\n"
                << spectrumText;
            ADD_FAILURE() << "in round " << round;
        }
    }
}

// Whatever a file's first bytes are, the bytes behind a cut do not matter.
TEST_F(ForceCalDataFuzz, EachLengthOfAFileIsLoaded)
{
    ASSERT_NO_FATAL_FAILURE(WriteSeeds());
    for (const char *name : {"run_TDBndat", "run_FDBndat"}) {
        const std::string whole = s_disk.at(name);
        for (size_t length = 0; length < whole.size(); ++length) {
            if (length > 300 && length % 7 != 0) continue;  // rows are alike
            s_disk[name] = whole.substr(0, length);
            BringUpCalibration();
            EXPECT_TRUE(IsTold(ZVK_ForceCal_LoadData(0, "run_"))) << name << length;
            EXPECT_EQ(g_forceCal.Data[0][0].TDValid, 1) << "the run before it";
            UseWhatIsThere();
        }
        s_disk[name] = whole;
    }
}
