#include "amplifiers.h"

constexpr int64_t kNameOrder = 1;
constexpr int64_t kGainOrder = 2;
constexpr int64_t kEndOrder = 3;
constexpr int64_t kChannels = 64;  // the channel, 1 or 2, stands in the low six bits of the data

std::string Amplifiers::Name(Amplifier &amplifier, char letter, int64_t number)
{
    amplifier.number = number;
    return std::string("detector ") + letter + " is number " + std::to_string(number);
}

std::string Amplifiers::SetGain(Amplifier &amplifier, char letter, int64_t gain)
{
    if (gain != 1 && gain != 10 && gain != 100) return "refused: no such gain";
    amplifier.gain = gain;
    return std::string("gain of ") + letter + " is " + std::to_string(gain);
}

std::string Amplifiers::Take(int64_t order, int64_t data)
{
    const std::string start =
        "order " + std::to_string(order) + " data " + std::to_string(data) + ": ";
    if (order == kEndOrder) {
        m_ended = true;
        return start + "end";
    }
    if (order != kNameOrder && order != kGainOrder) return start + "refused: no such order";
    const int64_t channel = data & (kChannels - 1);
    if (channel != 1 && channel != 2) return start + "refused: no such channel";

    Amplifier &amplifier = m_amplifiers[static_cast<size_t>(channel - 1)];
    const char letter = channel == 1 ? 'A' : 'B';
    const int64_t value = (data - channel) / kChannels;
    return start + (order == kNameOrder ? Name(amplifier, letter, value)
                                        : SetGain(amplifier, letter, value));
}

std::string Amplifiers::Summary() const
{
    return "gain of A is " + std::to_string(m_amplifiers[0].gain) + ", of B " +
           std::to_string(m_amplifiers[1].gain);
}
