// Numbers, friendly names and the list of serial ports.

#include "platform/ports.h"

#include "platform/port_names.h"
#include "scratch_folder.h"

#include <algorithm>
#include <filesystem>
#include <new>

struct NumberRow
{
    const char *device;
    int number;
};

TEST(PortNumbers, FollowTheFixedRule)
{
    const NumberRow rows[] = {
        {"/dev/ttyS0", 1},
        {"/dev/ttyS63", 64},
        {"/dev/ttyS64", 0},
        {"/dev/ttyUSB0", 65},
        {"/dev/ttyUSB6", 71},
        {"/dev/ttyUSB63", 128},
        {"/dev/ttyUSB64", 0},
        {"/dev/ttyACM0", 129},
        {"/dev/ttyACM126", 255},
        {"/dev/ttyACM127", 0},
        {"/dev/ttyAMA0", 0},
        {"/dev/ttyS", 0},
        {"/dev/ttyS-1", 0},
        {"/dev/ttyS+1", 0},
        {"/dev/ttyS1x", 0},
        {"/dev/ttySAC1", 0},
        {"/dev/ttyS99999999999", 0},
        {"ttyS0", 0},
        {"", 0},
        {"/dev/pts/1", 0},
    };
    for (const NumberRow &row : rows)
        EXPECT_EQ(PortNumberOfDevice(row.device), row.number) << row.device;
}

TEST(PortNumbers, StandBehindTheLastParenthesis)
{
    const NumberRow rows[] = {
        {"USB Serial Port (COM7)", 7},
        {"Communications Port (COM255)", 255},
        {"Port (COM256)", 0},
        {"Port (COM0)", 0},
        {"Port (COM)", 0},
        {"Port (COM-3)", 0},
        {"Port (COM1) (COM2)", 2},
        {"Port COM7", 0},
        {"Port (COM7", 7},
        {"Port (COM7x)", 0},
        {"Port (COM 7)", 0},
        {"", 0},
    };
    for (const NumberRow &row : rows)
        EXPECT_EQ(PortNumberOfName(row.device), row.number) << row.device;
}

struct NameRow
{
    const char *what;
    ZVK_PortFacts facts;
    const char *name;
};

TEST(PortNames, AreComposedOfMakerProductAndClass)
{
    const NameRow rows[] = {
        {"a plain port", {"/dev/ttyS0", false, 0, 0, "", ""}, "Communications Port (COM1)"},
        {"a plain port's strings don't count",
         {"/dev/ttyS1", false, 0, 0, "TRINAMIC", "x"},
         "Communications Port (COM2)"},
        {"a USB adapter",
         {"/dev/ttyUSB0", true, 0x0403, 0x6001, "FTDI", "FT232R USB UART"},
         "FTDI FT232R USB UART USB Serial Port (COM65)"},
        {"a USB adapter of another maker",
         {"/dev/ttyACM1", true, 0x2341, 0x0043, "Arduino", "Uno"},
         "Arduino Uno USB Serial Port (COM130)"},
        {"without strings",
         {"/dev/ttyUSB3", true, 0x1A86, 0x7523, "", ""},
         "USB Serial Port (COM68)"},
        {"product alone",
         {"/dev/ttyUSB3", true, 0, 0, "", "Adapter"},
         "Adapter USB Serial Port (COM68)"},
        {"the class words once",
         {"/dev/ttyUSB0", true, 0x0403, 0x6001, "FTDI", "Usb Serial Port"},
         "FTDI Usb Serial Port (COM65)"},
        {"the maker once",
         {"/dev/ttyUSB0", true, 0x0403, 0x6001, "FTDI", "FTDI"},
         "FTDI USB Serial Port (COM65)"},
        {"a motor board by its maker's number",
         {"/dev/ttyACM0", true, 0x2A3C, 0x0100, "", "Stepper Device"},
         "TRINAMIC Stepper Device (COM129)"},
        {"a motor board of the shared number",
         {"/dev/ttyACM2", true, 0x16D0, 0x06CC, "Trinamic Motion Control", "TMCM-3110"},
         "TRINAMIC TMCM-3110 (COM131)"},
        {"another product of the shared number",
         {"/dev/ttyACM2", true, 0x16D0, 0x06CD, "Somebody", "Thing"},
         "Somebody Thing USB Serial Port (COM131)"},
        {"a motor board by its maker's name",
         {"/dev/ttyUSB1", true, 0x0403, 0x6001, "Trinamic", "RS485 adapter"},
         "TRINAMIC RS485 adapter (COM66)"},
        {"a motor board by its product's name, once",
         {"/dev/ttyUSB1", true, 0x0403, 0x6001, "FTDI", "TRINAMIC USB-2-485"},
         "TRINAMIC TRINAMIC USB-2-485 (COM66)"},
        {"a motor board without strings",
         {"/dev/ttyACM0", true, 0x2A3C, 0, "", ""},
         "TRINAMIC (COM129)"},
        {"a motor board never says serial port",
         {"/dev/ttyACM0", true, 0x2A3C, 0, "", "USB Serial Port"},
         "TRINAMIC (COM129)"},
        {"no number, no name", {"/dev/ttyAMA0", false, 0, 0, "", ""}, ""},
    };
    for (const NameRow &row : rows)
        EXPECT_EQ(ComposePortName(row.facts), row.name) << row.what;
}

