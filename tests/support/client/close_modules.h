#ifndef QUORVEX_TESTS_CLOSE_MODULES_H
#define QUORVEX_TESTS_CLOSE_MODULES_H

// Takes every module down by its own call. ZVK_close stops at a camera that isn't up, and a test
// may end with a session that came up in part.
void CloseModules();

#endif
