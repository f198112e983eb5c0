#include "galvo_session.h"

#include <vector>

static std::vector<std::string> Lines(int simulate, int trigger, int backend)
{
    return {"[GALVO 0]",
            "OFFSETX = 0.5",
            "OFFSETY = -0.5",
            "MAXX = 5",
            "MINX = -5",
            "MAXY = 4",
            "MINY = -4",
            "[GALVO 1]",
            "OFFSETX = 0.25",
            "OFFSETY = -0.25",
            "MAXX = 3",
            "MINX = -3",
            "MAXY = 2",
            "MINY = -2",
            "[MAINDAQ]",
            "BACKEND = " + std::to_string(backend),
            "CLOCKRATE = 10000",
            "SAMPLESPERCHAN = 100",
            "EVERYNSAMPLES = 50",
            "TRIGGER = " + std::to_string(trigger),
            "SIMULATE = " + std::to_string(simulate),
            "DAQNAME = \"Dev1\""};
}

static std::string Join(const std::vector<std::string> &lines, const std::string &omittedKey)
{
    std::string text;
    for (const std::string &line : lines) {
        if (omittedKey.empty() || line.rfind(omittedKey + " ", 0) != 0) text += line + "\r\n";
    }
    return text;
}

void GalvoSessionTest::SetUp()
{
    card.emplace();
    timers.emplace();
    clock.emplace();
    GalvoTest::SetUp();
}

void GalvoSessionTest::TearDown()
{
    GalvoTest::TearDown();
    EXPECT_EQ(card->OpenTasks(), 0) << "a task leaked";
    EXPECT_TRUE(timers->Timers().empty()) << "a timer leaked";
    card.reset();
    timers.reset();
    clock.reset();
}

void GalvoSessionTest::WriteConfig(int simulate, int trigger, int backend)
{
    folder.Write("config.ini", Join(Lines(simulate, trigger, backend), ""));
}

void GalvoSessionTest::WriteConfigWithout(const std::string &key)
{
    folder.Write("config.ini", Join(Lines(0, 0, 1), key));
}

std::string GalvoSessionTest::Log() const { return folder.Read("log.ini"); }

void GalvoSessionTest::BringUp(int simulate)
{
    WriteConfig(simulate);
    ASSERT_EQ(ZVK_Galvo_Init(0, 0, 0), 0);
    card->ForgetCalls();
}