static std::string Texts(const std::vector<ZVK_PortEntry> &ports)
{
    std::string text;
    for (const ZVK_PortEntry &port : ports)
        text += port.friendlyName + "=" + port.device + ";";
    return text;
}

struct PinRow
{
    const char *text;
    const char *expected;
};

TEST(PinnedPorts, AreReadAndWrongEntriesLeftOut)
{
    const PinRow rows[] = {
        {"", ""},
        {"Laser (COM3)=/dev/x", "Laser (COM3)=/dev/x;"},
        {"A (COM1)=/dev/a;B (COM2)=/dev/b;", "A (COM1)=/dev/a;B (COM2)=/dev/b;"},
        {" A (COM1) = /dev/a ; B (COM2)=/dev/b", "A (COM1)=/dev/a;B (COM2)=/dev/b;"},
        {"A=B (COM1)=/dev/a", "A=B (COM1)=/dev/a;"},
        {"A (COM1)", ""},
        {"A (COM1)=", ""},
        {"=/dev/a", ""},
        {"A=/dev/a", ""},
        {"A (COM256)=/dev/a;B (COM2)=/dev/b", "B (COM2)=/dev/b;"},
        {";;;", ""},
        {"===", ""},
    };
    for (const PinRow &row : rows)
        EXPECT_EQ(Texts(ParsePinnedPorts(row.text)), row.expected) << row.text;
}

TEST(PinnedPorts, TakeTheirNumberAndTheirDeviceFromThosePortsFound)
{
    std::vector<ZVK_PortEntry> ports = {{"Laser (COM5)", "/dev/ttyUSB0"}};
    AddUnlessPinned(ports, {{"Communications Port (COM4)", "/dev/ttyS3"},
                            {"Communications Port (COM5)", "/dev/ttyS4"},
                            {"X USB Serial Port (COM65)", "/dev/ttyUSB0"},
                            {"X USB Serial Port (COM66)", "/dev/ttyUSB1"}});
    EXPECT_EQ(Texts(ports), "Laser (COM5)=/dev/ttyUSB0;Communications Port (COM4)=/dev/ttyS3;"
                            "X USB Serial Port (COM66)=/dev/ttyUSB1;");
}

TEST(PortList, BeginsWithThePinnedPortsInTheirOrder)
{
    const ScopedVariable pinned("ZVK_SERIAL_PORTS",
                                "B (COM200)=/dev/none-b;A (COM201)=/dev/none-a");
    std::vector<ZVK_PortEntry> ports;
    ASSERT_TRUE(ListPorts(ports));
    ASSERT_GE(ports.size(), 2u);
    ports.resize(2);
    EXPECT_EQ(Texts(ports), "B (COM200)=/dev/none-b;A (COM201)=/dev/none-a;");
    EXPECT_EQ(DeviceOfPort(200), "/dev/none-b");
    EXPECT_EQ(DeviceOfPort(201), "/dev/none-a");
}

TEST(PortList, APinnedLinkStandsForWhatItPointsTo)
{
    const ScratchFolder folder;
    folder.Write("device", "");
    std::filesystem::create_symlink(folder.Path("device"), folder.Path("link"));
    const std::string text = "A (COM200)=" + folder.Path("link");
    const ScopedVariable pinned("ZVK_SERIAL_PORTS", text.c_str());
    EXPECT_EQ(DeviceOfPort(200), std::filesystem::canonical(folder.Path("device")).string());
}

static bool ListTwo(std::vector<ZVK_PortEntry> &ports)
{
    ports = {{"First (COM3)", "/dev/a"}, {"Second (COM3)", "/dev/b"}};
    return true;
}

static bool ListNothing(std::vector<ZVK_PortEntry> &ports)
{
    ports = {{"Half a list (COM3)", "/dev/a"}};
    return false;
}

static bool ListWithoutMemory(std::vector<ZVK_PortEntry> &) { throw std::bad_alloc(); }

struct PortLister : testing::Test
{
    ~PortLister() override { UsePorts(nullptr); }
};

TEST_F(PortLister, ATestsListTakesThePlaceOfThisMachines)
{
    UsePorts(ListTwo);
    std::vector<ZVK_PortEntry> ports = {{"left over", "x"}};
    EXPECT_TRUE(ListPorts(ports));
    EXPECT_EQ(Texts(ports), "First (COM3)=/dev/a;Second (COM3)=/dev/b;");
    EXPECT_EQ(DeviceOfPort(3), "/dev/a");  // the first one with the number
    EXPECT_EQ(DeviceOfPort(4), "");
    EXPECT_EQ(DeviceOfPort(0), "");
    EXPECT_EQ(DeviceOfPort(-1), "");
}

TEST_F(PortLister, AListThatCannotBeMadeIsEmpty)
{
    for (const ZVK_PortLister lister : {ListNothing, ListWithoutMemory}) {
        UsePorts(lister);
        std::vector<ZVK_PortEntry> ports;
        EXPECT_FALSE(ListPorts(ports));
        EXPECT_TRUE(ports.empty());
        EXPECT_EQ(DeviceOfPort(3), "");
    }
}
