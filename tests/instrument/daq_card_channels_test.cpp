// Channel lists, terminals, clocks and attributes of the virtual card.

#include "card_fixture.h"

#include <cmath>

using DaqCardChannels = CardFixture;

enum class Kind
{
    input,
    output,
    lines
};

static ZVC_Task MakeTask()
{
    ZVC_Task task = nullptr;
    EXPECT_EQ(DAQmxCreateTask("", &task), 0);
    return task;
}

static int32_t AddChannels(ZVC_Task task, Kind kind, const char *channels)
{
    switch (kind) {
    case Kind::input:
        return DAQmxCreateAIVoltageChan(task, channels, "", -1, -10.0, 10.0, kVolts, nullptr);
    case Kind::output: return DAQmxCreateAOVoltageChan(task, channels, "", -10.0, 10.0, kVolts, "");
    case Kind::lines: return DAQmxCreateDOChan(task, channels, "", kForAllLines);
    }
    return -1;
}

TEST_F(DaqCardChannels, ListsAreTakenApartInTheirOrder)
{
    const struct
    {
        Kind kind;
        const char *list;
        const char *channels;
    } rows[] = {
        {Kind::output, "Dev1/ao0:3", "Dev1/ao0,Dev1/ao1,Dev1/ao2,Dev1/ao3"},
        {Kind::output, "/Dev1/ao0:ao1", "Dev1/ao0,Dev1/ao1"},
        {Kind::output, "RWQS/AO2, /GALVODAQ/ao0", "RWQS/ao2,GALVODAQ/ao0"},
        {Kind::output, "My Card-2/ao1:0", "My Card-2/ao1,My Card-2/ao0"},
        {Kind::input, "Dev1/ai5,Dev1/ai0:1", "Dev1/ai5,Dev1/ai0,Dev1/ai1"},
        {Kind::input, "Dev1/_ao0_vs_aognd", "Dev1/_ao0_vs_aognd"},
        {Kind::input, "Dev1/_aognd_vs_aognd", "Dev1/_aognd_vs_aognd"},
        {Kind::lines, "Dev1/port0/line0:7", "Dev1/port0/line0:7"},
        {Kind::lines, "/dev1/PORT1", "/dev1/PORT1"},
    };
    for (const auto &row : rows) {
        ZVC_Task task = MakeTask();
        EXPECT_EQ(AddChannels(task, row.kind, row.list), 0) << row.list;
        EXPECT_STREQ(InfoOf(task).channels, row.channels);
    }
}

TEST_F(DaqCardChannels, WhatNamesNoChannelIsRefused)
{
    const struct
    {
        Kind kind;
        const char *list;
    } rows[] = {
        {Kind::output, ""},           {Kind::output, "Dev1"},
        {Kind::output, "Dev1/"},      {Kind::output, "/ao0"},
        {Kind::output, "Dev1/ao"},    {Kind::output, "Dev1/ao0:"},
        {Kind::output, "Dev1/ao:3"},  {Kind::output, "Dev1/ao0,"},
        {Kind::output, "Dev1/ai0"},   {Kind::output, "Dev1/ao-1"},
        {Kind::output, "Dev1/ao32"},  {Kind::output, "Dev1/ao0:99999999999"},
        {Kind::output, "Dev1//ao0"},  {Kind::output, "D%n/ao0"},
        {Kind::output, "Dev1/ao0/1"}, {Kind::output, "Dev1/port0/line0"},
        {Kind::input, "Dev1/ao0"},    {Kind::input, "Dev1/_ao0"},
        {Kind::input, "Dev1/ai80"},   {Kind::input, "Dev1/_ao_vs_aognd"},
        {Kind::lines, "Dev1/port0/"}, {Kind::lines, "Dev1/port0/line32"},
        {Kind::lines, "Dev1/line0"},  {Kind::lines, "Dev1/port0:1/line0"},
        {Kind::lines, "Dev1/port12"}, {Kind::lines, "Dev1/port0/line0/line1"},
    };
    for (const auto &row : rows) {
        ZVC_Task task = MakeTask();
        EXPECT_EQ(AddChannels(task, row.kind, row.list), -200170) << row.list;
        EXPECT_EQ(InfoOf(task).kind, ZVC_EMPTY);
    }
    EXPECT_EQ(AddChannels(MakeTask(), Kind::output, nullptr), -200604);
}

