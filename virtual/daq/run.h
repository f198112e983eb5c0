#ifndef QUORVEX_VIRTUAL_DAQ_RUN_H
#define QUORVEX_VIRTUAL_DAQ_RUN_H

// A task's run: its sample clock, and what has happened up to now. Nothing happens sample by sample
// on a thread: whoever looks at a task settles it first. All under the card's guard.

#include "card.h"

// Sample i counts as done at the end of its period, (i + 1) periods after the start.
CardTime TimeOfCount(const Task &task, uint64_t count);  // when so many samples are done
uint64_t CountAt(const Task &task, CardTime time);

void StartRun(Card &card, Task &task);
void EndRun(Task &task);

// Brings a task's counts, outputs and events up to now; a trigger that has come starts it, an
// underrun or overrun ends it.
void Settle(Card &card, Task &task);
void SettleAll(Card &card);

// The started task with a sample clock that owns a channel, null if none does.
const Task *FindRunning(const Card &card, const char *channel);

bool IsStarted(const Task &task);  // armed or running
bool Regenerates(const Task &task);
// Samples a channel of the on-board memory of this task.
uint64_t ShareOfMemory(const Card &card, const Task &task);

#endif
