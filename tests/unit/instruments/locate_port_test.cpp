// The search for serial ports by friendly name.

#include "instruments/locate_port.h"

#include "platform/ports.h"

static std::vector<ZVK_PortEntry> s_ports;
static bool s_listed = true;

static bool ListTestPorts(std::vector<ZVK_PortEntry> &ports)
{
    ports = s_ports;
    return s_listed;
}

struct LocatePort : testing::Test
{
    LocatePort()
    {
        s_ports.clear();
        s_listed = true;
        UsePorts(ListTestPorts);
    }

    ~LocatePort() override { UsePorts(nullptr); }

    static void Offer(const std::vector<std::string> &names)
    {
        s_ports.clear();
        for (const std::string &name : names)
            s_ports.push_back({name, "/dev/none"});
    }

    static int First(const std::string &inval)
    {
        std::string text = inval;
        return ZVK_LocateComPort(text.data(), nullptr, 0);
    }

    static std::vector<int> All(const std::string &inval, int maxnum)
    {
        std::string text = inval;
        std::vector<int> list(static_cast<size_t>(maxnum) + 1, -1);
        const int count = ZVK_LocateComPort(text.data(), list.data(), maxnum);
        EXPECT_EQ(list.back(), -1) << "beyond the list's capacity";
        EXPECT_LE(count, maxnum);
        for (size_t i = static_cast<size_t>(count); i < list.size(); ++i)
            EXPECT_EQ(list[i], -1) << "behind the count";
        list.resize(static_cast<size_t>(count));
        return list;
    }
};

using Ports = std::vector<int>;

TEST_F(LocatePort, UsbSerialPortIsFound)
{
    Offer({"USB Serial Port (COM7)"});
    EXPECT_EQ(First("USB SERIAL PORT"), 7);
    EXPECT_EQ(All("USB SERIAL PORT", 5), Ports{7});
}

struct NameRow
{
    const char *name;
    int number;  // 0: skipped
};

TEST_F(LocatePort, NumberStandsBehindTheLastCom)
{
    const NameRow rows[] = {
        {"COMMUNICATION PORT (COM3)", 3},
        {"Communication Port (com3)", 3},
        {"PORT (COM1) AND COM12", 12},
        {"PORT (COM3) COMBINED", 0},  // no number behind the last one
        {"PORT COM", 0},
        {"PORT (COM)", 0},
        {"PORT 5", 0},
        {"PORT COM 7", 7},
        {"PORT COM\t7", 7},
        {"PORT COM+7", 7},
        {"PORT COM+-7", 0},
        {"PORT COM-7", 0},
        {"PORT COM0", 0},
        {"PORT COM1", 1},
        {"PORT COM007", 7},
        {"PORT COM255", 255},
        {"PORT COM256", 0},
        {"PORT COM99999999999999999999", 0},
        {"PORT COM5X", 5},
    };
    for (const NameRow &row : rows) {
        Offer({row.name});
        EXPECT_EQ(First("PORT"), row.number) << row.name;
        EXPECT_EQ(All("PORT", 3), row.number ? Ports{row.number} : Ports{}) << row.name;
    }
}

TEST_F(LocatePort, SkippedPortsDoNotEndTheSearch)
{
    Offer({"PORT (COM256)", "PORT (COM)", "PORT", "PORT (COM9)"});
    EXPECT_EQ(First("PORT"), 9);
    EXPECT_EQ(All("PORT", 3), Ports{9});
}

TEST_F(LocatePort, FurtherMatchesThanTheListHoldsAreNotStored)
{
    Offer({"PORT (COM3)", "PORT (COM1)", "PORT (COM2)"});
    EXPECT_EQ(All("PORT", 2), (Ports{3, 1}));
    EXPECT_EQ(All("PORT", 3), (Ports{3, 1, 2}));
    EXPECT_EQ(All("PORT", 4), (Ports{3, 1, 2}));
}

TEST_F(LocatePort, WithoutAListTheResultIsTheFirstPort)
{
    Offer({"OTHER (COM1)", "PORT (COM4)", "PORT (COM2)"});
    char inval[] = "PORT";
    int list[2] = {-1, -1};
    EXPECT_EQ(ZVK_LocateComPort(inval, nullptr, 5), 4);
    EXPECT_EQ(ZVK_LocateComPort(inval, list, 0), 4);
    EXPECT_EQ(ZVK_LocateComPort(inval, list, -3), 4);
    EXPECT_EQ(list[0], -1);
}

TEST_F(LocatePort, NameIsTurnedIntoCapitalsAndTheSearchedTextIsNot)
{
    Offer({"Trinamic Stepper Device (COM129)"});
    EXPECT_EQ(First("TRINAMIC"), 129);
    EXPECT_EQ(First("Trinamic"), 0);
}

TEST_F(LocatePort, MotorBoardsAndPlainAdaptersAreToldApart)
{
    Offer({"TRINAMIC TMCM-3110 (COM129)", "FTDI FT232R USB UART USB Serial Port (COM65)",
           "Communications Port (COM1)"});
    EXPECT_EQ(All("TRINAMIC", 8), Ports{129});
    EXPECT_EQ(All("USB SERIAL PORT", 8), Ports{65});
}

TEST_F(LocatePort, NothingFits)
{
    Offer({"PORT (COM3)"});
    EXPECT_EQ(First("LASER"), 0);
    EXPECT_EQ(All("LASER", 4), Ports{});
}

TEST_F(LocatePort, NoPortsAtAll)
{
    EXPECT_EQ(First("PORT"), 0);
    EXPECT_EQ(All("PORT", 4), Ports{});
}

TEST_F(LocatePort, AListThatCannotBeMadeGives0AndLeavesTheCallersList)
{
    Offer({"PORT (COM3)"});
    s_listed = false;
    EXPECT_EQ(First("PORT"), 0);
    EXPECT_EQ(All("PORT", 4), Ports{});
}

TEST_F(LocatePort, NoTextFindsNothing)
{
    Offer({"PORT (COM3)"});
    EXPECT_EQ(ZVK_LocateComPort(nullptr, nullptr, 0), 0);
}

TEST_F(LocatePort, AnEmptyTextFitsEveryPort)
{
    Offer({"PORT (COM3)", "LASER (COM4)"});
    EXPECT_EQ(All("", 4), (Ports{3, 4}));
}
