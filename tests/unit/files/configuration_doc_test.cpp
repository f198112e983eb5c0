// The page that tells the configuration and the ready instrument folders, against the tables by
// which the modules read their keys.

#include "files/key_table.h"
#include "force/force_keys.h"
#include "force/forcecal_keys.h"
#include "imaging/camera_keys.h"
#include "instruments/beamexpander_keys.h"
#include "instruments/beampower_keys.h"
#include "instruments/detector_keys.h"
#include "instruments/laser_keys.h"
#include "instruments/stage_keys.h"
#include "quorvex/quorvex.h"
#include "steering/coordinates_keys.h"
#include "steering/galvo_keys.h"
#include "steering/trap_keys.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace fs = std::filesystem;

// clang-format off
static const ZVK_KeyTable *const kTables[] = {
    &kGalvoLimitKeys,
    &kTrapLimitKeys,
    &kOutputKeys,
    &kObjectiveKeys,
    &kScaleKeys,
    &kLaserKeys,
    &kLaserInputKeys,
    &kBeamPowerKeys,
    &kBeamPowerDaqKeys,
    &kExpanderKeys,
    &kStageModeKeys,
    &kStageBackendKeys,
    &kStageOutputKeys,
    &kStageTriggerKeys,
    &kStageControllerKeys,
    &kStageCardKeys,
    &kForceModeKeys,
    &kForceCardKeys,
    &kForceCalModeKeys,
    &kForceCalSettingKeys,
    &kForceCalStartupKeys,
    &kDetectorKeys,
    &kCameraKeys,
    &kExposureKeys,
    &kCoolingKeys,
    &kCoolerKeys,
    &kSensorKeys,
    &kCameraWindowKeys,
    &kCameraHandleKeys,
    &kHistogramKeys,
    &kHistogramWindowKeys,
};
// clang-format on

static fs::path Tree() { return std::getenv("ZVK_TEST_SOURCE_DIR"); }

static std::string TextOf(const fs::path &file)
{
    const std::ifstream stream(file);
    std::ostringstream text;
    text << stream.rdbuf();
    return text.str();
}

static const std::string &Page()
{
    static const std::string page = TextOf(Tree() / "docs/configuration.md");
    return page;
}

// What stands below a heading, up to the next heading of any level.
static std::string Below(const std::string &heading)
{
    const size_t at = Page().find("\n" + heading + "\n");
    if (at == std::string::npos) return "";
    const size_t from = at + heading.size() + 2;
    return Page().substr(from, Page().find("\n#", from) - from);
}

static std::string TypeName(int16_t type)
{
    switch (type) {
    case ZVK_CONFILE_STRING: return "text";
    case ZVK_CONFILE_LONG: return "whole";
    default: return "number";
    }
}

static std::vector<std::string> SectionsOf(const ZVK_KeyTable &table)
{
    std::vector<std::string> sections;
    std::istringstream list(table.sections);
    for (std::string section; std::getline(list, section, ',');)
        sections.push_back(section.substr(section.find_first_not_of(' ')));
    return sections;
}

static std::vector<fs::path> SampleFolders()
{
    std::vector<fs::path> folders;
    for (const auto &entry : fs::directory_iterator(Tree() / "samples"))
        folders.push_back(entry.path() / "ZVK640");
    return folders;
}

// The names of capitals, digits and underlines that stand in the text between two marks.
static std::vector<std::string> NamesBetween(const std::string &text, const std::string &before,
                                             const std::string &after)
{
    constexpr const char *kLetters = "ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_";
    std::vector<std::string> names;
    for (size_t at = text.find(before); at != std::string::npos; at = text.find(before, at)) {
        at += before.size();
        const size_t end = std::min(text.find_first_not_of(kLetters, at), text.size());
        if (end > at && text.compare(end, after.size(), after) == 0)
            names.push_back(text.substr(at, end - at));
    }
    return names;
}