TEST_F(DaqCardChannels, OnlyTheDevicesNamedExistOnceSomeAreNamed)
{
    ASSERT_EQ(ZVC_SetDevices("Dev1, RWQS"), ZVC_OK);
    EXPECT_EQ(AddChannels(MakeTask(), Kind::output, "rwqs/ao0"), 0);
    EXPECT_EQ(AddChannels(MakeTask(), Kind::output, "Dev1/ao0,Dev2/ao0"), -200220);
    ASSERT_EQ(ZVC_SetDevices(nullptr), ZVC_OK);
    EXPECT_EQ(AddChannels(MakeTask(), Kind::output, "Dev2/ao0"), 0);
}

TEST_F(DaqCardChannels, AChannelIsInATaskOnce)
{
    ZVC_Task task = MakeTask();
    ASSERT_EQ(AddChannels(task, Kind::output, "Dev1/ao0"), 0);
    EXPECT_EQ(AddChannels(task, Kind::output, "Dev1/ao1,DEV1/AO0"), -200489);
    EXPECT_STREQ(InfoOf(task).channels, "Dev1/ao0");
    EXPECT_EQ(AddChannels(MakeTask(), Kind::lines, "Dev1/port0/line0:3,Dev1/port0/line2"), -200489);
}

TEST_F(DaqCardChannels, ATaskHasChannelsOfOneKind)
{
    ZVC_Task task = MakeTask();
    ASSERT_EQ(AddChannels(task, Kind::output, "Dev1/ao0"), 0);
    EXPECT_EQ(AddChannels(task, Kind::input, "Dev1/ai0"), -200077);
    EXPECT_EQ(AddChannels(task, Kind::lines, "Dev1/port0"), -200077);
    EXPECT_STREQ(InfoOf(task).channels, "Dev1/ao0");
}

TEST_F(DaqCardChannels, WhatCannotBeSetIsRefused)
{
    ZVC_Task task = MakeTask();
    EXPECT_EQ(DAQmxCreateAOVoltageChan(task, "Dev1/ao0", "", 1.0, 1.0, kVolts, ""), -200077);
    EXPECT_EQ(DAQmxCreateAOVoltageChan(task, "Dev1/ao0", "", 0.0, 1.0, 10065, ""), -200077);
    EXPECT_EQ(DAQmxCreateAOVoltageChan(task, "Dev1/ao0", "", 0.0, 1.0, kVolts, "mine"), -200077);
    EXPECT_EQ(DAQmxCreateAIVoltageChan(task, "Dev1/ai0", "", 7, 0.0, 1.0, kVolts, ""), -200077);
    EXPECT_EQ(DAQmxCreateDOChan(task, "Dev1/port0", "", 2), -200077);
    EXPECT_EQ(InfoOf(task).kind, ZVC_EMPTY);
}

