#ifndef QUORVEX_STEERING_POWERS_H
#define QUORVEX_STEERING_POWERS_H

// The powers of a polynomial's variable, each taken by pow once and used for many terms: the terms
// come out the same to the last bit as with a pow in each of them.

#include <cmath>

// The highest order whose powers are kept. An objective's polynomials have order 3 to 5.
constexpr int kTabledOrder = 63;

// Powers 0 to `order` of a value, `order` at most kTabledOrder.
class Powers
{
public:
    Powers(double value, int order)
    {
        m_table[0] = 1.0;  // pow gives 1 for a power of 0, whatever the value
        if (order > 0) m_table[1] = value;
        for (int i = 2; i <= order; ++i)
            m_table[i] = std::pow(value, i);
    }
    double operator[](int i) const { return m_table[i]; }

private:
    double m_table[kTabledOrder + 1];
};

// The same face for an order without end: each power is taken when it is asked for.
class PowersOnDemand
{
public:
    PowersOnDemand(double value, int) : m_value(value) {}
    double operator[](int i) const { return std::pow(m_value, i); }

private:
    double m_value;
};

#endif
