#ifndef QUORVEX_VIRTUAL_DAQ_TURN_H
#define QUORVEX_VIRTUAL_DAQ_TURN_H

// Reads and writes of one task come one after the other, so that no two blocks are mixed.

#include "card.h"

// An answer of TakeTurn beside the vendor's codes: the time-out was over first.
constexpr int32_t kTurnTooLate = -1;

// Waits until no other read or write of the task goes on. 0, kTurnTooLate, or the vendor's code
// when the task was stopped or cleared meanwhile.
int32_t TakeTurn(Guard &guard, const Task &task, Wait &wait);

// Holds the turn for as long as it lives. Made and ended under the card's guard.
struct Turn
{
    explicit Turn(Task &ofTask) : task(ofTask) { task.busy = true; }
    ~Turn() { task.busy = false; }
    Turn(const Turn &) = delete;
    Turn &operator=(const Turn &) = delete;

    Task &task;
};

#endif
