#include "beampower_fixture.h"

#include <limits>

void BeamPowerTest::SetUp()
{
    ResetBeamPower();
    (void)Captured();
}

void BeamPowerTest::TearDown()
{
    ResetBeamPower();
    EXPECT_EQ(card.OpenTasks(), 0) << "a task leaked";
    (void)Captured();
}

void BeamPowerTest::ResetBeamPower()
{
    for (int32_t path = 0; path < kBeamPowerPaths; ++path) {
        ClearBeamPowerTask(path);
        FreeBeamPowerTable(g_beamPower[path]);
        g_beamPower[path] = {};
        g_beamPowerDaq[path] = {};
    }
}

static std::string Section(int path, const PowerKeys &keys)
{
    return "[BEAMPOWER " + std::to_string(path) + "]\r\nMI=" + std::to_string(keys.mi) +
           "\r\nBACKEND=" + std::to_string(keys.backend) +
           "\r\nSIMULATE=" + std::to_string(keys.simulate) + "\r\nSCALE=" + keys.scale + "\r\n";
}

static std::string DaqSection(int backend)
{
    return "[SUBDAQ]\r\nDAQNAME=\"Dev2\"\r\nBACKEND=" + std::to_string(backend) + "\r\n";
}

void BeamPowerTest::WriteConfig(const PowerKeys &a, const PowerKeys &b, int daqBackend)
{
    folder.Write("config.ini", Section(0, a) + Section(1, b) + DaqSection(daqBackend));
}

void BeamPowerTest::WriteConfigWithout(const std::string &section, const std::string &key)
{
    std::string text = Section(0, {}) + Section(1, {}) + DaqSection(1);
    const size_t at = text.find("\r\n" + key + "=", text.find("[" + section + "]"));
    ASSERT_NE(at, std::string::npos) << section << " " << key;
    folder.Write("config.ini", text.erase(at, text.find("\r\n", at + 2) - at));
}

static std::string Table(const char *name,
                         const std::vector<std::pair<std::string, std::string>> &points)
{
    if (points.empty()) return "";
    std::string text = "[CALVALUE " + std::string(name) + "]\r\n";
    text += "NUM=" + std::to_string(points.size()) + "\r\n";
    for (size_t i = 0; i < points.size(); ++i) {
        const std::string number = std::to_string(i + 1);
        text += "V" + number + "=" + points[i].first + "\r\nP" + number + "=" + points[i].second +
                "\r\n";
    }
    return text;
}

void BeamPowerTest::WriteTable(const std::vector<std::pair<std::string, std::string>> &a,
                               const std::vector<std::pair<std::string, std::string>> &b)
{
    folder.Write("qdmr.bin", Table("A", a) + Table("B", b));
}

void BeamPowerTest::BringUp(int32_t path, const PowerKeys &keys)
{
    WriteConfig(path == 0 ? keys : PowerKeys{}, path == 1 ? keys : PowerKeys{});
    ASSERT_EQ(ZVK_BeamPower_Init(640, 0, 0, path), 0);
    card.ForgetCalls();
}

std::vector<int32_t> BeamPowerTest::Captured()
{
    int32_t count = 0;
    (void)ZVK_error_GetWarnings(0, &count, nullptr);
    std::vector<int32_t> codes(static_cast<size_t>(count) + 1);
    (void)ZVK_error_GetWarnings(0, nullptr, codes.data());
    codes.pop_back();
    return codes;
}

double BeamPowerTest::Power(int32_t path)
{
    double power = std::numeric_limits<double>::quiet_NaN();
    (void)ZVK_BeamPower_GetPower(0, path, &power);
    return power;
}