static size_t CountOf(const std::string &text, const std::string &part)
{
    size_t count = 0;
    for (size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

static bool IsKeyOf(const std::string &sections, const std::string &key)
{
    for (const ZVK_KeyTable *table : kTables)
        for (size_t i = 0; i < table->count; ++i)
            if (sections == table->sections && key == table->rows[i].key) return true;
    return false;
}

TEST(ConfigurationPage, TellsEachKeyOfEachTableUnderItsSectionsWithTypeAndUnit)
{
    for (const ZVK_KeyTable *table : kTables) {
        const std::string part = Below("### " + std::string(table->sections));
        ASSERT_FALSE(part.empty()) << table->sections;
        for (size_t i = 0; i < table->count; ++i) {
            const ZVK_KeyRow &row = table->rows[i];
            const std::string unit = *row.unit ? std::string(" ") + row.unit + " | " : " | ";
            const std::string start =
                "\n| `" + std::string(row.key) + "` | " + TypeName(row.type) + " |" + unit;
            const size_t at = part.find(start);
            ASSERT_NE(at, std::string::npos) << table->sections << " " << start;
            EXPECT_GT(part.find(" |\n", at + start.size()), at + start.size() + 10)
                << row.key << " has no meaning";
        }
    }
}

TEST(ConfigurationPage, TellsNoKeyThatNoTableHas)
{
    const size_t from = Page().find("\n## config.ini\n");
    ASSERT_NE(from, std::string::npos);
    const std::string part = Page().substr(from, Page().find("\n## ", from + 1) - from);
    size_t told = 0;
    for (size_t at = part.find("\n### "); at != std::string::npos;) {
        const size_t next = part.find("\n### ", at + 1);
        const std::string section = part.substr(at + 5, next - at - 5);
        const std::string heading = section.substr(0, section.find('\n'));
        for (const std::string &key : NamesBetween(section, "\n| `", "` |")) {
            EXPECT_TRUE(IsKeyOf(heading, key)) << heading << ": " << key;
            ++told;
        }
        at = next;
    }
    EXPECT_GT(told, 0U);
}

TEST(ConfigurationPage, EachTableOfTheSourcesIsAmongThese)
{
    size_t declared = 0;
    for (const auto &entry : fs::recursive_directory_iterator(Tree() / "src"))
        if (entry.path().extension() == ".h")
            declared += CountOf(TextOf(entry.path()), "extern const ZVK_KeyTable k");
    EXPECT_EQ(declared, std::size(kTables)) << "a table is missing in this test's list";
}

TEST(ConfigurationPage, TellsTheKeysOfTheObjectiveAndCalibrationFiles)
{
    const std::string objective = Below("## Objective file");
    for (const char *key : {"`GALVO 0`", "`GALVO 1`", "`COEFFNUM`", "`AX0`", "`AY0`", "`AXI0`",
                            "`AYI0`", "`CALXMIN`", "`CALXMAX`", "`CALYMIN`", "`CALYMAX`"})
        EXPECT_NE(objective.find(key), std::string::npos) << key;
    const std::string calibration = Below("## Force calibration file");
    for (const char *key : {"`TRAP A`", "`TRAP B`", "`BETACOUNT`", "`BETA_X_0`", "`BETA_Y_0`",
                            "`BETA_Z_0`", "`KCOUNT`", "`K_X_0`", "`K_Y_0`", "`K_Z_0`"})
        EXPECT_NE(calibration.find(key), std::string::npos) << key;
}

TEST(ConfigurationPage, TellsEachEnvironmentVariableThatTheSourcesRead)
{
    int found = 0;
    for (const char *folder : {"src", "virtual"}) {
        for (const auto &entry : fs::recursive_directory_iterator(Tree() / folder)) {
            if (entry.path().extension() != ".cpp") continue;
            const std::string text = TextOf(entry.path());
            if (text.find("std::getenv(") == std::string::npos) continue;
            for (const std::string &name : NamesBetween(text, "\"", "\"")) {
                if (!name.starts_with("ZVK_") && !name.starts_with("XDG_")) continue;
                // Where pictures and videos go, which no key has to do with.
                if (name == "XDG_CONFIG_HOME") continue;
                EXPECT_NE(Page().find("`" + name + "`"), std::string::npos)
                    << name << " in " << entry.path();
                ++found;
            }
        }
    }
    EXPECT_GE(found, 6);
}

TEST(SampleFolders, HaveEachKeyOfEachTableInItsType)
{
    const std::vector<fs::path> folders = SampleFolders();
    ASSERT_GE(folders.size(), 2U);
    for (const fs::path &folder : folders) {
        const std::string file = folder / "config.ini";
        for (const ZVK_KeyTable *table : kTables) {
            for (const std::string &section : SectionsOf(*table)) {
                for (size_t i = 0; i < table->count; ++i) {
                    const ZVK_KeyRow &row = table->rows[i];
                    ZVK_KeyText value = {};
                    EXPECT_EQ(ZVK_ConFile_Read(0, file.c_str(), section.c_str(), row.key, &value,
                                               row.type),
                              0)
                        << file << " [" << section << "] " << row.key;
                }
            }
        }
    }
}

TEST(SampleFolders, HaveAnObjectiveFileForBothPaths)
{
    for (const fs::path &folder : SampleFolders()) {
        const std::string file = folder / "default.odf";
        for (const char *section : kGalvoSections) {
            int32_t count = 0;
            ASSERT_EQ(
                ZVK_ConFile_Read(0, file.c_str(), section, "COEFFNUM", &count, ZVK_CONFILE_LONG),
                0);
            ASSERT_GT(count, 0);
            std::vector<double> tables[4];
            for (std::vector<double> &table : tables)
                table.resize(static_cast<size_t>(count));
            double field[4] = {};
            EXPECT_EQ(ZVK_ConFile_ReadObjective(0, file.c_str(), section, count, tables[0].data(),
                                                tables[1].data(), tables[2].data(),
                                                tables[3].data(), field),
                      0);
            EXPECT_LT(field[0], field[1]);
            EXPECT_LT(field[2], field[3]);
        }
    }
}

TEST(SampleFolders, HaveABeamPowerTableOfRisingPowerForBothPaths)
{
    for (const fs::path &folder : SampleFolders()) {
        const std::string file = folder / "qdmr.bin";
        for (const char *section : {"CALVALUE A", "CALVALUE B"}) {
            int32_t count = 0;
            ASSERT_EQ(ZVK_ConFile_Read(0, file.c_str(), section, "NUM", &count, ZVK_CONFILE_LONG),
                      0);
            ASSERT_GE(count, 2);
            double before[2] = {-1.0, -1.0};
            for (int32_t i = 1; i <= count; ++i) {
                double value[2] = {};
                const std::string number = std::to_string(i);
                ASSERT_EQ(ZVK_ConFile_Read(0, file.c_str(), section, ("V" + number).c_str(),
                                           &value[0], ZVK_CONFILE_DOUBLE),
                          0);
                ASSERT_EQ(ZVK_ConFile_Read(0, file.c_str(), section, ("P" + number).c_str(),
                                           &value[1], ZVK_CONFILE_DOUBLE),
                          0);
                EXPECT_GT(value[0], before[0]);
                EXPECT_GT(value[1], before[1]);
                std::copy_n(value, 2, before);
            }
        }
    }
}

TEST(SampleFolders, HaveAForceCalibrationForBothTraps)
{
    for (const fs::path &folder : SampleFolders()) {
        const std::string file = folder / "default.cal";
        for (int32_t path = 0; path < 2; ++path) {
            int32_t betas = 0;
            int32_t ks = 0;
            double *beta = nullptr;
            double *k = nullptr;
            EXPECT_EQ(
                ZVK_ConFile_ReadForceCalibration(0, file.c_str(), path, &betas, &ks, &beta, &k), 0);
            EXPECT_GE(betas, 1);
            EXPECT_GE(ks, 1);
            std::free(beta);
            std::free(k);
        }
    }
}
