#ifndef QUORVEX_TESTS_OTHER_PROCESS_H
#define QUORVEX_TESTS_OTHER_PROCESS_H

// A second process that runs one test of the same program as its role. Roles are disabled tests, so
// that they run in no other way:
//
//     TEST(DISABLED_Role, Listens) { ... }
//     OtherProcess other("DISABLED_Role.Listens");

#include <string>
#include <sys/types.h>

class OtherProcess
{
public:
    explicit OtherProcess(const std::string &role);
    ~OtherProcess();  // kills it if it still runs
    OtherProcess(const OtherProcess &) = delete;
    OtherProcess &operator=(const OtherProcess &) = delete;

    int Wait();  // its exit code, 0 when its test passed; below 0 the signal that ended it
    void Send(int signal) const;
    pid_t Number() const { return m_process; }

private:
    pid_t m_process = -1;
};

#endif
