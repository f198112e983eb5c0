// The virtual stage controller's misbehaviour, its switches and its trigger outputs, seen through
// the link.

#include <quorvex-virtual/stage.h>

#include "platform/stagelink.h"
#include "platform/stagelink_text.h"
#include "platform/tcp.h"

#include <atomic>
#include <gtest/gtest.h>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

static const char *const kAll = "1 \n2 \n3 \n";
static const int32_t kOnes[] = {1, 1, 1};

class VirtualStageFaults : public ::testing::Test
{
protected:
    void SetUp() override
    {
        VirtualStageSettings settings;
        settings.clock = [this] { return now.load(); };
        settings.onTrigger = [this](const VirtualStageTrigger &trigger) {
            const std::lock_guard lock(mutex);
            triggers.push_back(trigger);
        };
        stage = std::make_unique<VirtualStage>(settings);
        Connect();
        ASSERT_GE(id, 0);
    }

    void TearDown() override { StageLink().close(id); }

    void Connect()
    {
        StageLink().close(id);
        id = StageLink().connect("127.0.0.1", stage->Port());
    }

    double Place(int32_t success)
    {
        double place = kUntouched;
        EXPECT_EQ(StageLink().queryPosition(id, "1 \n", &place), success);
        return place;
    }

    void WriteWave(int32_t points, int32_t centre)
    {
        EXPECT_EQ(StageLink().clearWave(id, 1), 1);
        EXPECT_EQ(StageLink().setWaveRate(id, 1, 2, 0), 1);
        EXPECT_EQ(StageLink().waveSine(id, 1, 0, points, 0, centre, 10.0, 30.0, points), 1);
    }

    static constexpr double kUntouched = 123.25;
    std::vector<VirtualStageTrigger> Triggers()
    {
        const std::lock_guard lock(mutex);
        return triggers;
    }

    std::atomic<double> now = 0.0;  // the port's thread reads it
    std::mutex mutex;
    std::vector<VirtualStageTrigger> triggers;  // under the mutex
    std::unique_ptr<VirtualStage> stage;
    int32_t id = -1;
};

TEST_F(VirtualStageFaults, AnAnswerThatIsSlowIsAwaited)
{
    VirtualStageFault fault;
    fault.slowS = 0.05;
    stage->Misbehave(fault);
    EXPECT_EQ(Place(1), 30.0);
    EXPECT_EQ(StageLink().setServo(id, kAll, kOnes), 1);
}

// The network, but that the first receive has hardly any time.
static const ZVK_TcpTable &Hasty()
{
    static const ZVK_TcpTable network = Tcp();
    static ZVK_TcpTable hasty = network;
    static bool first = true;
    first = true;
    hasty.receive = [](int connection, void *bytes, size_t count, double timeoutS) -> int64_t {
        return network.receive(connection, bytes, count,
                               std::exchange(first, false) ? 0.0 : timeoutS);
    };
    return hasty;
}

// The place comes in one packet with the reason for its delay.
TEST_F(VirtualStageFaults, AnAnswerThatIsHeldBackIsATimeoutAndAnswersNothingElse)
{
    VirtualStageFault fault;
    fault.heldAnswers = 1;
    stage->Misbehave(fault);
    UseTcp(&Hasty());
    EXPECT_EQ(Place(0), kUntouched);
    UseTcp(nullptr);
    EXPECT_EQ(StageLink().getError(id), ZVK_LINK_TIMED_OUT);
    EXPECT_EQ(stage->Commands(), (std::vector<std::string>{"POS? 1", "ERR?"}));
    EXPECT_EQ(Place(1), 30.0);
}

TEST_F(VirtualStageFaults, TheNthCommandIsRefusedAndNoOther)
{
    for (int nth = 1; nth <= 3; ++nth) {
        VirtualStageFault fault;
        fault.refuseNth = nth;
        fault.refuseCode = 63;
        stage->Misbehave(fault);
        const int32_t results[] = {StageLink().setServo(id, kAll, kOnes),
                                   StageLink().setVelocityControl(id, kAll, kOnes),
                                   StageLink().setDriftCompensation(id, kAll, kOnes)};
        for (int call = 1; call <= 3; ++call)
            EXPECT_EQ(results[call - 1], call == nth ? 0 : 1) << nth;
        EXPECT_EQ(StageLink().getError(id), 63);
    }
}

TEST_F(VirtualStageFaults, TheNthCommandOfANameIsRefusedAndNoOther)
{
    VirtualStageFault fault;
    fault.refuse = "VCO";
    fault.refuseNth = 2;
    fault.refuseCode = 54;
    stage->Misbehave(fault);
    EXPECT_EQ(StageLink().setVelocityControl(id, kAll, kOnes), 1);
    EXPECT_EQ(StageLink().setServo(id, kAll, kOnes), 1);
    EXPECT_EQ(StageLink().setVelocityControl(id, kAll, kOnes), 0);
    EXPECT_EQ(StageLink().getError(id), 54);
    EXPECT_EQ(StageLink().setVelocityControl(id, kAll, kOnes), 1);
}

