#include "stage_fixture.h"

#include "platform/stagelink.h"
#include "platform/tcp.h"

#include <algorithm>

static const std::pair<const char *, const char *> kUsualKeys[] = {
    {"MI", "1"},
    {"SIMULATE", "0"},
    {"BACKEND", "1"},
    {"SCALE", "0.1"},
    {"CLOCKRATE", "1000"},
    {"EVERYNSAMPLES", "10"},
    {"SAMPLESPERCHAN", "10"},
    {"SPEED", "12.5"},
    {"STEPSIZE", "0.01"},
    {"RANGE", "100"},
    {"TRIGGER", "0"},
    {"IP", "\"127.0.0.1\""},
    {"PORTNUM", ""},
    {"NUMBEROFAXES", "3"},
};

void StageTest::ResetStage()
{
    g_stage.simulate = 0;
    if (g_stage.piId >= 0) StageLink().close(g_stage.piId);
    g_stage.backend = kStageDaq;
    ShutDownStageDaq();
    g_stage = {};
}

// A question that is refused is not answered: the tests wait for that less long than the link.
static const ZVK_TcpTable *s_network = nullptr;

static int64_t ReceiveSoon(int connection, void *bytes, size_t count, double timeoutS)
{
    return s_network->receive(connection, bytes, count, std::min(timeoutS, 0.5));
}

void StageTest::SetUp()
{
    UseTcp(nullptr);
    s_network = &Tcp();
    static ZVK_TcpTable table;
    table = *s_network;
    table.receive = ReceiveSoon;
    UseTcp(&table);
    ResetStage();
    VirtualStageSettings settings;
    settings.clock = [this] { return clock.Now(); };
    controller = std::make_unique<VirtualStage>(settings);
}

void StageTest::TearDown()
{
    ResetStage();
    UseTcp(nullptr);
    EXPECT_EQ(card.OpenTasks(), 0);
}

void StageTest::WriteConfig(const std::map<std::string, std::string> &changes) const
{
    std::string text = "[STAGE]\r\n";
    for (const auto &[key, value] : kUsualKeys) {
        const auto change = changes.find(key);
        std::string put = change == changes.end() ? value : change->second;
        if (put.empty()) put = std::to_string(controller->Port());
        if (put != "-") text += std::string(key) + " = " + put + "\r\n";
    }
    if (changes.count("DAQNAME") == 0) text += "[SUBDAQ]\r\nDAQNAME = \"Dev2\"\r\n";
    folder.Write("config.ini", text);
}

void StageTest::BringUpController()
{
    WriteConfig();
    ASSERT_EQ(ZVK_Stage_Init(0, 0, 0), 0);
    (void)controller->TakeLines();
}

void StageTest::BringUpOutputs()
{
    WriteConfig({{"BACKEND", "16"}});
    ASSERT_EQ(ZVK_Stage_Init(0, 0, 0), ZVK_STAGE_NOT_FOUND);
    card.ForgetCalls();
}

void StageTest::BringUpBoth()
{
    WriteConfig({{"BACKEND", "17"}});
    ASSERT_EQ(ZVK_Stage_Init(0, 0, 0), 0);
    card.ForgetCalls();
    (void)controller->TakeLines();
}

void StageTest::Simulate(const std::string &backend)
{
    WriteConfig({{"SIMULATE", "1"}, {"BACKEND", backend}});
    (void)ZVK_Stage_Init(0, 0, 0);
}

std::vector<std::string> StageTest::Asked()
{
    std::vector<std::string> commands;
    for (const VirtualStageLine &line : controller->TakeLines()) {
        if (line.command != "ERR?") commands.push_back(line.command);
    }
    return commands;
}
