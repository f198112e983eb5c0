// The frames to and from a motor board, byte for byte, and the search for the boards.

#include "beamexpander_fixture.h"

#include "quorvex/quorvex.h"

using BeamExpanderLink = BeamExpanderTest;

static std::string Bytes(std::initializer_list<int> values)
{
    std::string bytes;
    for (const int value : values)
        bytes += static_cast<char>(value);
    return bytes;
}

TEST_F(BeamExpanderLink, ACommandHasNineBytesWithTheValueHighByteFirstAndTheSumLast)
{
    ports.OfferPorts({});
    (void)m_BeamExpander_SendTMCLCmd(5, 1, 2, 3, 4, 0x41424344);
    EXPECT_EQ(ports.Calls(), (Calls{"flushInput(5)", "flushOutput(5)",
                                    "write(5, \"\\x01\\x02\\x03\\x04"
                                    "ABCD\\x14\")"}));
}

TEST_F(BeamExpanderLink, ANegativeValueIsSentInTwosComplement)
{
    (void)m_BeamExpander_SendTMCLCmd(5, 1, 4, 1, 0, -1);
    EXPECT_EQ(ports.Calls().back(), "write(5, \"\\x01\\x04\\x01\\x00\\xFF\\xFF\\xFF\\xFF\\x02\")");
}

TEST_F(BeamExpanderLink, SendGivesZeroWhateverTheWriteGives)
{
    EXPECT_EQ(m_BeamExpander_SendTMCLCmd(5, 1, 4, 1, 0, 1), 0) << "the port isn't open";
    ports.FailCall("write", 1);
    EXPECT_EQ(m_BeamExpander_SendTMCLCmd(5, 1, 4, 1, 0, 1), 0);
    EXPECT_TRUE(ports.Failed());
}

class BeamExpanderReply : public BeamExpanderTest
{
protected:
    void SetUp() override
    {
        BeamExpanderTest::SetUp();
        BringUp(0);
    }

    int Read() { return m_BeamExpander_GetTMCLResult(kPortOfA, &address, &status, &value); }

    void ExpectUntouched() const
    {
        EXPECT_EQ(address, 77);
        EXPECT_EQ(status, 78);
        EXPECT_EQ(value, 79);
    }

    unsigned char address = 77;
    unsigned char status = 78;
    int32_t value = 79;
};

TEST_F(BeamExpanderReply, GivesAddressStatusAndTheSignedValueAndEmptiesBothQueues)
{
    ports.Supply(kPortOfA, Bytes({9, 1, 101, 6, 0xFF, 0xFF, 0xFF, 0xFE, 0x70}) + "late");
    EXPECT_EQ(Read(), 0);
    EXPECT_EQ(address, 9);
    EXPECT_EQ(status, 101);
    EXPECT_EQ(value, -2);
    const Calls calls = ports.Calls();
    ASSERT_EQ(calls.size(), 3U);
    EXPECT_EQ(calls[1], "flushInput(5)");
    EXPECT_EQ(calls[2], "flushOutput(5)");
    EXPECT_EQ(Read(), ZVK_BEAMEXPANDER_NO_REPLY) << "what came late is gone";
}

TEST_F(BeamExpanderReply, OfFewerThanNineBytesIsNoReply)
{
    const std::string whole = ReplyBytes(6, 1);
    for (size_t count = 0; count < whole.size(); ++count) {
        ports.Supply(kPortOfA, whole.substr(0, count));
        EXPECT_EQ(Read(), ZVK_BEAMEXPANDER_NO_REPLY) << count;
    }
    ExpectUntouched();
}

TEST_F(BeamExpanderReply, WithASumThatIsOffByOneIsBadWhicheverByteItIs)
{
    for (size_t i = 0; i < 9; ++i) {
        std::string damaged = ReplyBytes(6, 1);
        damaged[i] = static_cast<char>(damaged[i] + 1);
        ports.Supply(kPortOfA, damaged);
        EXPECT_EQ(Read(), ZVK_BEAMEXPANDER_BAD_CHECKSUM) << i;
    }
    ExpectUntouched();
}

TEST_F(BeamExpanderReply, ThatCannotBeReadIsNoReply)
{
    ports.Supply(kPortOfA, ReplyBytes(6, 1));
    ports.FailCall("read", 1);
    EXPECT_EQ(Read(), ZVK_BEAMEXPANDER_NO_REPLY);
    ExpectUntouched();
}

