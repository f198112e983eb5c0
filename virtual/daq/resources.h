#ifndef QUORVEX_VIRTUAL_DAQ_RESOURCES_H
#define QUORVEX_VIRTUAL_DAQ_RESOURCES_H

// What of a device a started task keeps for itself: the converters of its inputs, the clocked
// outputs with their channels, single outputs on demand, single digital lines.

#include "card.h"

// Takes all that a task needs, or nothing and answers the refusal.
int32_t Reserve(Card &card, const Task &task);
void Release(Card &card, const Task &task);

#endif