TEST_F(VirtualStageFaults, WhileConnectionsAreRefusedThePresentOneStaysAndANewOneFails)
{
    stage->RefuseConnections(true);
    EXPECT_EQ(Place(1), 30.0);
    EXPECT_LT(StageLink().connect("127.0.0.1", stage->Port()), 0);
    EXPECT_EQ(StageLink().getError(-1), ZVK_LINK_NOT_CONNECTED);
    stage->RefuseConnections(false);
    Connect();
    EXPECT_GE(id, 0);
    EXPECT_EQ(Place(1), 30.0);
}

TEST_F(VirtualStageFaults, ALostConnectionComesBackByANewOne)
{
    for (int round = 0; round < 20; ++round) {
        VirtualStageFault fault;
        fault.closeBehindBytes = round % 4;
        stage->Misbehave(fault);
        EXPECT_EQ(Place(0), kUntouched);
        EXPECT_EQ(StageLink().getError(id), ZVK_LINK_LOST);
        EXPECT_EQ(Place(0), kUntouched);
        EXPECT_EQ(StageLink().getError(id), ZVK_LINK_LOST);
        stage->Misbehave({});
        Connect();
        EXPECT_EQ(Place(1), 30.0);
    }
    EXPECT_EQ(stage->Connections(), 21);
}

TEST_F(VirtualStageFaults, NoiseIsABadReplyAndBytesOneByOneAreNoFault)
{
    VirtualStageFault fault;
    fault.garbled = true;
    stage->Misbehave(fault);
    EXPECT_EQ(Place(0), kUntouched);
    EXPECT_EQ(StageLink().getError(id), ZVK_LINK_BAD_REPLY);
    EXPECT_EQ(StageLink().setServo(id, kAll, kOnes), 0);
    EXPECT_EQ(StageLink().getError(id), ZVK_LINK_BAD_REPLY);
    fault = {};
    fault.byteByByte = true;
    stage->Misbehave(fault);
    double limits[3] = {};
    EXPECT_EQ(StageLink().queryUpperLimit(id, kAll, limits), 1);
    EXPECT_EQ(limits[2], 100.0);
}

TEST_F(VirtualStageFaults, SwitchesAreKeptAndTold)
{
    const int32_t offs[] = {0, 0, 0};
    EXPECT_TRUE(stage->State(1).velocityControl);
    EXPECT_FALSE(stage->State(1).driftCompensation);
    EXPECT_EQ(StageLink().setVelocityControl(id, kAll, offs), 1);
    EXPECT_EQ(StageLink().setDriftCompensation(id, "2 \n", kOnes), 1);
    EXPECT_FALSE(stage->State(1).velocityControl);
    EXPECT_TRUE(stage->State(1).driftCompensation);
    EXPECT_FALSE(stage->State(0).driftCompensation);
    const int32_t two[] = {2};
    EXPECT_EQ(StageLink().setServo(id, "1 \n", two), 0);
    EXPECT_EQ(StageLink().getError(id), 17);
}

TEST_F(VirtualStageFaults, WithoutVelocityControlAnAxisJumps)
{
    const int32_t off = 0;
    const double speed = 1.0;
    const double target = 60.0;
    EXPECT_EQ(StageLink().setServo(id, kAll, kOnes), 1);
    EXPECT_EQ(StageLink().setVelocity(id, "1 \n", &speed), 1);
    EXPECT_EQ(StageLink().move(id, "1 \n", &target), 1);
    EXPECT_EQ(Place(1), 30.0);
    EXPECT_EQ(StageLink().setVelocityControl(id, "1 \n", &off), 1);
    EXPECT_EQ(Place(1), 60.0);
    EXPECT_EQ(StageLink().setVelocityControl(id, "1 \n", kOnes), 1);
    EXPECT_EQ(Place(1), 60.0);
}

TEST(VirtualStageOffline, AMoveNeedsItsChannelOnline)
{
    VirtualStageSettings settings;
    settings.startsOffline = true;
    VirtualStage stage(settings);
    stage.Ask("SVO 1 1");
    stage.Ask("MOV 1 50");
    EXPECT_EQ(stage.Ask("ERR?"), "5\n");
    stage.Ask("ONL 1 1");
    stage.Ask("MOV 1 50");
    EXPECT_EQ(stage.Ask("ERR?"), "0\n");
    EXPECT_FALSE(stage.State(1).online);
    EXPECT_TRUE(stage.State(0).online);
}