TEST_F(BeamExpanderReply, OfARefusalCountsAsAnyOther)
{
    std::string refused = ReplyBytes(4, 10);
    refused[2] = 4;  // wrong value
    refused[8] = static_cast<char>(refused[8] - 96);
    AnswerCommand(kPortOfA, 4, 1, 0, 10, refused);
    EXPECT_EQ(ZVK_BeamExpander_MoveRelative(0, 0, 1, 10), 0);
    EXPECT_EQ(Position(0), 110);
}

static Calls Defaults(const std::string &port)
{
    Calls calls;
    for (const char *setting : {"6 0 = 80", "204 0 = 0", "203 0 = 2048", "4 0 = 100", "4 0 = 80",
                                "138 0 = 0", "5 0 = 100", "7 0 = 0"})
        calls.push_back(port + ": 5 " + setting);
    return calls;
}

TEST_F(BeamExpanderLink, TheSearchOpensAsksAndSetsUpThePathsBoard)
{
    WriteConfig();
    ASSERT_EQ(ZVK_BeamExpander_Init(0, 0, 0, 0), 0);
    const Calls all = ports.Calls();
    const Calls start(all.begin(), all.begin() + 7);
    EXPECT_EQ(start,
              (Calls{"isOpen(5)", "open(5, 9600)", "setTimeout(5, 10)", "flushInput(5)",
                     "flushOutput(5)", "write(5, \"\\x01\\n\\x00\\x02\\x00\\x00\\x00\\x00\\r\")",
                     "read(5, 9) = \"\\x02\\x01d\\n\\x00\\x00\\x00\\x01r\""}));
    Calls commands = Defaults("5");
    commands.insert(commands.begin(), "5: 10 0 2 = 0");
    EXPECT_EQ(Commands(), commands);
    EXPECT_EQ(g_beamExpander[0].comHandle, 5);
    EXPECT_EQ(g_beamExpander[0].maxSpeed, 2047);
    EXPECT_EQ(g_beamExpander[0].speed, 80);
    EXPECT_EQ(Position(0), 100);
    EXPECT_EQ(ports.OpenPorts(), 1);
}

TEST_F(BeamExpanderLink, EachSettingIsSentOnceTheAnswerToTheOneBeforeHasBeenRead)
{
    BringUp(0);
    EXPECT_EQ(ZVK_BeamExpander_SetDefaultValues(0), 0);
    const Calls wire = ports.Wire();
    ASSERT_EQ(wire.size(), 16U);
    for (size_t i = 0; i < wire.size(); i += 2) {
        EXPECT_TRUE(wire[i].starts_with("write(5")) << i;
        EXPECT_TRUE(wire[i + 1].starts_with("read(5")) << i;
    }
}

TEST_F(BeamExpanderLink, ThePortOfTheOtherPathsBoardIsClosedAgainAndTheNextOneKept)
{
    WriteConfig();
    ASSERT_EQ(ZVK_BeamExpander_Init(0, 0, 0, 1), 0);
    EXPECT_EQ(g_beamExpander[1].comHandle, 6);
    const Calls wire = ports.Wire();
    EXPECT_EQ(wire[3], "close(5)");
    EXPECT_EQ(wire[4], "open(6, 9600)");
    EXPECT_EQ(ports.OpenPorts(), 1);
}

TEST_F(BeamExpanderLink, APortThatTheOtherPathUsesStaysOpen)
{
    BringUpBoth();
    EXPECT_EQ(g_beamExpander[0].comHandle, 5);
    EXPECT_EQ(g_beamExpander[1].comHandle, 6);
    EXPECT_EQ(ports.OpenPorts(), 2);
    AnswerMove(5, 10);
    EXPECT_EQ(ZVK_BeamExpander_MoveRelative(0, 0, 1, 10), 0);
}

