#include "force_fixture.h"

#include <cstring>

using ForceInit = ForceTest;
using Calls = std::vector<std::string>;

static int32_t InitStatus()
{
    int32_t status = 77;
    EXPECT_EQ(ZVK_Force_GetInitStatus(0, &status), 0);
    return status;
}

TEST_F(ForceInit, AsksTheCardForTheFastestRateOfTheReferenceChannelAlone)
{
    WriteConfig();
    card->SetMaxRate(250000.0);
    EXPECT_EQ(ZVK_Force_Init(640, 1, 1), 0);
    EXPECT_EQ(card->Calls(), (Calls{"createTask(t1, \"ForceTask\")",
                                    "createAIVoltageChan(t1, \"/Dev2/ai3\", \"\", 10106, -10, 10, "
                                    "10348, null)",
                                    "getSampClkMaxRate(t1)", "clearTask(t1)"}));
    double rate = 0.0;
    EXPECT_EQ(ZVK_Force_GetMaxSampleRateSingleChannel(0, &rate), 0);
    EXPECT_EQ(rate, 250000.0);
    EXPECT_EQ(InitStatus(), 1);
    EXPECT_STREQ(g_force.ChannelsA, "/Dev2/ai0:2");
    EXPECT_STREQ(g_force.ChannelsB, "/Dev2/ai4:6");
    EXPECT_STREQ(g_force.ChannelT, "/Dev2/ai3");
    EXPECT_STREQ(g_force.TriggerChannelExternal, "/Dev2//Dev2/PFI1");
    EXPECT_STREQ(g_force.TriggerChannelInternal, "/Dev2//Dev2/PFI2");
    EXPECT_EQ(g_force.TriggerType, 1);
    EXPECT_EQ(g_force.TriggerEdge, 10280);
    EXPECT_EQ(g_force.TaskHandle, nullptr);
}

TEST_F(ForceInit, ASecondOneAnswers1100AndTouchesNothing)
{
    BringUp();
    folder.Remove("config.ini");
    EXPECT_EQ(ZVK_Force_Init(0, 0, 0), ZVK_FORCE_ALREADY_INITIALIZED);
    EXPECT_EQ(ZVK_FORCE_ALREADY_INITIALIZED, 1100);
    EXPECT_TRUE(card->Calls().empty());
}

TEST_F(ForceInit, WithoutACardOrSimulatedReadsTwoKeysAndSucceeds)
{
    folder.Write("config.ini", "[FORCE]\r\nMI = 0\r\nSIMULATE = 0\r\n");
    EXPECT_EQ(ZVK_Force_Init(0, 0, 0), 0);
    EXPECT_EQ(InitStatus(), -1);
    ResetForce();
    folder.Write("config.ini", "[FORCE]\r\nMI = 1\r\nSIMULATE = 1\r\n");
    EXPECT_EQ(ZVK_Force_Init(0, 0, 0), 0);
    EXPECT_EQ(InitStatus(), 2);
    EXPECT_TRUE(card->Calls().empty());
    double rate = -1.0;
    ZVK_Force_GetMaxSampleRateSingleChannel(0, &rate);
    EXPECT_EQ(rate, 0.0);
}

TEST_F(ForceInit, EachMissingKeyEndsItWithTheStatusOfTheRead)
{
    for (const char *key :
         {"MI", "SIMULATE", "DAQNAME", "DAQCHANNELSA", "DAQCHANNELSB", "DAQCHANNELST",
          "DAQCHANNELSTDE", "DAQCHANNELSTDI", "TRIGGERINPUT", "TRIGGEREDGE"})
    {
        ResetForce();
        WriteConfig({{key, "-"}});
        EXPECT_EQ(ZVK_Force_Init(0, 0, 0), ZVK_CONFILE_NOT_FOUND) << key;
        EXPECT_EQ(InitStatus(), 0) << key;
        EXPECT_TRUE(card->Calls().empty()) << key;
    }
    EXPECT_EQ(g_force.Installed, 1) << "what stands before it is kept";
}

TEST_F(ForceInit, TheEdgeKeyIsZeroOrOne)
{
    WriteConfig({{"TRIGGEREDGE", "1"}});
    EXPECT_EQ(ZVK_Force_Init(0, 0, 0), 0);
    EXPECT_EQ(g_force.TriggerEdge, 10171);
    for (const char *edge : {"2", "-1", "10280"}) {
        ResetForce();
        card->ForgetCalls();
        WriteConfig({{"TRIGGEREDGE", edge}});
        EXPECT_EQ(ZVK_Force_Init(0, 0, 0), ZVK_FORCE_BAD_TRIGGER_EDGE);
        EXPECT_EQ(g_force.TriggerEdge, 10280);
        EXPECT_TRUE(card->Calls().empty());
    }
}

