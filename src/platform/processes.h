#ifndef QUORVEX_PLATFORM_PROCESSES_H
#define QUORVEX_PLATFORM_PROCESSES_H

// Other programs: starting one beside this process. A test puts a table of its own here to see what
// is started and to refuse it.

#include <cstdint>
#include <type_traits>

enum : int32_t
{
    ZVK_LAUNCH_NOT_FOUND = -1,    // there is no such file
    ZVK_LAUNCH_NOT_ALLOWED = -2,  // it is no program, or the user may not run it
    ZVK_LAUNCH_FAILED = -3        // anything else, such as no room for one more process
};

// launch starts the program of that path, without arguments, and doesn't wait for it: 0 and a
// handle above 0, or a code above with the handle untouched. The program inherits the environment
// and nothing else: no open files, and standard input and output go nowhere. release gives the
// handle back; the program goes on.
#define ZVK_PROCESS_CALLS(X)                                                                       \
    X(launch, int32_t(const char *path, int32_t *process))                                         \
    X(release, void(int32_t process))

struct ZVK_ProcessTable
{
#define X(call, type) std::add_pointer_t<type> call;
    ZVK_PROCESS_CALLS(X)
#undef X
};

const ZVK_ProcessTable &Processes();               // the table in use, every entry set
void UseProcesses(const ZVK_ProcessTable *table);  // null: back to the operating system

#endif
