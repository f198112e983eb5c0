// Digital lines of the virtual card.

#include "card_fixture.h"

using DaqCardDigital = CardFixture;

static uint32_t ReadWord(ZVC_Task task)
{
    uint32_t word = 0xDEADBEEF;
    EXPECT_EQ(DAQmxReadDigitalScalarU32(task, 10.0, &word, nullptr), 0);
    return word;
}

static int32_t WriteWord(ZVC_Task task, uint32_t word, uint32_t autoStart = 0)
{
    return DAQmxWriteDigitalScalarU32(task, autoStart, 10.0, word, nullptr);
}

TEST_F(DaqCardDigital, AReadFindsTheLinesAsTheyWereWritten)
{
    ZVC_Task task = MakeLines();
    EXPECT_EQ(ReadWord(task), 0U);
    ASSERT_EQ(WriteWord(task, 0x9A), 0);
    EXPECT_EQ(ReadWord(task), 0x9AU);
    EXPECT_EQ(ZVC_GetLines("Dev1/port0"), 0x9AU);
    EXPECT_EQ(ZVC_GetLines("Dev1/port1"), 0U);
}

TEST_F(DaqCardDigital, OnlyTheLinesOfTheTaskAreDriven)
{
    ZVC_Task all = MakeLines("Dev1/port0/line0:7");
    ASSERT_EQ(WriteWord(all, 0xFF), 0);
    ASSERT_EQ(DAQmxClearTask(all), 0);
    EXPECT_EQ(ZVC_GetLines("Dev1/port0"), 0xFFU);  // levels stand when the task is gone

    ZVC_Task some = MakeLines("dev1/port0/line2:3");
    EXPECT_EQ(ReadWord(some), 0x0CU);
    ASSERT_EQ(WriteWord(some, 0xFFFFFFF7), 0);
    EXPECT_EQ(ZVC_GetLines("Dev1/port0"), 0xF7U);
    EXPECT_EQ(ReadWord(some), 0x04U);
}

TEST_F(DaqCardDigital, HeldLinesHaveTheirLevelWhateverIsWritten)
{
    ZVC_Task task = MakeLines();
    ASSERT_EQ(ZVC_HoldLines("Dev1/port0/line0", 0x81, 0x80), ZVC_OK);
    ASSERT_EQ(WriteWord(task, 0x0F), 0);
    EXPECT_EQ(ReadWord(task), 0x8EU);
    ASSERT_EQ(ZVC_HoldLines("Dev1/port0", 0, 0xFF), ZVC_OK);
    EXPECT_EQ(ReadWord(task), 0x0FU);
    EXPECT_EQ(ZVC_HoldLines("Dev1/ao0", 1, 1), ZVC_BAD_ARGUMENT);
    EXPECT_EQ(ZVC_HoldLines(nullptr, 1, 1), ZVC_BAD_ARGUMENT);
}

TEST_F(DaqCardDigital, EachWordIsKeptWithItsTime)
{
    ZVC_Task task = MakeLines();
    ASSERT_EQ(WriteWord(task, 0x08), 0);
    ASSERT_EQ(ZVC_Advance(0.1), ZVC_OK);
    ASSERT_EQ(WriteWord(task, 0x00), 0);

    EXPECT_EQ(ZVC_CountLineWords("Dev1/port0"), 2U);
    double timeS = -1.0;
    uint32_t word = 7;
    EXPECT_EQ(ZVC_GetLineWord("Dev1/port0", 0, &timeS, &word), ZVC_OK);
    EXPECT_EQ(timeS, 0.0);
    EXPECT_EQ(word, 8U);
    EXPECT_EQ(ZVC_GetLineWord("Dev1/port0", 1, &timeS, &word), ZVC_OK);
    EXPECT_DOUBLE_EQ(timeS, 0.1);
    EXPECT_EQ(word, 0U);
    EXPECT_EQ(ZVC_GetLineWord("Dev1/port0", 1, nullptr, nullptr), ZVC_OK);
    EXPECT_EQ(ZVC_GetLineWord("Dev1/port0", 2, &timeS, &word), ZVC_NOT_THERE);
    EXPECT_EQ(ZVC_GetLineWord("Dev1", 0, &timeS, &word), ZVC_BAD_ARGUMENT);
}

TEST_F(DaqCardDigital, TheNewestWordsAreKept)
{
    ASSERT_EQ(ZVC_SetLogLength(0), ZVC_OK);
    ZVC_Task task = MakeLines();
    for (uint32_t i = 0; i < 65540; ++i)
        ASSERT_EQ(WriteWord(task, i), 0);
    uint32_t word = 0;
    EXPECT_EQ(ZVC_CountLineWords("Dev1/port0"), 65540U);
    EXPECT_EQ(ZVC_GetLineWord("Dev1/port0", 3, nullptr, &word), ZVC_NOT_THERE);
    EXPECT_EQ(ZVC_GetLineWord("Dev1/port0", 4, nullptr, &word), ZVC_OK);
    EXPECT_EQ(word, 4U);
}

TEST_F(DaqCardDigital, ATaskThatIsNotStartedIsWrittenWithAutoStartOnly)
{
    ZVC_Task task = nullptr;
    ASSERT_EQ(DAQmxCreateTask("", &task), 0);
    ASSERT_EQ(DAQmxCreateDOChan(task, "Dev1/port0/line0:7", "", kForAllLines), 0);
    EXPECT_EQ(WriteWord(task, 1), -200846);
    EXPECT_EQ(ZVC_CountLineWords("Dev1/port0"), 0U);
    EXPECT_EQ(WriteWord(task, 1, 1), 0);
    EXPECT_EQ(InfoOf(task).state, ZVC_RUNNING);
}

TEST_F(DaqCardDigital, ASingleWordIsForOneChannel)
{
    ZVC_Task task = nullptr;
    ASSERT_EQ(DAQmxCreateTask("", &task), 0);
    ASSERT_EQ(DAQmxCreateDOChan(task, "Dev1/port0/line0:1", "", 0), 0);  // a channel for each line
    uint32_t word = 7;
    EXPECT_EQ(DAQmxReadDigitalScalarU32(task, 1.0, &word, nullptr), -200523);
    EXPECT_EQ(WriteWord(task, 1, 1), -200524);
    EXPECT_EQ(InfoOf(task).channelCount, 2);
    EXPECT_EQ(word, 7U);
    EXPECT_EQ(DAQmxReadDigitalScalarU32(MakeLines(), 1.0, nullptr, nullptr), -200604);
    EXPECT_EQ(WriteWord(MakeInput(), 1), -200077);
    EXPECT_EQ(DAQmxReadDigitalScalarU32(MakeInput(), 1.0, &word, nullptr), -200077);
}

TEST_F(DaqCardDigital, LinesOfTwoPortsAreTwoChannels)
{
    ZVC_Task task = nullptr;
    ASSERT_EQ(DAQmxCreateTask("", &task), 0);
    ASSERT_EQ(DAQmxCreateDOChan(task, "Dev1/port0/line0:3,Dev1/port1/line0", "", kForAllLines), 0);
    EXPECT_EQ(InfoOf(task).channelCount, 2);
}