TEST_F(ForceInit, ChannelTextsAreCutAt256Characters)
{
    const std::string longText(255, 'x');
    WriteConfig({{"DAQCHANNELST", "\"" + longText + "\""}});
    EXPECT_EQ(ZVK_Force_Init(0, 0, 0), 0);
    EXPECT_EQ(std::strlen(g_force.ChannelT), 256U);
    EXPECT_EQ(std::string(g_force.ChannelT).substr(0, 8), "/Dev2/xx");
}

TEST_F(ForceInit, EachRefusalOfTheCardIs1212AndLeavesNoTask)
{
    for (int nth = 1; nth <= 4; ++nth) {
        ResetForce();
        card->ForgetCalls();
        g_force.Busy = 1;
        WriteConfig();
        card->FailAt(nth);
        EXPECT_EQ(ZVK_Force_Init(0, 0, 0), ZVK_FORCE_DAQ_FAILED) << nth;
        EXPECT_EQ(g_force.Busy, 0);
        EXPECT_EQ(g_force.TaskHandle, nullptr);
        EXPECT_EQ(InitStatus(), 0);
        EXPECT_EQ(card->OpenTasks(), 0) << nth;
    }
}

TEST_F(ForceInit, AWarningCountsOnlyWhenItIsTheLastAnswer)
{
    WriteConfig();
    card->FailAt(2, 200010);
    EXPECT_EQ(ZVK_Force_Init(0, 0, 0), 0);
    ResetForce();
    card->FailAt(4, 200010);
    EXPECT_EQ(ZVK_Force_Init(0, 0, 0), ZVK_FORCE_DAQ_FAILED);
    EXPECT_EQ(card->OpenTasks(), 0);
}

TEST_F(ForceInit, TheTriggerCallAnswersInSimulationBeforeAllChecks)
{
    g_force.Simulate = 1;
    EXPECT_EQ(ZVK_Force_ConfigureTrigger(0, 99, 99), 0);
    EXPECT_EQ(g_force.TriggerType, 0);
}

TEST_F(ForceInit, TheTriggerCallChecksInit_Edge_ThenType)
{
    EXPECT_EQ(ZVK_Force_ConfigureTrigger(0, 99, 1), ZVK_FORCE_NOT_INITIALIZED);
    BringUp();
    EXPECT_EQ(ZVK_Force_ConfigureTrigger(0, 99, 1), ZVK_FORCE_BAD_TRIGGER_EDGE);
    EXPECT_EQ(g_force.TriggerType, 1) << "nothing stored";
    EXPECT_EQ(ZVK_Force_ConfigureTrigger(0, 99, 10171), ZVK_FORCE_BAD_TRIGGER_TYPE);
    EXPECT_EQ(g_force.TriggerType, 99) << "stored all the same";
    EXPECT_EQ(g_force.TriggerEdge, 10171);
    EXPECT_EQ(ZVK_Force_ConfigureTrigger(0, 3, 10280), ZVK_FORCE_BAD_TRIGGER_TYPE);
}

TEST_F(ForceInit, TheTriggerGoesToTheCardOnlyWhileATaskExists)
{
    BringUp();
    EXPECT_EQ(ZVK_Force_ConfigureTrigger(0, 4, 10280), 0);
    EXPECT_EQ(ZVK_Force_ConfigureTrigger(0, 2, 10280), 0);
    EXPECT_EQ(ZVK_Force_ConfigureTrigger(0, 1, 10280), 0);
    EXPECT_TRUE(card->Calls().empty());

    HandedBlock data;
    EXPECT_EQ(ZVK_Force_Acquire(0, -2.0, 1000, 1.0, &data, 4, nullptr), ZVK_FORCE_BAD_SAMPLE_RATE);
    card->ForgetCalls();
    card->FailAt(1);
    EXPECT_EQ(ZVK_Force_ConfigureTrigger(0, 4, 10171), 0) << "the card's answer is not reported";
    EXPECT_EQ(ZVK_Force_ConfigureTrigger(0, 2, 10280), 0);
    EXPECT_EQ(ZVK_Force_ConfigureTrigger(0, 1, 10280), 0);
    EXPECT_EQ(card->Calls(), (Calls{"cfgDigEdgeStartTrig(t2, \"/Dev2/PFI1\", 10171)",
                                    "cfgDigEdgeStartTrig(t2, \"/Dev2/PFI2\", 10280)",
                                    "setTrigAttribute(t2, 0x1393, 10230)"}));
}

