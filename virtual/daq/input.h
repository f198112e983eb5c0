#ifndef QUORVEX_VIRTUAL_DAQ_INPUT_H
#define QUORVEX_VIRTUAL_DAQ_INPUT_H

// Analog inputs. Samples are not kept: a read asks the sources for those it takes.

#include "card.h"

uint32_t InputBufferSize(const Task &task);  // samples a channel

#endif
