#include "laser_fixture.h"

std::string LaserConfig::Text(const std::string &without) const
{
    const std::pair<const char *, std::string> laser[] = {
        {"MI", installed},
        {"SIMULATE", simulate},
        {"BACKEND", backend},
        {"TRAPPATHS", trapPaths},
        {"MAXCURRENT", maxCurrent},
        {"MAXPOWER", maxPower},
        {"MINPOWER", minPower},
        {"ALIGNPOWER", alignPower},
        {"LASERMODE", "\"" + mode + "\""},
        {"DAQLASERAI", "\"" + input + "\""},
    };
    std::string text = "[MAINDAQ]\n";
    if (without != "MAINDAQ SIMULATE") text += "SIMULATE = " + cardSimulate + "\n";
    if (without != "DAQNAME") text += "DAQNAME = \"" + cardName + "\"\n";
    text += "[LASER]\n";
    for (const auto &[key, value] : laser)
        if (without != key) text += std::string(key) + " = " + value + "\n";
    return text;
}

void LaserTest::SetUp()
{
    g_laser = {};
    OfferLaser();
}

void LaserTest::TearDown() { g_laser = {}; }

void LaserTest::OfferLaser()
{
    ports.OfferPorts({"USB Serial Port (COM7)"});
    ports.Answer(kLaserPort, "?\r\n", "?\r\n");
    for (const char *command : {"COM 0\r\n", "COM 1\r\n", "CDO 0\r\n", "CDO 1\r\n"})
        ports.Answer(kLaserPort, command, "OK\r\n");
    ports.Answer(kLaserPort, "STA\r\n", "111111\r\n");
    ports.Answer(kLaserPort, "APC ?\r\n", "1.50\r\n");
    ports.Answer(kLaserPort, "ACC ?\r\n", "2.50\r\n");
}

void LaserTest::Write(const LaserConfig &config) const
{
    folder.Write("config.ini", config.Text());
}

void LaserTest::BringUp(const LaserConfig &config)
{
    Write(config);
    ASSERT_EQ(ZVK_Laser_Init(0, 0, 0), 0);
    ForgetCalls();
}

void LaserTest::ForgetCalls()
{
    card.ForgetCalls();
    ports.ForgetCalls();
}
