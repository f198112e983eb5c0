#ifndef QUORVEX_TESTS_RECORDING_TCP_H
#define QUORVEX_TESTS_RECORDING_TCP_H

// Connections that write down what they are told and answer what the test supplies. In use as long
// as the object lives. No call waits: a receive with nothing to give answers at once as a time-out.
//
//     RecordingTcp tcp;
//     tcp.Answer("POS? 1", {"1=12", ".5\n"});
//     ... tcp.Sent() is {"POS? 1"}

#include <cstdint>
#include <string>
#include <vector>

class RecordingTcp
{
public:
    RecordingTcp();  // "ERR?" is answered by "0\n"
    ~RecordingTcp();
    RecordingTcp(const RecordingTcp &) = delete;
    RecordingTcp &operator=(const RecordingTcp &) = delete;

    // Stands for a packet: the connection is gone, or a whole time-out goes by.
    static const std::string kHangUp;
    static const std::string kPause;

    // The packets that arrive each time this line is sent; in place of those told before.
    void Answer(const std::string &command, const std::vector<std::string> &packets);
    // The same for one time; several are used up in their order, before the one above.
    void AnswerOnce(const std::string &command, const std::vector<std::string> &packets);
    void Supply(const std::string &bytes);  // arrives at once, unasked

    void RefuseConnections(bool refuse);
    void FailSends(bool fail);
    // Called with the time-out of each receive, before it answers.
    void OnReceive(void (*call)(double timeoutS));

    std::vector<std::string> Sent() const;      // lines without their ends, on all connections
    std::vector<std::string> TakeSent();        // and forgets them
    std::vector<std::string> Connects() const;  // "127.0.0.1:50000"
    int Open() const;                           // connections made and not closed
};

#endif