TEST_F(ForceInit, ATerminalThatCantBeReadIsReported)
{
    BringUp();
    WriteConfig({{"DAQCHANNELSTDE", "-"}});
    EXPECT_EQ(ZVK_Force_ConfigureTrigger(0, 4, 10171), ZVK_CONFILE_NOT_FOUND);
    EXPECT_EQ(g_force.TriggerType, 4);
    EXPECT_EQ(ZVK_Force_ConfigureTrigger(0, 2, 10171), 0);
}

TEST_F(ForceInit, ShutdownEndsATaskThatWasLeftOpenAndNothingElse)
{
    EXPECT_EQ(ZVK_Force_Shutdown(0), 0);
    BringUp();
    EXPECT_EQ(ZVK_Force_Shutdown(0), 0);
    EXPECT_TRUE(card->Calls().empty());
    HandedBlock data;
    EXPECT_EQ(ZVK_Force_Acquire(0, -2.0, 1000, 1.0, &data, 4, nullptr), ZVK_FORCE_BAD_SAMPLE_RATE);
    card->ForgetCalls();
    EXPECT_EQ(ZVK_Force_Shutdown(0), 0);
    EXPECT_EQ(card->Calls(), (Calls{"stopTask(t2)", "clearTask(t2)"}));
    EXPECT_EQ(InitStatus(), 1) << "it stays initialized";
    EXPECT_EQ(g_force.Busy, 1) << "and busy";
}

TEST_F(ForceInit, NullOutputsArePassedOver)
{
    EXPECT_EQ(ZVK_Force_GetInitStatus(0, nullptr), 0);
    EXPECT_EQ(ZVK_Force_GetMaxSampleRateSingleChannel(0, nullptr), 0);
}

TEST_F(ForceInit, TheStatusAsksForInitThenForTheCardThenForSimulation)
{
    g_force.Simulate = 1;
    EXPECT_EQ(InitStatus(), 0);
    g_force.Initialised = 1;
    EXPECT_EQ(InitStatus(), -1);
    g_force.Installed = 1;
    EXPECT_EQ(InitStatus(), 2);
    g_force.Simulate = 0;
    EXPECT_EQ(InitStatus(), 1);
}

TEST_F(ForceInit, ShutdownTouchesNoTaskOfAModuleThatIsNotUpOnACard)
{
    BringUp();
    HandedBlock data;
    EXPECT_EQ(ZVK_Force_Acquire(0, -2.0, 1000, 1.0, &data, 4, nullptr), ZVK_FORCE_BAD_SAMPLE_RATE);
    card->ForgetCalls();
    for (int32_t *field : {&g_force.Initialised, &g_force.Installed}) {
        *field = 0;
        EXPECT_EQ(ZVK_Force_Shutdown(0), 0);
        *field = 1;
    }
    g_force.Simulate = 1;
    EXPECT_EQ(ZVK_Force_Shutdown(0), 0);
    g_force.Simulate = 0;
    EXPECT_TRUE(card->Calls().empty());
    EXPECT_EQ(card->OpenTasks(), 1);
}

TEST_F(ForceInit, TheTriggerOfTheKeysIsTheOneThatAcquisitionsUse)
{
    WriteConfig({{"TRIGGERINPUT", "2"}, {"TRIGGEREDGE", "1"}});
    ASSERT_EQ(ZVK_Force_Init(0, 0, 0), 0);
    card->ForgetCalls();
    HandedBlock data;
    EXPECT_EQ(ZVK_Force_Acquire(0, -1.0, 1000, 1.0, &data, 4, nullptr), 0);
    EXPECT_EQ(card->Calls()[4], "cfgDigEdgeStartTrig(t2, \"/Dev2/PFI2\", 10171)");
}

TEST_F(ForceInit, ATriggerOfTheKeysThatDoesNotExistFailsEachAcquisition)
{
    WriteConfig({{"TRIGGERINPUT", "0"}});
    ASSERT_EQ(ZVK_Force_Init(0, 0, 0), 0) << "it is not looked at here";
    HandedBlock data;
    EXPECT_EQ(ZVK_Force_Acquire(0, -1.0, 1000, 1.0, &data, 4, nullptr), ZVK_FORCE_BAD_TRIGGER_TYPE);
}
