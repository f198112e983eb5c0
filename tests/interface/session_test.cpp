// A whole session through the exported calls alone, on the ready instrument folders' settings and
// against the virtual card.

#include "instrument_folder.h"

#include <quorvex-virtual/daq.h>
#include <quorvex/quorvex.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

static std::string Sample(const std::string &name)
{
    const std::ifstream file(std::string(std::getenv("ZVK_TEST_SOURCE_DIR")) + "/samples/" + name);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

static std::string Simulated() { return Sample("simulated/ZVK640/config.ini"); }
static std::string Virtual() { return Sample("virtual/ZVK640/config.ini"); }

// The text without its nth line of that key.
static std::string Without(std::string text, const std::string &key, int nth = 1)
{
    size_t at = 0;
    for (int i = 0; i < nth; ++i)
        at = text.find("\n" + key + " ", at + 1);
    return text.erase(at, text.find('\n', at + 1) - at);
}

class Session : public testing::Test
{
protected:
    void SetUp() override
    {
        ZVC_Reset();
        ZVC_SetPace(ZVC_PACE_FAST);
        Write(Simulated());
        folder.Files().Write("default.odf", Sample("simulated/ZVK640/default.odf"));
    }

    void TearDown() override
    {
        EXPECT_EQ(ZVK_close(0), 0);
        EXPECT_EQ(ZVC_CountTasks(), 0) << "a task leaked";
    }

    void Write(const std::string &config) const { folder.Files().Write("config.ini", config); }
    std::string Log() const { return folder.Files().Read("log.ini"); }

    static int32_t GalvoStatus(int32_t path)
    {
        int32_t status = -9;
        EXPECT_EQ(ZVK_Galvo_GetInitStatus(0, path, &status), 0);
        return status;
    }

    // 1 when the path has traps; the newest one's name goes into `name`.
    static int32_t HasTraps(int32_t path, std::string *name = nullptr)
    {
        int32_t status = -9;
        int32_t index = -9;
        EXPECT_EQ(ZVK_Trap_GetInitStatus(0, path, &status, &index), 0);
        if (status == 1 && name != nullptr) {
            char text[257] = "";
            EXPECT_EQ(ZVK_Trap_GetName(0, path, index, text), 0);
            *name = text;
        }
        return status;
    }

    static int32_t TrapCount(int32_t path)
    {
        int32_t count = -9;
        EXPECT_EQ(ZVK_Trap_GetCount(0, path, &count), 0);
        return count;
    }

    static int32_t Convert()
    {
        double x = 0.0;
        double y = 0.0;
        return ZVK_CoordinateSystems_Trafo(0, 0, ZVK_TRAFODIR_VOLT_TO_PIXEL, &x, &y);
    }

    static std::vector<int32_t> Captured()
    {
        int32_t count = 0;
        EXPECT_EQ(ZVK_error_GetWarnings(0, &count, nullptr), 0);
        std::vector<int32_t> codes(static_cast<size_t>(count) + 1);
        EXPECT_EQ(ZVK_error_GetWarnings(0, nullptr, codes.data()), 0);
        codes.pop_back();
        return codes;
    }

    InstrumentFolder folder;
};