TEST_F(VirtualStageFaults, AGeneratorWithATriggerOutputTellsItsPulsesAndItsPlaces)
{
    WriteWave(400, 200);
    EXPECT_EQ(StageLink().setTriggerOutput(id, 1, 3, 4.0), 1);
    now = 5.0;
    EXPECT_EQ(StageLink().startGenerator(id, 1, 0x11), 1);
    ASSERT_EQ(Triggers().size(), 1U);
    const VirtualStageTrigger started = Triggers()[0];
    EXPECT_EQ(started.line, 0);
    EXPECT_TRUE(started.running);
    EXPECT_EQ(started.startS, 5.0);
    EXPECT_NEAR(started.periodS, 400 * 2 * 50e-6, 1e-12);
    EXPECT_EQ(started.pulsesS, std::vector<double>{0.0});

    now = 5.02;
    EXPECT_EQ(StageLink().startGenerator(id, 1, 0), 1);
    ASSERT_EQ(Triggers().size(), 2U);
    EXPECT_FALSE(Triggers()[1].running);
    EXPECT_EQ(Triggers()[1].startS, 5.02);
    EXPECT_NEAR(started.position(5.0), 30.0, 1e-9);
    EXPECT_NEAR(started.position(5.01), 35.0, 1e-9);
    EXPECT_NEAR(started.position(5.06), 40.0, 1e-9);
}

TEST_F(VirtualStageFaults, AStopEndsATriggerToo)
{
    WriteWave(400, 200);
    EXPECT_EQ(StageLink().setTriggerOutput(id, 1, 3, 4.0), 1);
    EXPECT_EQ(StageLink().startGenerator(id, 1, 1), 1);
    EXPECT_EQ(StageLink().stop(id), 1);
    ASSERT_EQ(Triggers().size(), 2U);
    EXPECT_FALSE(Triggers()[1].running);
}

TEST_F(VirtualStageFaults, WithoutTheGeneratorModeThereIsNoTrigger)
{
    WriteWave(400, 200);
    EXPECT_EQ(StageLink().startGenerator(id, 1, 1), 1);
    EXPECT_EQ(StageLink().startGenerator(id, 1, 0), 1);
    EXPECT_EQ(StageLink().setTriggerOutput(id, 1, 3, 2.0), 1);
    EXPECT_EQ(StageLink().startGenerator(id, 1, 1), 1);
    EXPECT_EQ(Triggers().size(), 0U);
}

TEST_F(VirtualStageFaults, TriggerPointsPlaceThePulses)
{
    WriteWave(400, 200);
    EXPECT_EQ(StageLink().setTriggerOutput(id, 1, 3, 4.0), 1);
    stage->Ask("TWS 1 100 1");
    stage->Ask("TWS 1 300 1");
    stage->Ask("TWS 1 300 0");
    EXPECT_EQ(StageLink().startGenerator(id, 1, 1), 1);
    ASSERT_EQ(Triggers().size(), 1U);
    ASSERT_EQ(Triggers()[0].pulsesS.size(), 1U);
    EXPECT_NEAR(Triggers()[0].pulsesS[0], 100 * 2 * 50e-6, 1e-12);
}

TEST_F(VirtualStageFaults, TheHighestPointIsAtTheCentreOfTheCurve)
{
    WriteWave(400, 100);
    EXPECT_EQ(StageLink().startGenerator(id, 1, 1), 1);
    now = 100 * 2 * 50e-6;
    EXPECT_NEAR(Place(1), 40.0, 1e-6);
    now = 250 * 2 * 50e-6;
    EXPECT_NEAR(Place(1), 35.0, 1e-6);
}

TEST_F(VirtualStageFaults, TheTablesOfARunningGeneratorAreNotTouched)
{
    WriteWave(400, 200);
    EXPECT_EQ(StageLink().startGenerator(id, 1, 1), 1);
    EXPECT_EQ(StageLink().clearWave(id, 1), 0);
    EXPECT_EQ(StageLink().getError(id), 73);
    EXPECT_EQ(StageLink().setWaveRate(id, 1, 1, 0), 0);
    EXPECT_EQ(StageLink().waveSine(id, 1, 0, 40, 0, 20, 10.0, 30.0, 40), 0);
    EXPECT_NEAR(stage->State(0).hertz, 25.0, 1e-9);
}

TEST_F(VirtualStageFaults, WavesThatMakeNoSenseAreRefused)
{
    for (const char *wave :
         {"WAV 1 X SIN_P 400 10 30 1 0 0", "WAV 1 X SIN_P 400 10 30 400 -1 200",
          "WAV 1 X SIN_P 400 10 30 400 0 400", "WAV 1 X SIN_P 400 10 30 400 0 0",
          "WAV 1 X SIN_P 400 10 30 400 100 200", "WAV 1 X SIN_P 9000 10 30 400 0 200",
          "WAV 1 X SIN_P 400 10 99 400 0 200", "WAV 1 X SIN_P 400 nan 30 400 0 200", "WGO 1 1",
          "WGO 1 -1", "WGO 1 1e99", "TWS 1 -1 1", "TWS 1 9999 1"})
    {
        stage->Ask(wave);
        EXPECT_NE(stage->Ask("ERR?"), "0\n") << wave;
    }
    EXPECT_FALSE(stage->State(0).oscillates);
}
