#include "other_process.h"

#include <csignal>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

OtherProcess::OtherProcess(const std::string &role)
{
    char program[] = "/proc/self/exe";
    std::string filter = "--gtest_filter=" + role;
    char disabled[] = "--gtest_also_run_disabled_tests";
    char brief[] = "--gtest_brief=1";
    char *const arguments[] = {program, filter.data(), disabled, brief, nullptr};
    if (posix_spawn(&m_process, program, nullptr, nullptr, arguments, environ) != 0)
        throw std::runtime_error("can't start " + role);
}

OtherProcess::~OtherProcess()
{
    if (m_process < 0) return;
    Send(SIGKILL);
    (void)Wait();
}

int OtherProcess::Wait()
{
    int status = 0;
    if (m_process < 0 || waitpid(m_process, &status, 0) != m_process) return -1000;
    m_process = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

void OtherProcess::Send(int signal) const { (void)kill(m_process, signal); }