TEST_F(DaqCardChannels, TheSettingsCanBeReadBack)
{
    ZVC_Task task = MakeTask();
    ASSERT_EQ(DAQmxCreateAOVoltageChan(task, "Dev1/ao0:1", "", -5.0, 5.5, kVolts, ""), 0);
    ASSERT_EQ(DAQmxCfgSampClkTiming(task, "/Dev1/PFI1", 12500.0, kFalling, kContinuous, 5000), 0);
    ASSERT_EQ(DAQmxSetChanAttribute(task, "Dev1/ao0:1", kAttributeTransferCondition, kMemoryEmpty),
              0);
    ASSERT_EQ(DAQmxSetChanAttribute(task, "Dev1/ao0:1", kAttributeUsbRequestSize, 0x1833), 0);
    ASSERT_EQ(DAQmxSetWriteAttribute(task, kAttributeRelativeTo, kFromFirstSample), 0);
    ASSERT_EQ(DAQmxCfgDigEdgeStartTrig(task, "pfi2", kFalling), 0);

    ZVC_TaskInfo info = InfoOf(task);

    EXPECT_EQ(info.kind, ZVC_OUTPUT);
    EXPECT_EQ(info.channelCount, 2);
    EXPECT_EQ(info.minVolts, -5.0);
    EXPECT_EQ(info.maxVolts, 5.5);
    EXPECT_EQ(info.timed, 1);
    EXPECT_STREQ(info.clockSource, "/Dev1/PFI1");
    EXPECT_EQ(info.rate, 12500.0);
    EXPECT_EQ(info.clockEdge, kFalling);
    EXPECT_EQ(info.mode, kContinuous);
    EXPECT_EQ(info.samples, 5000U);
    EXPECT_EQ(info.transferCondition, kMemoryEmpty);
    EXPECT_EQ(info.usbRequestSize, 0x1833U);
    EXPECT_EQ(info.regeneration, kRegeneration);
    EXPECT_EQ(info.relativeTo, kFromFirstSample);
    EXPECT_STREQ(info.triggerSource, "pfi2");
    EXPECT_EQ(info.triggerEdge, kFalling);

    ASSERT_EQ(DAQmxSetTrigAttribute(task, kAttributeStartTrigger, kNoTrigger), 0);
    EXPECT_STREQ(InfoOf(task).triggerSource, "");
    EXPECT_EQ(ZVC_GetTask(1, &info), ZVC_NOT_THERE);
    EXPECT_EQ(ZVC_GetTask(-1, &info), ZVC_NOT_THERE);
    EXPECT_EQ(ZVC_GetTask(0, nullptr), ZVC_BAD_ARGUMENT);
}

TEST_F(DaqCardChannels, TerminalsAreTakenWithOrWithoutSlashAndDevice)
{
    ZVC_Task task = MakeInput();
    for (const char *good : {"/Dev1/PFI1", "Dev1/pfi1", "PFI15", "/RWQS/ai/StartTrigger",
                             "OnboardClock", "Dev1/ao/SampleClock"})
    {
        EXPECT_EQ(DAQmxCfgDigEdgeStartTrig(task, good, kRising), 0) << good;
        EXPECT_EQ(DAQmxCfgSampClkTiming(task, good, 1000.0, kRising, kFinite, 10), 0) << good;
    }
    for (const char *bad :
         {"/Dev1/", "Dev1", "/PFI", "PFI16", "Dev1/pfi1/pfi2", "//PFI1", "a,b", "Dev%/PFI1"})
    {
        EXPECT_EQ(DAQmxCfgDigEdgeStartTrig(task, bad, kRising), -89120) << bad;
        EXPECT_EQ(DAQmxCfgSampClkTiming(task, bad, 1000.0, kRising, kFinite, 10), -89120) << bad;
    }
    EXPECT_EQ(DAQmxCfgDigEdgeStartTrig(task, "", kRising),
              -89120);  // but the clock's "" is its own
    EXPECT_EQ(DAQmxCfgSampClkTiming(task, "", 1000.0, kRising, kFinite, 10), 0);
    EXPECT_EQ(DAQmxCfgSampClkTiming(task, nullptr, 1000.0, kRising, kFinite, 10), 0);
    EXPECT_EQ(DAQmxCfgDigEdgeStartTrig(task, nullptr, kRising), -200604);
    EXPECT_EQ(DAQmxCfgDigEdgeStartTrig(task, "PFI0", 1), -200077);
}

TEST_F(DaqCardChannels, AClockThatCannotRunIsRefusedAndTheOldOneKept)
{
    ZVC_Task task = MakeInput("Dev1/ai0:3", 100, 2000.0);
    for (const double bad : {0.0, -1.0, 250001.0, std::nan("")})
        EXPECT_EQ(DAQmxCfgSampClkTiming(task, "", bad, kRising, kFinite, 10), -200077) << bad;
    EXPECT_EQ(DAQmxCfgSampClkTiming(task, "", 1000.0, 7, kFinite, 10), -200077);
    EXPECT_EQ(DAQmxCfgSampClkTiming(task, "", 1000.0, kRising, 7, 10), -200077);
    EXPECT_EQ(DAQmxCfgSampClkTiming(task, "", 1000.0, kRising, kFinite, 0), -200077);
    EXPECT_EQ(InfoOf(task).rate, 2000.0);
    EXPECT_EQ(DAQmxCfgSampClkTiming(MakeLines(), "", 1000.0, kRising, kFinite, 10), -200479);
}

