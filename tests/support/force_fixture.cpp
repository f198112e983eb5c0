#include "force_fixture.h"

#include "platform/memory.h"

static const std::pair<const char *, const char *> kUsualKeys[] = {
    {"MI", "1"},
    {"SIMULATE", "0"},
    {"DAQNAME", "\"Dev2\""},
    {"DAQCHANNELSA", "\"ai0:2\""},
    {"DAQCHANNELSB", "\"ai4:6\""},
    {"DAQCHANNELST", "\"ai3\""},
    {"DAQCHANNELSTDE", "\"/Dev2/PFI1\""},
    {"DAQCHANNELSTDI", "\"/Dev2/PFI2\""},
    {"TRIGGERINPUT", "1"},
    {"TRIGGEREDGE", "0"},
};

void ForceTest::ResetForce()
{
    EndTaskAndThread();
    FreeRing();
    g_force = {};
}

void ForceTest::SetUp()
{
    ResetForce();
    card.emplace();
    messages.emplace();
    clock.emplace();
}

void ForceTest::TearDown()
{
    ResetForce();
    EXPECT_EQ(card->Misuses(), 0);
}

void ForceTest::WriteConfig(const std::map<std::string, std::string> &changes) const
{
    std::string text = "[FORCE]\r\n";
    for (const auto &[key, value] : kUsualKeys) {
        const auto change = changes.find(key);
        const std::string put = change == changes.end() ? value : change->second;
        if (put != "-") text += std::string(key) + " = " + put + "\r\n";
    }
    folder.Write("config.ini", text);
}

void ForceTest::BringUp()
{
    WriteConfig();
    ASSERT_EQ(ZVK_Force_Init(0, 0, 0), 0);
    card->ForgetCalls();
}

HandedBlock::~HandedBlock() { Release(data); }
