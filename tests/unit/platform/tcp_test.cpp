// The connections against a plain socket on the loopback device.

#include "platform/tcp.h"

#include <arpa/inet.h>
#include <chrono>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

constexpr double kLongS = 20.0;
constexpr double kShortS = 0.02;

static double SecondsOf(const std::chrono::steady_clock::time_point &start)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// The other side: a listening socket and the connection that it took.
class TcpTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr *>(&address), size), 0);
        ASSERT_EQ(listen(listener, 1), 0);
        ASSERT_EQ(getsockname(listener, reinterpret_cast<sockaddr *>(&address), &size), 0);
        port = ntohs(address.sin_port);
    }

    void TearDown() override
    {
        if (ours >= 0) Tcp().close(ours);
        if (theirs >= 0) (void)close(theirs);
        if (listener >= 0) (void)close(listener);
    }

    void Connect()
    {
        ours = Tcp().connect("127.0.0.1", port, kLongS);
        ASSERT_GE(ours, 0);
        theirs = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
        ASSERT_GE(theirs, 0);
    }

    void TheySend(const std::string &bytes) const
    {
        ASSERT_EQ(send(theirs, bytes.data(), bytes.size(), MSG_NOSIGNAL),
                  static_cast<ssize_t>(bytes.size()));
    }

    std::string Receive(double timeoutS) const
    {
        char bytes[64];
        const int64_t got = Tcp().receive(ours, bytes, sizeof bytes, timeoutS);
        return got > 0 ? std::string(bytes, static_cast<size_t>(got)) : std::string();
    }

    // Once the bytes are in our socket, without taking them.
    void AwaitInput() const
    {
        pollfd entry = {ours, POLLIN, 0};
        ASSERT_EQ(poll(&entry, 1, 20000), 1);
    }

    int listener = -1;
    int theirs = -1;
    int ours = -1;
    int port = 0;
};

TEST_F(TcpTest, BytesGoBothWays)
{
    Connect();
    ASSERT_EQ(Tcp().send(ours, "POS? 1\n", 7), 0);
    char bytes[16] = "";
    EXPECT_EQ(recv(theirs, bytes, 7, MSG_WAITALL), 7);
    EXPECT_STREQ(bytes, "POS? 1\n");
    TheySend("1=5\n");
    EXPECT_EQ(Receive(kLongS), "1=5\n");
}

TEST_F(TcpTest, SmallMessagesGoOutAtOnceAndTheSocketIsNotHandedToOtherPrograms)
{
    Connect();
    int on = 0;
    socklen_t size = sizeof on;
    ASSERT_EQ(getsockopt(ours, IPPROTO_TCP, TCP_NODELAY, &on, &size), 0);
    EXPECT_NE(on, 0);
    EXPECT_NE(fcntl(ours, F_GETFD) & FD_CLOEXEC, 0);
}

TEST_F(TcpTest, NothingReceivedIsATimeoutOfAboutItsLength)
{
    Connect();
    const auto start = std::chrono::steady_clock::now();
    char byte = 'x';
    EXPECT_EQ(Tcp().receive(ours, &byte, 1, kShortS), 0);
    EXPECT_GE(SecondsOf(start), kShortS);
    EXPECT_EQ(byte, 'x');
}

TEST_F(TcpTest, NoTimeLeftTakesWhatIsThere)
{
    Connect();
    TheySend("x");
    AwaitInput();
    EXPECT_EQ(Receive(0.0), "x");
    char byte = 0;
    EXPECT_EQ(Tcp().receive(ours, &byte, 1, -5.0), 0);
}

TEST_F(TcpTest, DiscardDropsWhatHasComeInAndKeepsTheConnection)
{
    Connect();
    TheySend(std::string(1000, 'x'));
    AwaitInput();
    Tcp().discard(ours);
    TheySend("1=5\n");
    AwaitInput();
    const std::string received = Receive(kLongS);
    EXPECT_EQ(received, "1=5\n");
    Tcp().discard(ours);  // with nothing there it does not wait
    EXPECT_EQ(Tcp().send(ours, "x", 1), 0);
}

TEST_F(TcpTest, AConnectionThatTheOtherSideClosesGivesItsLastBytesAndThenIsGone)
{
    Connect();
    TheySend("1=");
    (void)close(theirs);
    theirs = -1;
    EXPECT_EQ(Receive(kLongS), "1=");
    char byte = 0;
    EXPECT_LT(Tcp().receive(ours, &byte, 1, kLongS), 0);
}

// The test would end by SIGPIPE here.
TEST_F(TcpTest, SendingToWhoHasGoneFailsAndEndsNoProcess)
{
    Connect();
    const linger reset = {1, 0};  // the close tears the connection down at once
    ASSERT_EQ(setsockopt(theirs, SOL_SOCKET, SO_LINGER, &reset, sizeof reset), 0);
    (void)close(theirs);
    theirs = -1;
    AwaitInput();
    char byte = 0;
    EXPECT_LT(Tcp().receive(ours, &byte, 1, kLongS), 0);
    EXPECT_LT(Tcp().send(ours, "x", 1), 0);
}

TEST_F(TcpTest, WhereNobodyListensThereIsNoConnection)
{
    (void)close(listener);
    listener = -1;
    EXPECT_LT(Tcp().connect("127.0.0.1", port, kLongS), 0);
}

TEST_F(TcpTest, AddressesThatAreNoneAreRefused)
{
    EXPECT_LT(Tcp().connect(nullptr, port, kShortS), 0);
    EXPECT_LT(Tcp().connect("", 0, kShortS), 0);
    EXPECT_LT(Tcp().connect("127.0.0.1", 0, kShortS), 0);
    EXPECT_LT(Tcp().connect("127.0.0.1", 65536, kShortS), 0);
    EXPECT_LT(Tcp().connect("127.0.0.1", -port, kShortS), 0);
    EXPECT_LT(Tcp().connect("256.1.1.1.1", port, kShortS), 0);
}

// The queue of connections that nobody takes is full, so that the kernel answers no more.
TEST_F(TcpTest, AnAddressThatDoesNotAnswerEndsAtTheTimeout)
{
    int waiting[8];
    for (int &handle : waiting) {
        handle = Tcp().connect("127.0.0.1", port, 0.05);
        if (handle < 0) break;
    }
    const auto start = std::chrono::steady_clock::now();
    EXPECT_LT(Tcp().connect("127.0.0.1", port, 0.05), 0);
    EXPECT_LT(SecondsOf(start), kLongS);
    for (const int handle : waiting) {
        if (handle < 0) break;
        Tcp().close(handle);
    }
}

TEST_F(TcpTest, MuchGoesOutWhileTheOtherSideReads)
{
    Connect();
    const std::string sent(100'000, 'y');
    ASSERT_EQ(Tcp().send(ours, sent.data(), sent.size()), 0);
    std::string received(sent.size(), ' ');
    EXPECT_EQ(recv(theirs, received.data(), received.size(), MSG_WAITALL),
              static_cast<ssize_t>(sent.size()));
    EXPECT_EQ(received, sent);
}
