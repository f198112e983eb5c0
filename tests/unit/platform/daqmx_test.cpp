// The loader of the card's library, and the card that writes down what it is told.

#include "platform/daqmx.h"

#include "platform/daqmx_loader.h"
#include "recording_daq.h"

#include <thread>

using Calls = std::vector<std::string>;

static std::string ReasonFor(const char *library)
{
    ZVK_DaqTable table{};
    char reason[512] = "";
    EXPECT_FALSE(LoadDaq(library, table, reason, sizeof reason));
    EXPECT_EQ(table.createTask, nullptr) << "all entries or none";
    EXPECT_EQ(table.getTimingAttribute, nullptr) << "all entries or none";
    return reason;
}

TEST(DaqLoader, MissingLibraryIsNamedWithTheVariable)
{
    const std::string reason = ReasonFor("libno-such-card.so.1");
    EXPECT_NE(reason.find("libno-such-card.so.1"), std::string::npos) << reason;
    EXPECT_NE(reason.find("ZVK_DAQMX_LIBRARY"), std::string::npos) << reason;
}

TEST(DaqLoader, LibraryThatLacksACallIsRefusedWhole)
{
    const std::string reason = ReasonFor("libm.so.6");
    EXPECT_NE(reason.find("libm.so.6"), std::string::npos) << reason;
    EXPECT_NE(reason.find("DAQmxCreateTask"), std::string::npos) << reason;
    EXPECT_NE(reason.find("ZVK_DAQMX_LIBRARY"), std::string::npos) << reason;
}

TEST(DaqLoader, AReasonIsCutToItsBuffer)
{
    ZVK_DaqTable table{};
    char reason[8];
    std::memset(reason, 'x', sizeof reason);
    EXPECT_FALSE(LoadDaq("libno-such-card.so.1", table, reason, sizeof reason));
    EXPECT_EQ(reason[7], '\0');
}

TEST(AbsentDaq_, EveryEntryAnswersAbsent)
{
    const ZVK_DaqTable table = AbsentDaq("no card");
    ZVK_DaqTask task = nullptr;
    double value = 0.0;
    int32_t count = 0;
    uint32_t lines = 0;
    const int32_t answers[] = {
        table.createTask("", &task),
        table.startTask(task),
        table.stopTask(task),
        table.clearTask(task),
        table.createAIVoltageChan(task, "", "", 0, 0.0, 0.0, 0, nullptr),
        table.createAOVoltageChan(task, "", "", 0.0, 0.0, 0, nullptr),
        table.createDOChan(task, "", "", 0),
        table.cfgSampClkTiming(task, "", 0.0, 0, 0, 0),
        table.cfgDigEdgeStartTrig(task, "", 0),
        table.cfgOutputBuffer(task, 0),
        table.getSampClkMaxRate(task, &value),
        table.readAnalogF64(task, 1, 0.0, 0, &value, 1, &count, nullptr),
        table.writeAnalogF64(task, 1, 0, 0.0, 0, &value, &count, nullptr),
        table.writeAnalogScalarF64(task, 0, 0.0, 0.0, nullptr),
        table.readDigitalScalarU32(task, 0.0, &lines, nullptr),
        table.writeDigitalScalarU32(task, 0, 0.0, 0, nullptr),
        table.registerEveryNSamplesEvent(task, 0, 0, 0, nullptr, nullptr),
        table.setChanAttribute(task, "", 0, 1),
        table.setWriteAttribute(task, 0, 1),
        table.setTrigAttribute(task, 0, 1),
        table.setTimingAttribute(task, ZVK_DAQ_SAMPLE_CLOCK_RATE, 1.0),
        table.getTimingAttribute(task, ZVK_DAQ_SAMPLE_CLOCK_RATE, &value),
    };
    EXPECT_EQ(std::size(answers) + 1, sizeof(ZVK_DaqTable) / sizeof(void *));
    for (const int32_t answer : answers)
        EXPECT_EQ(answer, ZVK_DAQ_ABSENT);
}

TEST(AbsentDaq_, ErrorTextIsTheReasonCutToTheBuffer)
{
    const ZVK_DaqTable table = AbsentDaq("no card");
    char whole[32] = "";
    char cut[4] = "";
    EXPECT_EQ(table.getExtendedErrorInfo(whole, sizeof whole), 0);
    EXPECT_STREQ(whole, "no card");
    EXPECT_EQ(table.getExtendedErrorInfo(cut, sizeof cut), 0);
    EXPECT_STREQ(cut, "no ");
    EXPECT_LT(table.getExtendedErrorInfo(nullptr, 10), 0);
    EXPECT_LT(table.getExtendedErrorInfo(cut, 0), 0);
    EXPECT_STREQ(cut, "no ");
}

