#ifndef QUORVEX_VIRTUAL_DAQ_OUTPUT_H
#define QUORVEX_VIRTUAL_DAQ_OUTPUT_H

// The output buffer. All under the card's guard.

#include "card.h"

uint64_t WantedBufferSize(const Task &task);  // samples a channel; 0: as large as the first write
void EmptyBuffer(Task &task);                 // the next write allocates it anew

// Keeps samples in an output's track. `stride` is the distance of two samples of it in `samples`.
void AppendToTrack(const Card &card, OutputTrack &track, const double *samples, size_t stride,
                   uint64_t count);

#endif
