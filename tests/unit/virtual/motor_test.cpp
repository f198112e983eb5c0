// The virtual motor board by itself: its frames, its parameters, and where its motor is when.

#include "quorvex-virtual/motor.h"

#include "beamexpander_fixture.h"
#include "platform/serial.h"

#include <atomic>

constexpr int kPort = 8;

class VirtualMotorTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        motor.SetClock([this] { return time.load(); });
        ASSERT_EQ(Serial().open(kPort, 9600), 0);
        ASSERT_EQ(Serial().setTimeout(kPort, 5.0), 0);
    }

    void TearDown() override { (void)Serial().close(kPort); }

    static std::string Exchange(const std::string &frame)
    {
        EXPECT_EQ(Serial().write(kPort, frame.data(), frame.size()), 9);
        char reply[9];
        const int got = Serial().read(kPort, reply, sizeof reply);
        return {reply, got > 0 ? static_cast<size_t>(got) : 0};
    }

    static std::string Ask(int command, int type, int motor, int32_t value)
    {
        return Exchange(CommandBytes(command, type, motor, value));
    }

    static int StatusOf(int command, int type, int motor, int32_t value)
    {
        const std::string reply = Ask(command, type, motor, value);
        return reply.size() == 9 ? static_cast<unsigned char>(reply[2]) : -1;
    }

    std::atomic<double> time{100.0};
    VirtualMotor motor{{.owner = 2, .position = 500, .stopAt = 0, .stepsEachUnit = 1.0}};
    ScopedVariable offered{"ZVK_SERIAL_PORTS", motor.Offer(kPort).c_str()};
};

TEST_F(VirtualMotorTest, AnswersWithTheValueThatWasAskedForOrGiven)
{
    EXPECT_EQ(Ask(10, 0, 2, 0), ReplyBytes(10, 2));
    EXPECT_EQ(Ask(6, 1, 0, 0), ReplyBytes(6, 500));
    EXPECT_EQ(Ask(5, 4, 0, 100), ReplyBytes(5, 100));
    EXPECT_EQ(Ask(6, 4, 0, 0), ReplyBytes(6, 100));
    EXPECT_EQ(Ask(9, 7, 2, -3), ReplyBytes(9, -3));
    EXPECT_EQ(Ask(10, 7, 2, 0), ReplyBytes(10, -3));
    EXPECT_EQ(motor.AxisParameter(4), 100);
    EXPECT_EQ(motor.AxisParameter(99), std::nullopt);
}

TEST_F(VirtualMotorTest, RefusesWhatItDoesNotHave)
{
    EXPECT_EQ(StatusOf(77, 0, 0, 0), 2);
    EXPECT_EQ(StatusOf(4, 2, 0, 10), 3);
    EXPECT_EQ(StatusOf(5, 99, 0, 10), 3);
    EXPECT_EQ(StatusOf(5, 4, 0, 2048), 4);
    EXPECT_EQ(StatusOf(5, 6, 0, -1), 4);
    EXPECT_EQ(StatusOf(3, 0, 1, 0), 4) << "it has one motor";
    EXPECT_EQ(StatusOf(2, 0, 0, INT32_MIN), 4);
    EXPECT_EQ(StatusOf(10, 0, 1, 0), 4) << "only bank 2";
    EXPECT_EQ(StatusOf(10, 56, 2, 0), 3);
    std::string frame = CommandBytes(4, 1, 0, 10);
    ++frame[8];
    EXPECT_EQ(Exchange(frame)[2], 1);
    EXPECT_EQ(motor.State().target, 500) << "nothing of that moved it";
    motor.Refuse(4, 5);
    EXPECT_EQ(StatusOf(4, 1, 0, 10), 5);
    motor.Refuse(4, 100);
    EXPECT_EQ(StatusOf(4, 1, 0, 10), 100);
    EXPECT_EQ(motor.State().target, 510);
}

TEST_F(VirtualMotorTest, AMoveTakesTheTimeOfItsSteps)
{
    EXPECT_EQ(StatusOf(5, 4, 0, 50), 100);
    EXPECT_EQ(StatusOf(4, 1, 0, 100), 100);
    EXPECT_EQ(Ask(6, 8, 0, 0), ReplyBytes(6, 0));
    time = 101.0;
    EXPECT_EQ(motor.State().position, 550);
    EXPECT_EQ(motor.State().speed, 50);
    time = 102.0;
    EXPECT_EQ(motor.State().position, 600);
    EXPECT_EQ(Ask(6, 8, 0, 0), ReplyBytes(6, 1));
    time = 200.0;
    EXPECT_EQ(motor.State().position, 600);
    EXPECT_EQ(StatusOf(4, 0, 0, 575), 100);
    time = 200.25;
    EXPECT_EQ(motor.State().position, 588);
    EXPECT_EQ(StatusOf(3, 0, 0, 0), 100);
    time = 300.0;
    EXPECT_EQ(motor.State().position, 588);
    EXPECT_FALSE(motor.State().reached);
}

TEST_F(VirtualMotorTest, ARunDownEndsAtTheStopWhereverTheCounterIsSet)
{
    EXPECT_EQ(StatusOf(2, 1, 0, 150), 100);
    EXPECT_EQ(motor.State().speed, -150);
    time = 110.0;
    EXPECT_EQ(motor.State().position, 0);
    EXPECT_TRUE(motor.State().atStop);
    EXPECT_EQ(StatusOf(5, 1, 0, 70), 100);
    EXPECT_EQ(StatusOf(4, 1, 0, -20), 100);
    time = 120.0;
    EXPECT_EQ(motor.State().position, 70) << "it is at the stop still";
    EXPECT_EQ(StatusOf(1, 0, 0, 10), 100);
    time = 121.0;
    EXPECT_EQ(motor.State().position, 80);
    EXPECT_FALSE(motor.State().atStop);
}

TEST_F(VirtualMotorTest, TellsItsCommandsInWords)
{
    (void)Ask(4, 1, 0, 100);
    time = 100.5;
    (void)Ask(99, 0, 0, 0);
    EXPECT_EQ(VirtualMotorReport(motor.Events()),
              "   0.000 s  move by 100                      at 500\n"
              "   0.500 s  command 99                       at 600, refused with 2\n");
    EXPECT_EQ(motor.TakeEvents().size(), 2U);
    EXPECT_TRUE(motor.Events().empty());
}

TEST_F(VirtualMotorTest, AChangeOfTheClockLeavesTheMotorWhereItIs)
{
    (void)Ask(4, 1, 0, 1000);
    motor.SetClock([] { return 7000.0; });
    EXPECT_EQ(motor.State().position, 500);
}
