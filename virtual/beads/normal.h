#ifndef QUORVEX_VIRTUAL_BEADS_NORMAL_H
#define QUORVEX_VIRTUAL_BEADS_NORMAL_H

// Normally distributed numbers of mean 0 and deviation 1. Most of what the beads cost is these: the
// ziggurat takes a quarter of the time of std::normal_distribution, and gives the same series for a
// seed with every standard library.

#include <random>

// Takes one or, seldom, more numbers from the generator.
double Normal(std::mt19937_64 &random);

#endif