TEST_F(DaqCardChannels, TheLargestRateIsSharedByTheChannels)
{
    double rate = 0.0;
    ASSERT_EQ(DAQmxGetSampClkMaxRate(MakeInput("Dev1/ai0"), &rate), 0);
    EXPECT_EQ(rate, 1e6);
    ASSERT_EQ(DAQmxGetSampClkMaxRate(MakeInput("Dev1/ai0:3"), &rate), 0);
    EXPECT_EQ(rate, 250000.0);

    ASSERT_EQ(ZVC_SetMaxRate(1.25e6, 7e5), ZVC_OK);
    ASSERT_EQ(DAQmxGetSampClkMaxRate(MakeInput("Dev1/ai0"), &rate), 0);
    EXPECT_EQ(rate, 1.25e6);
    ASSERT_EQ(DAQmxGetSampClkMaxRate(MakeInput("Dev1/ai0:6"), &rate), 0);
    EXPECT_EQ(rate, 1e5);
    EXPECT_EQ(ZVC_SetMaxRate(0.0, 1.0), ZVC_BAD_ARGUMENT);
    EXPECT_EQ(DAQmxGetSampClkMaxRate(MakeInput(), nullptr), -200604);
}

TEST_F(DaqCardChannels, TheSampleRateIsSetAndReadAsADouble)
{
    ZVC_Task task = MakeStream({.samples = 400, .rate = 1000.0});
    ASSERT_EQ(DAQmxSetTimingAttribute(task, kAttributeSampleRate, 4000.5), 0);
    double rate = 0.0;
    ASSERT_EQ(DAQmxGetTimingAttribute(task, kAttributeSampleRate, &rate), 0);
    EXPECT_EQ(rate, 4000.5);
    EXPECT_EQ(DAQmxSetTimingAttribute(task, kAttributeSampleRate, -1.0), -200077);
    EXPECT_EQ(DAQmxGetTimingAttribute(task, kAttributeSampleRate, nullptr), -200604);
}

TEST_F(DaqCardChannels, ARateIsDividedFromTheTimebaseWhenThereIsOne)
{
    ASSERT_EQ(ZVC_SetTimebase(1e5), ZVC_OK);
    ZVC_Task task = MakeStream({.rate = 3000.0});
    double rate = 0.0;
    ASSERT_EQ(DAQmxGetTimingAttribute(task, kAttributeSampleRate, &rate), 0);
    EXPECT_DOUBLE_EQ(rate, 1e5 / 33.0);
    ASSERT_EQ(DAQmxSetTimingAttribute(task, kAttributeSampleRate, 4e5), 0);
    ASSERT_EQ(DAQmxGetTimingAttribute(task, kAttributeSampleRate, &rate), 0);
    EXPECT_EQ(rate, 1e5);
}

TEST_F(DaqCardChannels, AnUnknownAttributeAndOneOutOfPlaceAreTwoAnswers)
{
    ZVC_Task output = MakeStream();
    ZVC_Task input = MakeInput("Dev1/ai0");
    double rate = 0.0;
    EXPECT_EQ(DAQmxSetChanAttribute(output, "", 0x1234, 1), -200197);
    EXPECT_EQ(DAQmxSetWriteAttribute(output, 0x1234, 1), -200197);
    EXPECT_EQ(DAQmxSetTrigAttribute(output, 0x1234, 1), -200197);
    EXPECT_EQ(DAQmxSetTimingAttribute(output, 0x1234, 1.0), -200197);
    EXPECT_EQ(DAQmxGetTimingAttribute(output, 0x1234, &rate), -200197);

    EXPECT_EQ(DAQmxSetChanAttribute(input, "", kAttributeTransferCondition, kMemoryEmpty), -200452);
    EXPECT_EQ(DAQmxSetChanAttribute(input, "", kAttributeUsbRequestSize, 1), -200452);
    EXPECT_EQ(DAQmxSetWriteAttribute(input, kAttributeRegeneration, kRegeneration), -200452);
    EXPECT_EQ(DAQmxSetWriteAttribute(input, kAttributeRelativeTo, kFromFirstSample), -200452);
    EXPECT_EQ(DAQmxSetTimingAttribute(input, kAttributeSampleRate, 1.0), -200452);  // no clock
    EXPECT_EQ(DAQmxGetTimingAttribute(input, kAttributeSampleRate, &rate), -200452);
}

