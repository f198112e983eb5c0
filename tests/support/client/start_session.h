#ifndef QUORVEX_TESTS_START_SESSION_H
#define QUORVEX_TESTS_START_SESSION_H

#include <cstdint>

// ZVK_init, for a program that starts several sessions: the force calibration comes up once in a
// process, and every later start that gets as far ends there. That is 0 here; a later start that
// answers 0 is a failed test.
int32_t StartSession(uint32_t vi = 0, const char *name = "", uint16_t flags = 0);

#endif
