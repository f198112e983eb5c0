// One value read from a config.ini of 300 lines, against opening, reading and closing that file.

#include "ratio.h"

#include "quorvex/confile.h"

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <string>
#include <unistd.h>

namespace {

// An instrument folder with a config.ini of 14 sections, as long as the object lives.
class Folder
{
public:
    Folder()
    {
        m_base = (std::filesystem::temp_directory_path() / "quorvex-bench-XXXXXX").string();
        if (!mkdtemp(m_base.data())) std::abort();
        std::filesystem::create_directory(m_base + "/ZVK640");
        setenv("ZVK_COMMON_APPDATA", m_base.c_str(), 1);
        std::ofstream(File()) << Text();
    }

    ~Folder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_base, ignored);
    }

    std::string File() const { return m_base + "/ZVK640/config.ini"; }

private:
    // 300 lines: comments, short and long keys, numbers and texts, in the order a write leaves
    // them.
    static std::string Text()
    {
        const char *const sections[] = {
            "BE 0",    "BE 1",    "BEAMPOWER 0", "BEAMPOWER 1", "CAMERA", "FORCE", "FORCECAL",
            "GALVO 0", "GALVO 1", "LASER",       "MAINDAQ",     "OBJ",    "STAGE", "SUBDAQ"};
        const char *const lines[] = {"BACKEND = 1",
                                     "CALXMAX = 1279.5",
                                     "CHANNEL = \"Dev1/ao0\"",
                                     "CLOCKRATE = 50000",
                                     "DAQNAME = \"GALVODAQ\"",
                                     "EVERYNSAMPLES = 6000",
                                     "FACTORX = 12.34567890123456",
                                     "LOAD = \"default.odf\"",
                                     "MAXX = 3.2",
                                     "MAXY = 2.6",
                                     "MINX = -3.2",
                                     "MINY = -2.6",
                                     "OFFSETX = 0.05",
                                     "PORT = \"USB Serial Port (COM3)\"",
                                     "SAMPLESPERCHAN = 6000",
                                     "SERIAL = \"00012345\"",
                                     "SIMULATE = 1",
                                     "TRIGGER = 0",
                                     "WAVELENGTH = 1064.2"};
        std::string text = "; The instrument's configuration.\r\n\r\n";
        int count = 2;
        for (const char *section : sections) {
            text += std::string("[") + section + "]\r\n";
            for (const char *line : lines)
                text += std::string(line) + "\r\n";
            text += "\r\n";
            count += 21;
        }
        for (; count < 300; ++count)
            text += "; A line that somebody wrote at the end.\r\n";
        return text;
    }

    std::string m_base;
};

}  // namespace

static void OpenReadAndClose(const char *path)
{
    static char bytes[1 << 16];
    const int file = open(path, O_RDONLY);
    benchmark::DoNotOptimize(read(file, bytes, sizeof bytes));
    benchmark::ClobberMemory();
    close(file);
}

static void ReadOneKey(benchmark::State &state, const char *section, const char *tag)
{
    const Folder folder;
    const std::string path = folder.File();
    MeasureRatio(
        state,
        [&] {
            double value = 0;
            if (ZVK_ConFile_Read(0, "config.ini", section, tag, &value, ZVK_CONFILE_DOUBLE) != 0)
                std::abort();
            benchmark::DoNotOptimize(value);
        },
        [&] { OpenReadAndClose(path.c_str()); });
}
BENCHMARK_CAPTURE(ReadOneKey, first, "BE 0", "BACKEND")->UseManualTime();
BENCHMARK_CAPTURE(ReadOneKey, last, "SUBDAQ", "WAVELENGTH")->UseManualTime();
