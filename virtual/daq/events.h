#ifndef QUORVEX_VIRTUAL_DAQ_EVENTS_H
#define QUORVEX_VIRTUAL_DAQ_EVENTS_H

// Every-N-samples events. A task with an event has a thread of its own from its first start to its
// end, which calls the callback once for each interval, one after the other.

#include "card.h"

// Makes the thread if the task needs one and has none. Under the card's guard.
int32_t StartEventThread(Card &card, const std::shared_ptr<Task> &task);

#endif
