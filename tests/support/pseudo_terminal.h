#ifndef QUORVEX_TESTS_PSEUDO_TERMINAL_H
#define QUORVEX_TESTS_PSEUDO_TERMINAL_H

// The device's side of a serial port that is made of software.

#include <string>

class PseudoTerminal
{
public:
    PseudoTerminal();
    ~PseudoTerminal();
    PseudoTerminal(const PseudoTerminal &) = delete;
    PseudoTerminal &operator=(const PseudoTerminal &) = delete;

    const std::string &Device() const { return m_device; }  // what the library opens

    void Send(const std::string &bytes) const;
    // What the library sent: waits for `count` bytes, and gives fewer only when 5 s bring none.
    std::string Receive(size_t count) const;
    // What is there without waiting.
    std::string ReceiveNow() const;
    void HangUp();

private:
    int m_file = -1;
    std::string m_device;
};

#endif
