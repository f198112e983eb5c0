// Serial ports over pseudo-terminals. A short time-out stands where silence is meant.

#include "platform/serial.h"

#include "platform/clock.h"
#include "platform/ports.h"
#include "pseudo_terminal.h"

#include <cmath>
#include <fcntl.h>
#include <future>
#include <sys/file.h>
#include <termios.h>
#include <thread>
#include <unistd.h>

constexpr int kPort = 7;
constexpr int kOtherPort = 8;
constexpr double kSilenceS = 0.02;
constexpr double kPatienceS = 5.0;

static std::vector<ZVK_PortEntry> s_ports;

static bool ListTestPorts(std::vector<ZVK_PortEntry> &ports)
{
    ports = s_ports;
    return true;
}

struct Serial_ : testing::Test
{
    Serial_()
    {
        s_ports = {{"Laser (COM7)", laser.Device()},
                   {"Motor (COM8)", motor.Device()},
                   {"None (COM9)", "/dev/none"}};
        UsePorts(ListTestPorts);
    }

    ~Serial_() override
    {
        (void)Serial().close(kPort);
        (void)Serial().close(kOtherPort);
        UsePorts(nullptr);
    }

    void Open(double timeoutS = kPatienceS)
    {
        ASSERT_EQ(Serial().open(kPort, 9600), 0);
        ASSERT_EQ(Serial().setTimeout(kPort, timeoutS), 0);
    }

    std::string Read(size_t count)
    {
        std::string bytes(count, '?');
        const int got = Serial().read(kPort, bytes.data(), count);
        bytes.resize(got < 0 ? 0 : static_cast<size_t>(got));
        return bytes;
    }

    std::string ReadLine(size_t count, int terminator = '\n')
    {
        std::string bytes(count, '?');
        const int got = Serial().readLine(kPort, bytes.data(), count, terminator);
        bytes.resize(got < 0 ? 0 : static_cast<size_t>(got));
        return bytes;
    }

    PseudoTerminal laser;
    PseudoTerminal motor;
};

TEST_F(Serial_, OpenPortIsToldOpenUntilClosed)
{
    EXPECT_EQ(Serial().isOpen(kPort), 0);
    Open();
    EXPECT_EQ(Serial().isOpen(kPort), 1);
    EXPECT_EQ(Serial().isOpen(kOtherPort), 0);
    EXPECT_EQ(Serial().close(kPort), 0);
    EXPECT_EQ(Serial().isOpen(kPort), 0);
    EXPECT_LT(Serial().close(kPort), 0);
}

TEST_F(Serial_, OpenFailsForUnknownPortsAndRates)
{
    EXPECT_LT(Serial().open(3, 9600), 0);  // not listed
    EXPECT_LT(Serial().open(9, 9600), 0);  // listed, but its device is gone
    EXPECT_LT(Serial().open(0, 9600), 0);
    EXPECT_LT(Serial().open(-1, 9600), 0);
    EXPECT_LT(Serial().open(256, 9600), 0);
    EXPECT_LT(Serial().open(kPort, 9601), 0);
    EXPECT_EQ(Serial().isOpen(kPort), 0);
}

TEST_F(Serial_, WhatIsNoTerminalIsNotOpened)
{
    s_ports = {{"Null (COM7)", "/dev/null"}};
    EXPECT_LT(Serial().open(kPort, 9600), 0);
    EXPECT_EQ(Serial().isOpen(kPort), 0);
}

TEST_F(Serial_, OpeningAnOpenPortClosesItFirst)
{
    Open();
    EXPECT_EQ(Serial().open(kPort, 19200), 0);
    EXPECT_EQ(Serial().write(kPort, "a", 1), 1);
    EXPECT_EQ(laser.Receive(1), "a");
    s_ports.clear();
    EXPECT_LT(Serial().open(kPort, 9600), 0);
    EXPECT_EQ(Serial().isOpen(kPort), 0);
}

