#ifndef QUORVEX_VIRTUAL_DAQ_TASKS_H
#define QUORVEX_VIRTUAL_DAQ_TASKS_H

// What calls that start by themselves, and the reset, need of tasks. All under the card's guard.

#include "card.h"

int32_t Start(Card &card, const std::shared_ptr<Task> &task);
int32_t Stop(Card &card, Task &task);
void Clear(Card &card, Task &task);  // the record lives on as long as somebody holds it

#endif
