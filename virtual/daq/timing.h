#ifndef QUORVEX_VIRTUAL_DAQ_TIMING_H
#define QUORVEX_VIRTUAL_DAQ_TIMING_H

// Sample rates. All under the card's guard.

#include "card.h"

double MaxRate(const Card &card, const Task &task);  // Hz
double RealRate(const Card &card, double wanted);    // Hz, as divided from the timebase
int32_t CheckRate(const Card &card, const Task &task, double rate);

#endif