TEST_F(Serial_, APortThatAnotherProgramHoldsIsNotOpened)
{
    const int other = open(laser.Device().c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    ASSERT_EQ(flock(other, LOCK_EX | LOCK_NB), 0);
    EXPECT_LT(Serial().open(kPort, 9600), 0);
    ASSERT_EQ(close(other), 0);
    EXPECT_EQ(Serial().open(kPort, 9600), 0);
}

TEST_F(Serial_, LineIsRawWithEightBitsNoParityOneStopBit)
{
    Open();
    const int other = open(laser.Device().c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    termios settings{};
    ASSERT_EQ(tcgetattr(other, &settings), 0);
    ASSERT_EQ(close(other), 0);
    EXPECT_EQ(settings.c_cflag & CSIZE, static_cast<tcflag_t>(CS8));
    EXPECT_EQ(settings.c_cflag & (PARENB | CSTOPB | CRTSCTS), 0u);
    EXPECT_EQ(settings.c_iflag & (IXON | IXOFF | ICRNL | INLCR | ISTRIP), 0u);
    EXPECT_EQ(settings.c_lflag & (ICANON | ECHO | ISIG), 0u);
    EXPECT_EQ(settings.c_oflag & OPOST, 0u);
    EXPECT_EQ(cfgetospeed(&settings), static_cast<speed_t>(B9600));
}

TEST_F(Serial_, AllByteValuesPassBothWaysUnchanged)
{
    Open();
    std::string all;
    for (int value = 0; value < 256; ++value)
        all += static_cast<char>(value);
    EXPECT_EQ(Serial().write(kPort, all.data(), all.size()), 256);
    EXPECT_EQ(laser.Receive(256), all);
    laser.Send(all);
    EXPECT_EQ(Read(256), all);
}

TEST_F(Serial_, WritingNothingWritesNothing)
{
    Open();
    EXPECT_EQ(Serial().write(kPort, "", 0), 0);
    EXPECT_EQ(Serial().write(kPort, nullptr, 0), 0);
    EXPECT_LT(Serial().write(kPort, nullptr, 3), 0);
}

TEST_F(Serial_, WriteThenFlushLosesNothing)
{
    Open();
    for (int i = 0; i < 200; ++i) {
        ASSERT_EQ(Serial().write(kPort, "CLT 0\r\n", 7), 7);
        ASSERT_EQ(Serial().flushInput(kPort), 0);
        ASSERT_EQ(Serial().flushOutput(kPort), 0);
        ASSERT_EQ(Serial().write(kPort, "?\r\n", 3), 3);
        ASSERT_EQ(laser.Receive(10), "CLT 0\r\n?\r\n") << i;
    }
}

TEST_F(Serial_, AWriteThatNobodyTakesEndsAfterTheTimeoutAndItsRestCanBeFlushed)
{
    Open(kSilenceS);
    const std::string much(1'000'000, 'x');
    const int written = Serial().write(kPort, much.data(), much.size());
    EXPECT_GE(written, 0);
    EXPECT_LT(written, 1'000'000);
    EXPECT_EQ(Serial().flushOutput(kPort), 0);
    (void)laser.ReceiveNow();
    EXPECT_EQ(Serial().write(kPort, "y", 1), 1);
    std::string rest;
    do
        rest = laser.Receive(1);
    while (rest == "x");
    EXPECT_EQ(rest, "y");
}

TEST_F(Serial_, ReadGivesTheBytesThatCameBeforeTheSilence)
{
    Open(kSilenceS);
    laser.Send("abc");
    EXPECT_EQ(Read(10), "abc");
    EXPECT_EQ(Read(10), "");
    EXPECT_EQ(Serial().isOpen(kPort), 1);
}

TEST_F(Serial_, ReadTakesNoMoreThanAskedFor)
{
    Open();
    laser.Send("abcdef");
    EXPECT_EQ(Read(2), "ab");
    EXPECT_EQ(Read(0), "");
    EXPECT_EQ(Read(4), "cdef");
}

TEST_F(Serial_, TimeoutCountsFromByteToByte)
{
    // The one thing here that has to take its time: all bytes together need longer than the
    // time-out.
    Open(1.0);
    std::future<std::string> reader = std::async(std::launch::async, [&] { return Read(4); });
    laser.Send("a");
    for (const char *byte : {"b", "c", "d"}) {
        Clock().delay(0.4);
        laser.Send(byte);
    }
    EXPECT_EQ(reader.get(), "abcd");
}

TEST_F(Serial_, TimeoutOfZeroWaitsForEver)
{
    Open(0.0);
    std::future<std::string> reader = std::async(std::launch::async, [&] { return Read(1); });
    EXPECT_EQ(reader.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    laser.Send("a");
    EXPECT_EQ(reader.get(), "a");
}

TEST_F(Serial_, TimeoutsThatAreNoTimeAreRefused)
{
    Open(kSilenceS);
    EXPECT_LT(Serial().setTimeout(kPort, -1.0), 0);
    EXPECT_LT(Serial().setTimeout(kPort, std::nan("")), 0);
    EXPECT_EQ(Read(1), "");  // the old one holds
}

TEST_F(Serial_, ReadLineLeavesOutTheTerminator)
{
    Open();
    laser.Send("ab\ncd\n");
    EXPECT_EQ(ReadLine(10), "ab");
    EXPECT_EQ(ReadLine(10), "cd");
}

TEST_F(Serial_, ReadLineKeepsACarriageReturnBeforeTheLineFeed)
{
    Open();
    laser.Send("ab\r\ncd\r\n");
    EXPECT_EQ(ReadLine(10), "ab\r");
    EXPECT_EQ(ReadLine(10), "cd\r");
}

TEST_F(Serial_, ReadLineSwallowsACarriageReturnBehindTheLineFeed)
{
    Open(kSilenceS);
    laser.Send("ab\n\rcd\n");
    EXPECT_EQ(ReadLine(10), "ab");
    EXPECT_EQ(Read(10), "cd\n");
}

TEST_F(Serial_, ASecondCarriageReturnBehindTheLineFeedStays)
{
    Open(kSilenceS);
    laser.Send("ab\n\r\rcd");
    EXPECT_EQ(ReadLine(10), "ab");
    EXPECT_EQ(Read(10), "\rcd");
}

TEST_F(Serial_, ACarriageReturnThatComesLateIsSwallowedToo)
{
    Open(kSilenceS);
    laser.Send("ab\n");
    EXPECT_EQ(ReadLine(10), "ab");
    laser.Send("\rcd");
    EXPECT_EQ(Read(10), "cd");
}

TEST_F(Serial_, FlushForgetsTheLineFeed)
{
    Open(kSilenceS);
    laser.Send("ab\n");
    EXPECT_EQ(ReadLine(10), "ab");
    EXPECT_EQ(Serial().flushInput(kPort), 0);
    laser.Send("\rcd");
    EXPECT_EQ(Read(10), "\rcd");
}

TEST_F(Serial_, OtherTerminatorsSwallowNothing)
{
    Open(kSilenceS);
    laser.Send("ab;\rcd\r\ref");
    EXPECT_EQ(ReadLine(10, ';'), "ab");
    EXPECT_EQ(ReadLine(10, '\r'), "");
    EXPECT_EQ(ReadLine(10, '\r'), "cd");
    EXPECT_EQ(Read(10), "\ref");
}

TEST_F(Serial_, ReadLineEndsWhenTheRoomIsFull)
{
    Open(kSilenceS);
    laser.Send("abcdefgh\n");
    EXPECT_EQ(ReadLine(6), "abcdef");
    EXPECT_EQ(ReadLine(6), "gh");
}

TEST_F(Serial_, ReadLineWithoutTerminatorGivesWhatCame)
{
    Open(kSilenceS);
    laser.Send("ab");
    EXPECT_EQ(ReadLine(10), "ab");
}

TEST_F(Serial_, ATerminatorThatIsNoByteIsRefused)
{
    Open();
    laser.Send("a");
    char byte = '?';
    EXPECT_LT(Serial().readLine(kPort, &byte, 1, -1), 0);
    EXPECT_LT(Serial().readLine(kPort, &byte, 1, 256), 0);
    EXPECT_EQ(byte, '?');
    EXPECT_EQ(Read(1), "a");
}

TEST_F(Serial_, ATerminatorAbove127IsFound)
{
    Open();
    laser.Send("ab\xFE");
    EXPECT_EQ(ReadLine(10, 0xFE), "ab");
}

TEST_F(Serial_, FlushInputDropsWhatHasCome)
{
    Open(kSilenceS);
    laser.Send("old");
    EXPECT_EQ(Read(1), "o");  // the rest is there now
    EXPECT_EQ(Serial().flushInput(kPort), 0);
    laser.Send("new");
    EXPECT_EQ(Read(10), "new");
}

TEST_F(Serial_, OpenDropsWhatCameBefore)
{
    Open();
    laser.Send("old");
    EXPECT_EQ(Read(1), "o");
    Open(kSilenceS);
    EXPECT_EQ(Read(10), "");
}

TEST_F(Serial_, ADeviceThatGoesAwayEndsReadsAndWritesAtOnce)
{
    Open(0.0);  // a wait for ever would show
    laser.Send("ab");
    EXPECT_EQ(Read(1), "a");
    laser.HangUp();
    EXPECT_LE(Read(10).size(), 1u);  // what was on its way may still come
    char byte = 0;
    EXPECT_LT(Serial().read(kPort, &byte, 1), 0);
    EXPECT_LT(Serial().readLine(kPort, &byte, 1, '\n'), 0);
    EXPECT_LT(Serial().write(kPort, "x", 1), 0);
    EXPECT_EQ(Serial().isOpen(kPort), 1);  // until it is closed
    EXPECT_EQ(Serial().close(kPort), 0);
}

TEST_F(Serial_, CallsOnAClosedOrImpossiblePortFail)
{
    char byte = 0;
    for (const int port : {kPort, 0, -1, 256}) {
        EXPECT_LT(Serial().setTimeout(port, 1.0), 0) << port;
        EXPECT_LT(Serial().write(port, "a", 1), 0) << port;
        EXPECT_LT(Serial().read(port, &byte, 1), 0) << port;
        EXPECT_LT(Serial().readLine(port, &byte, 1, '\n'), 0) << port;
        EXPECT_LT(Serial().flushInput(port), 0) << port;
        EXPECT_LT(Serial().flushOutput(port), 0) << port;
        EXPECT_LT(Serial().close(port), 0) << port;
        EXPECT_EQ(Serial().isOpen(port), 0) << port;
    }
}

TEST_F(Serial_, PortsDoNotWaitForEachOther)
{
    Open(0.0);
    ASSERT_EQ(Serial().open(kOtherPort, 9600), 0);
    std::future<std::string> reader = std::async(std::launch::async, [&] { return Read(1); });
    EXPECT_EQ(Serial().write(kOtherPort, "m", 1), 1);  // while the other port waits for ever
    EXPECT_EQ(motor.Receive(1), "m");
    laser.Send("l");
    EXPECT_EQ(reader.get(), "l");
}
