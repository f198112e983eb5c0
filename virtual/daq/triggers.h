#ifndef QUORVEX_VIRTUAL_DAQ_TRIGGERS_H
#define QUORVEX_VIRTUAL_DAQ_TRIGGERS_H

// Start triggers: edges that are fired by hand or come by themselves.

#include "card.h"

// When the next edge that an armed task waits for comes; kNever while none is in sight.
CardTime NextEdge(const Card &card, const Task &task);

#endif