TEST_F(BeamExpanderLink, ABoardOfNeitherPathEndsTheSearch)
{
    for (const int32_t owner : {3, 0, -1, 256}) {
        ports.ForgetCalls();
        OfferBoard(kPortOfA, owner);
        WriteConfig();
        EXPECT_EQ(ZVK_BeamExpander_Init(0, 0, 0, 1), ZVK_BEAMEXPANDER_BAD_EEPROM_VALUE) << owner;
        EXPECT_EQ(Commands(), Calls{"5: 10 0 2 = 0"}) << "the next port isn't tried";
        EXPECT_EQ(g_beamExpander[1].initialized, 0);
    }
    EXPECT_EQ(ports.OpenPorts(), 1) << "the port that was tried stays open";
    OfferBoards();
    EXPECT_EQ(ZVK_BeamExpander_Init(0, 0, 0, 0), 0) << "a repeat works";
    EXPECT_EQ(ports.OpenPorts(), 1);
}

TEST_F(BeamExpanderLink, APortThatDoesNotAnswerWellEndsTheSearch)
{
    WriteConfig();
    const std::string ask = CommandBytes(10, 0, 2, 0);
    ports.Answer(kPortOfA, ask, "");
    EXPECT_EQ(ZVK_BeamExpander_Init(0, 0, 0, 1), ZVK_BEAMEXPANDER_NO_REPLY);
    std::string damaged = ReplyBytes(10, 1);
    ++damaged[8];
    ports.Answer(kPortOfA, ask, damaged);
    EXPECT_EQ(ZVK_BeamExpander_Init(0, 0, 0, 1), ZVK_BEAMEXPANDER_BAD_CHECKSUM);
    for (const std::string &call : ports.Calls())
        EXPECT_EQ(call.find("(6"), std::string::npos) << call;
    EXPECT_EQ(Log(), "");
}

TEST_F(BeamExpanderLink, APortThatDoesNotOpenIsLoggedAndEndsTheSearch)
{
    WriteConfig();
    ports.FailCall("open", 1);
    EXPECT_EQ(ZVK_BeamExpander_Init(0, 0, 0, 1), ZVK_BEAMEXPANDER_PORT_FAILED);
    EXPECT_EQ(ports.Wire(), Calls{"open(5, 9600)"});
    EXPECT_NE(Log().find("COM Port 5 failed to open.\nError Code: -1"), std::string::npos) << Log();
    EXPECT_EQ(g_beamExpander[1].maxSpeed, 0) << "no board has been reached";
}

TEST_F(BeamExpanderLink, NoPortAndNoBoardOfThePathGiveTheWarningUncaptured)
{
    WriteConfig();
    ports.OfferPorts({"USB Serial Port (COM5)"});
    EXPECT_EQ(ZVK_BeamExpander_Init(0, 0, 0, 0), ZVK_BEAMEXPANDER_NOT_FOUND);
    EXPECT_TRUE(ports.Calls().empty());
    ports.OfferPorts({"TRINAMIC (COM5)"});
    EXPECT_EQ(ZVK_BeamExpander_Init(0, 0, 0, 1), ZVK_BEAMEXPANDER_NOT_FOUND);
    EXPECT_EQ(ports.OpenPorts(), 0);
    EXPECT_EQ(g_beamExpander[1].initialized, 0);
    EXPECT_TRUE(Captured().empty());
}

TEST_F(BeamExpanderLink, OnlyTheFirstTwoPortsOfTheKindAreTried)
{
    WriteConfig();
    OfferBoard(kPortOfB, 1);
    OfferBoard(7, 2);
    ports.OfferPorts({"TRINAMIC (COM5)", "TRINAMIC (COM6)", "TRINAMIC (COM7)"});
    EXPECT_EQ(ZVK_BeamExpander_Init(0, 0, 0, 1), ZVK_BEAMEXPANDER_NOT_FOUND);
    for (const std::string &call : ports.Calls())
        EXPECT_EQ(call.find("(7"), std::string::npos) << call;
}

TEST_F(BeamExpanderLink, ABoardThatFallsSilentAfterItsNumberIsKeptAllTheSame)
{
    WriteConfig();
    ports.ForgetAnswers();
    ports.Answer(kPortOfA, CommandBytes(10, 0, 2, 0), ReplyBytes(10, 1));
    EXPECT_EQ(ZVK_BeamExpander_Init(0, 0, 0, 0), 0);
    EXPECT_EQ(g_beamExpander[0].initialized, 1);
    EXPECT_EQ(g_beamExpander[0].speed, 80);
}