TEST_F(DaqCardChannels, ACardThatIsNotOnUsbDoesNotKnowTheSizeOfARequest)
{
    ASSERT_EQ(ZVC_SetUsb(0), ZVC_OK);
    ZVC_Task task = MakeStream();
    EXPECT_EQ(DAQmxSetChanAttribute(task, "", kAttributeUsbRequestSize, 0x1833), -200452);
    EXPECT_EQ(InfoOf(task).usbRequestSize, 0U);
}

TEST_F(DaqCardChannels, AnAttributeGoesToChannelsOfTheTaskOnly)
{
    ZVC_Task task = MakeTask();
    ASSERT_EQ(DAQmxCreateAOVoltageChan(task, "Dev1/ao0:1", "mirror", 0.0, 1.0, kVolts, ""), 0);
    EXPECT_EQ(DAQmxSetChanAttribute(task, "mirror1, MIRROR0", kAttributeUsbRequestSize, 9), 0);
    EXPECT_EQ(DAQmxSetChanAttribute(task, "/dev1/ao0:1", kAttributeUsbRequestSize, 9), 0);
    EXPECT_EQ(DAQmxSetChanAttribute(task, "Dev1/ao2", kAttributeUsbRequestSize, 8), -200486);
    EXPECT_EQ(DAQmxSetChanAttribute(task, "Dev1/ao0:2", kAttributeUsbRequestSize, 8), -200486);
    EXPECT_EQ(DAQmxSetChanAttribute(task, "mirror2", kAttributeUsbRequestSize, 8), -200486);
    EXPECT_EQ(InfoOf(task).usbRequestSize, 9U);
    EXPECT_EQ(DAQmxSetChanAttribute(task, "", kAttributeTransferCondition, 7), -200077);
    EXPECT_EQ(DAQmxSetChanAttribute(task, "", kAttributeUsbRequestSize, 0), -200077);
    EXPECT_EQ(DAQmxSetWriteAttribute(task, kAttributeRegeneration, 7), -200077);
    EXPECT_EQ(DAQmxSetWriteAttribute(task, kAttributeRelativeTo, 7), -200077);
    EXPECT_EQ(DAQmxSetTrigAttribute(task, kAttributeStartTrigger, 7), -200077);
}

TEST_F(DaqCardChannels, ARunningTaskIsNotConfigured)
{
    ZVC_Task task = StartStream();
    EXPECT_EQ(DAQmxCfgSampClkTiming(task, "", 500.0, kRising, kContinuous, 100), -200479);
    EXPECT_EQ(DAQmxCfgOutputBuffer(task, 50), -200479);
    EXPECT_EQ(DAQmxCfgDigEdgeStartTrig(task, "PFI0", kRising), -200479);
    EXPECT_EQ(DAQmxSetTrigAttribute(task, kAttributeStartTrigger, kNoTrigger), -200479);
    EXPECT_EQ(DAQmxSetTimingAttribute(task, kAttributeSampleRate, 500.0), -200479);
    EXPECT_EQ(DAQmxSetChanAttribute(task, "", kAttributeTransferCondition, kMemoryEmpty), -200479);
    EXPECT_EQ(AddChannels(task, Kind::output, "Dev1/ao1"), -200479);
    EXPECT_EQ(DAQmxSetWriteAttribute(task, kAttributeRegeneration, kRegeneration), -200568);
    EXPECT_EQ(InfoOf(task).regeneration, kNoRegeneration);
    EXPECT_EQ(InfoOf(task).rate, 1000.0);
}
