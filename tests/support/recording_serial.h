#ifndef QUORVEX_TESTS_RECORDING_SERIAL_H
#define QUORVEX_TESTS_RECORDING_SERIAL_H

// Serial ports that write down what they are told and answer what the test supplies. In use as long
// as the object lives, together with a list of ports of the test's own.
//
// Each call is kept as its entry's name with its arguments:
//
//     open(7, 9600)
//     setTimeout(7, 2)
//     write(7, "CLT 0\r\n")
//     readLine(7, 6, 10) = "?\r"
//     flushInput(7)
//
// No call waits. A port that isn't open refuses; a read without a reply gives no bytes.

#include <cstdint>
#include <string>
#include <vector>

class RecordingSerial
{
public:
    RecordingSerial();
    ~RecordingSerial();
    RecordingSerial(const RecordingSerial &) = delete;
    RecordingSerial &operator=(const RecordingSerial &) = delete;

    // Ports by friendly name, such as "USB Serial Port (COM7)".
    void OfferPorts(const std::vector<std::string> &friendlyNames);

    std::vector<std::string> Calls() const;
    // The same without isOpen, setTimeout and the flushes.
    std::vector<std::string> Wire() const;
    void ForgetCalls();

    // What a port answers each time these bytes are written to it; a reply that is there already is
    // replaced. The bytes wait in the port's input until they are read or flushed.
    void Answer(int port, const std::string &written, const std::string &reply);
    void ForgetAnswers();
    // Puts bytes into a port's input at once.
    void Supply(int port, const std::string &bytes);

    // Lets the nth call from now fail, 1 being the next one, whichever entry it is; 0: none.
    void FailAt(int64_t nth);
    // Lets the nth call from now of one entry, such as "open", fail.
    void FailCall(const std::string &entry, int64_t nth);
    bool Failed() const;  // whether the call that was to fail has been made

    int OpenPorts() const;
};

#endif
