#ifndef QUORVEX_VIRTUAL_DETECTOR_AMPLIFIERS_H
#define QUORVEX_VIRTUAL_DETECTOR_AMPLIFIERS_H

// The two amplifiers behind the helper program: what an order does to them, in words.

#include <array>
#include <cstdint>
#include <string>

struct Amplifier
{
    int64_t number = 0;  // of its detector; 0 until it is named
    int64_t gain = 0;    // 1, 10 or 100; 0 until it is set
};

class Amplifiers
{
public:
    // Does the order and tells what it did, as a line without its end. An order that makes no sense
    // changes nothing.
    std::string Take(int64_t order, int64_t data);

    bool Ended() const { return m_ended; }  // the order to end has come
    std::string Summary() const;            // both gains

private:
    std::string Name(Amplifier &amplifier, char letter, int64_t number);
    std::string SetGain(Amplifier &amplifier, char letter, int64_t gain);

    std::array<Amplifier, 2> m_amplifiers;
    bool m_ended = false;
};

#endif
