// Each allocation, file call and call of the network fails in turn while the stage comes up, moves
// and is shaken: every time a status, nothing lost, and a stage that a reset brings back.

#include "stage_fixture.h"

#include "failing_files.h"
#include "failing_memory.h"
#include "failing_new.h"
#include "platform/tcp.h"

static ZVK_TcpTable s_below;
static int s_untilFailure = 0;  // 0: none
static bool s_failed = false;
static int s_open = 0;

static bool Fails()
{
    if (s_untilFailure == 0 || --s_untilFailure != 0) return false;
    s_failed = true;
    return true;
}

static int Connect(const char *host, int32_t port, double timeoutS)
{
    if (Fails()) return -1;
    const int connection = s_below.connect(host, port, timeoutS);
    if (connection >= 0) ++s_open;
    return connection;
}

static int Send(int connection, const void *bytes, size_t count)
{
    return Fails() ? -1 : s_below.send(connection, bytes, count);
}

static int64_t Receive(int connection, void *bytes, size_t count, double timeoutS)
{
    return Fails() ? -1 : s_below.receive(connection, bytes, count, timeoutS);
}

static void Discard(int connection) { s_below.discard(connection); }

static void Close(int connection)
{
    --s_open;
    s_below.close(connection);
}

class StageFaults : public StageTest
{
protected:
    void SetUp() override
    {
        StageTest::SetUp();
        s_below = Tcp();
        static constexpr ZVK_TcpTable kTable = {Connect, Send, Receive, Discard, Close};
        UseTcp(&kTable);
        s_untilFailure = 0;
        s_open = 0;
    }

    void TearDown() override
    {
        s_untilFailure = 0;
        (void)ZVK_Stage_Shutdown(0);
        EXPECT_EQ(s_open, 0) << "a connection leaked";
        UseTcp(&s_below);
        StageTest::TearDown();
    }

    static void FailNetworkAt(int nth)
    {
        s_untilFailure = nth;
        s_failed = false;
    }

    // Whatever went before.
    static void ExpectAResetMendsIt(int nth)
    {
        ASSERT_EQ(ZVK_Stage_Reset(0), 0) << nth;
        double position = 77.0;
        EXPECT_EQ(ZVK_Stage_GetPosition(0, 0, &position), 0) << nth;
        EXPECT_EQ(s_open, 1) << nth;
    }
};

TEST_F(StageFaults, EachFailedCallOfTheNetworkEndsInAStatusAndAResetConnectsAnew)
{
    WriteConfig();
    for (int nth = 1; nth < 500; ++nth) {
        folder.Remove("log.ini");
        FailNetworkAt(nth);
        const int32_t status = ZVK_Stage_Init(0, 0, 0);
        s_untilFailure = 0;
        if (!s_failed) {
            EXPECT_EQ(status, 0);
            return;
        }
        EXPECT_TRUE(status == 0 || status == ZVK_STAGE_CONNECT_FAILED ||
                    status == ZVK_STAGE_NOT_SUPPORTED)
            << nth << ": " << status;
        EXPECT_TRUE(folder.Holds("log.ini")) << "nothing tells of it: " << nth;
        ExpectAResetMendsIt(nth);
        ASSERT_EQ(ZVK_Stage_Shutdown(0), 0);
        ASSERT_EQ(s_open, 0) << nth;
    }
    FAIL() << "the calls never end";
}

TEST_F(StageFaults, EachCallOfTheNetworkThatFailsUnderAMoveOrAnOscillationIsLogged)
{
    int32_t (*const calls[])() = {
        [] { return ZVK_Stage_MoveAbsolute(0, 0, 1.0); },
        [] { return ZVK_Stage_MoveRelative(0, 0, 1.0); },
        [] { return ZVK_Stage_Center(0); },
        [] { return ZVK_Stage_SetSpeed(0, 0, 100.0, nullptr); },
        [] { return ZVK_Stage_StartOscillation(0, 0, 0.25, 32); },
        [] { return ZVK_Stage_StopOscillation(0, 0); },
        [] { return ZVK_Stage_CheckMoveStatus(0, nullptr); },
    };
    BringUpController();
    for (size_t i = 0; i < std::size(calls); ++i) {
        for (int nth = 1;; ++nth) {
            ASSERT_LT(nth, 200);
            folder.Remove("log.ini");
            FailNetworkAt(nth);
            (void)calls[i]();
            s_untilFailure = 0;
            if (!s_failed) break;
            EXPECT_NE(folder.Read("log.ini").find("stage controller"), std::string::npos)
                << i << " " << nth;
            ExpectAResetMendsIt(nth);
        }
        (void)ZVK_Stage_StopOscillation(0, 0);
    }
}