TEST(RecordingDaq_, WritesDownEachCallWithItsArguments)
{
    RecordingDaq card;
    ZVK_DaqTask task = nullptr;
    const double block[4] = {1.0, 2.0, 3.0, 4.0};
    int32_t written = -1;
    double rate = 0.0;
    EXPECT_EQ(Daq().createTask("Galvo", &task), 0);
    EXPECT_EQ(
        Daq().createAOVoltageChan(task, "Dev1/ao0:1", "", -10.0, 10.0, ZVK_DAQ_VOLTS, nullptr), 0);
    EXPECT_EQ(Daq().setChanAttribute(task, "", ZVK_DAQ_AO_TRANSFER_CONDITION,
                                     ZVK_DAQ_ON_BOARD_MEMORY_EMPTY),
              0);
    EXPECT_EQ(Daq().setTimingAttribute(task, ZVK_DAQ_SAMPLE_CLOCK_RATE, 12.5), 0);
    EXPECT_EQ(Daq().getTimingAttribute(task, ZVK_DAQ_SAMPLE_CLOCK_RATE, &rate), 0);
    EXPECT_EQ(Daq().writeAnalogF64(task, 2, 0, 10.0, ZVK_DAQ_BY_CHANNEL, block, &written, nullptr),
              0);
    EXPECT_EQ(Daq().clearTask(task), 0);

    EXPECT_EQ(rate, 12.5);
    EXPECT_EQ(written, 2);
    EXPECT_EQ(card.Blocks(), (std::vector<std::vector<double>>{{1.0, 2.0, 3.0, 4.0}}));
    EXPECT_EQ(card.Calls(),
              (Calls{
                  "createTask(t1, \"Galvo\")",
                  "createAOVoltageChan(t1, \"Dev1/ao0:1\", \"\", -10, 10, 10348, null)",
                  "setChanAttribute(t1, \"\", 0x183C, 10235)",
                  "setTimingAttribute(t1, 0x1344, 12.5)",
                  "getTimingAttribute(t1, 0x1344)",
                  "writeAnalogF64(t1, 2, 0, 10, 0)",
                  "clearTask(t1)",
              }));
    EXPECT_EQ(card.OpenTasks(), 0);
    EXPECT_EQ(card.Misuses(), 0);
}

TEST(RecordingDaq_, FailsTheNthCallOfAnyEntry)
{
    RecordingDaq card;
    card.FailAt(2, -200088);
    ZVK_DaqTask first = nullptr;
    ZVK_DaqTask second = nullptr;
    EXPECT_EQ(Daq().createTask("", &first), 0);
    EXPECT_FALSE(card.Failed());
    EXPECT_EQ(Daq().createTask("", &second), -200088);
    EXPECT_TRUE(card.Failed());
    EXPECT_EQ(second, nullptr);
    EXPECT_EQ(Daq().createTask("", &second), 0);
    EXPECT_EQ(card.OpenTasks(), 2);
}

TEST(RecordingDaq_, FailsTheNthCallOfOneEntry)
{
    RecordingDaq card;
    card.FailCall("startTask", 2);
    ZVK_DaqTask task = nullptr;
    ASSERT_EQ(Daq().createTask("", &task), 0);
    EXPECT_EQ(Daq().startTask(task), 0);
    EXPECT_EQ(Daq().stopTask(task), 0);
    EXPECT_EQ(Daq().startTask(task), kToldDaqFailure);
    char text[32] = "";
    EXPECT_EQ(Daq().getExtendedErrorInfo(text, sizeof text), 0);
    EXPECT_STREQ(text, "told failure");
}

TEST(RecordingDaq_, AWarningIsGivenAndTheCallIsDone)
{
    RecordingDaq card;
    card.FailAt(1, 200010);
    ZVK_DaqTask task = nullptr;
    EXPECT_EQ(Daq().createTask("", &task), 200010);
    EXPECT_NE(task, nullptr);
    EXPECT_EQ(card.OpenTasks(), 1);
}

TEST(RecordingDaq_, ARefusedClearFreesTheTask)
{
    RecordingDaq card;
    ZVK_DaqTask task = nullptr;
    ASSERT_EQ(Daq().createTask("", &task), 0);
    card.FailCall("clearTask", 1);
    EXPECT_EQ(Daq().clearTask(task), kToldDaqFailure);
    EXPECT_EQ(card.OpenTasks(), 0);
    EXPECT_EQ(Daq().stopTask(task), -200088);
    EXPECT_EQ(card.Misuses(), 1);
}

static int32_t CountEvent(ZVK_DaqTask task, int32_t eventType, uint32_t nSamples, void *data)
{
    *static_cast<int *>(data) += 1;
    EXPECT_EQ(eventType, ZVK_DAQ_TRANSFERRED);
    EXPECT_EQ(nSamples, 500u);
    return Daq().clearTask(task);  // allowed inside of the event
}

TEST(RecordingDaq_, FiresTheEventUntilItsTaskIsGone)
{
    RecordingDaq card;
    ZVK_DaqTask task = nullptr;
    int events = 0;
    ASSERT_EQ(Daq().createTask("", &task), 0);
    ASSERT_EQ(
        Daq().registerEveryNSamplesEvent(task, ZVK_DAQ_TRANSFERRED, 500, 0, CountEvent, &events),
        0);
    EXPECT_TRUE(card.HasEvent());
    EXPECT_EQ(card.FireEvent(), 0);
    EXPECT_EQ(card.FireEvent(), 0);
    EXPECT_EQ(events, 1);
    EXPECT_FALSE(card.HasEvent());
}

TEST(RecordingDaq_, ReadsGiveTheSuppliedSamples)
{
    RecordingDaq card;
    card.SupplySamples({1.0, 2.0, 3.0});
    ZVK_DaqTask task = nullptr;
    ASSERT_EQ(Daq().createTask("", &task), 0);
    ASSERT_EQ(Daq().createAIVoltageChan(task, "Dev1/ai0:1,Dev1/ai4", "", ZVK_DAQ_DIFFERENTIAL,
                                        -10.0, 10.0, ZVK_DAQ_VOLTS, nullptr),
              0);
    double out[7] = {};
    int32_t read = 0;
    EXPECT_EQ(Daq().readAnalogF64(task, 2, 10.0, ZVK_DAQ_BY_SCAN, out, 7, &read, nullptr), 0);
    EXPECT_EQ(read, 2);
    EXPECT_EQ(std::vector<double>(out, out + 7), (std::vector<double>{1, 2, 3, 1, 2, 3, 0}));
}
