#ifndef QUORVEX_VIRTUAL_DAQ_CLOCK_H
#define QUORVEX_VIRTUAL_DAQ_CLOCK_H

// Card time, and waiting for it. All under the card's guard.

#include "card.h"

// True on the event threads of the card, in callbacks and between them.
extern thread_local bool t_onEventThread;

CardTime NowAt(const Card &card);
void MoveTo(Card &card, CardTime time);  // forward only; nothing in real pace
void SetPace(Card &card, int32_t pace);
void RestartTime(Card &card, int32_t pace);  // from 0

double ToSeconds(CardTime time);
CardTime FromSeconds(double seconds);                       // negative and not-a-number: 0
CardTime DeadlineAfter(const Card &card, double timeoutS);  // negative: never

// Waits until something may have changed, or card time has come to what `wait` names: its due time
// or its deadline. In fast pace it moves card time there instead. The caller looks again and, if
// it must, waits again.
void Pause(Guard &guard, Wait &wait);

// Whether the deadline has come.
bool IsLate(const Card &card, const Wait &wait);

// Called with all that a moved time brings: settles every task and wakes every waiting thread.
void TellChange(Card &card);

#endif