TEST_F(StageFaults, EachFailedNewOfTheStartEndsInAStatusAndAResetMendsIt)
{
    WriteConfig();
    int32_t status = 0;
    int run = 0;
    const int allocations = FailEachAllocation([&] { status = ZVK_Stage_Init(0, 0, 0); },
                                               [&](bool failed) {
                                                   EXPECT_TRUE(failed || status == 0);
                                                   EXPECT_LE(status, 0);
                                                   ExpectAResetMendsIt(++run);
                                                   ASSERT_EQ(ZVK_Stage_Shutdown(0), 0);
                                               });
    EXPECT_GT(allocations, 0);
}

TEST_F(StageFaults, EachFailedNewOfAnOscillationLosesNoBlock)
{
    BringUpController();
    const int64_t before = LiveNewBlocks();
    for (int round = 0; round < 3; ++round) {
        (void)FailEachAllocation([] { (void)ZVK_Stage_StartOscillation(0, 0, 0.25, 32); },
                                 [](bool) { (void)ZVK_Stage_StopOscillation(0, 0); });
        (void)controller->TakeLines();
    }
    ExpectAResetMendsIt(0);
    (void)controller->TakeLines();
    EXPECT_LE(LiveNewBlocks() - before, 8) << "what the controller keeps of its last line aside";
}

TEST_F(StageFaults, NoRoomForTheOutputsBlockEndsInitAndLosesNoBlock)
{
    WriteConfig({{"BACKEND", "16"}});
    int failures = 0;
    for (int nth = 1; nth < 2000; ++nth) {
        FailingMemory memory;
        memory.FailAt(nth);
        const int32_t status = ZVK_Stage_Init(0, 0, 0);
        const bool failed = memory.Failed();
        memory.FailAt(0);
        EXPECT_EQ(g_stage.initialized, status < 0 ? 0 : 1) << nth;
        if (failed && status < 0) {
            ++failures;
            EXPECT_EQ(g_stage.buffer, nullptr) << nth;
            ASSERT_EQ(ZVK_Stage_Init(0, 0, 0), ZVK_STAGE_NOT_FOUND) << nth;
        }
        ResetStage();
        EXPECT_EQ(memory.Live(), 0) << "a block leaked at allocation " << nth;
        EXPECT_EQ(card.OpenTasks(), 0) << nth;
        if (!failed) break;
    }
    EXPECT_GT(failures, 0);
}

TEST_F(StageFaults, NoRoomForThePeriodIs712AndTheOutputsGoOn)
{
    FailingMemory memory;
    BringUpOutputs();
    ASSERT_EQ(ZVK_Stage_MoveAbsolute(0, 0, 20.0), 0);
    memory.FailAt(1);
    EXPECT_EQ(ZVK_Stage_StartOscillation(0, 1, 1.0, 10), ZVK_STAGE_NO_MEMORY);
    EXPECT_TRUE(memory.Failed());
    EXPECT_EQ(g_stage.oscillating[1], 0);
    memory.FailAt(1);
    EXPECT_EQ(ZVK_Stage_MoveAbsolute(0, 1, 5.0), 0) << "as a write that fails: not reported";
    EXPECT_EQ(g_stage.position[1], 0.0);
    memory.FailAt(1);
    EXPECT_EQ(ZVK_Stage_Center(0), ZVK_STAGE_NO_MEMORY);
    EXPECT_EQ(ZVK_Stage_MoveAbsolute(0, 1, 5.0), 0);
    EXPECT_EQ(card.Blocks().back().front(), 7.0);
    EXPECT_EQ(card.Blocks().back().back(), 5.5);
    ResetStage();
    EXPECT_EQ(memory.Live(), 0);
}

TEST_F(StageFaults, EachFailedFileCallEndsInAStatusOrIsOfTheLogAlone)
{
    WriteConfig({{"BACKEND", "17"}});
    for (int nth = 1; nth < 1000; ++nth) {
        FailingFiles files;
        files.FailAt(nth);
        const int32_t status = ZVK_Stage_Init(0, 0, 0);
        const bool failed = files.Failed();
        EXPECT_EQ(files.OpenFiles(), 0) << nth;
        files.FailAt(0);
        EXPECT_LE(status, 0) << nth;
        ResetStage();
        ASSERT_EQ(card.OpenTasks(), 0) << nth;
        ASSERT_EQ(s_open, 0) << nth;
        if (!failed) {
            EXPECT_EQ(status, 0);
            return;
        }
    }
    FAIL() << "the calls never end";
}
