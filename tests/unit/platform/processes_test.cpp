// Programs started beside this process, by the real back-end.

#include "platform/processes.h"

#include "scratch_folder.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <functional>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace fs = std::filesystem;

class ProcessesTest : public testing::Test
{
protected:
    // A program of the test's own.
    std::string Script(const std::string &name, const std::string &text) const
    {
        folder.Write(name, "#!/bin/sh\n" + text);
        fs::permissions(folder.Path(name), fs::perms::owner_all);
        return folder.Path(name);
    }

    int32_t Start(const std::string &path) { return Processes().launch(path.c_str(), &process); }

    // What another process does can only be waited for by looking.
    static bool Within20s(const std::function<bool()> &fact)
    {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (!fact()) {
            if (std::chrono::steady_clock::now() > end) return false;
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
        return true;
    }

    std::string Line(const std::string &name) const
    {
        EXPECT_TRUE(Within20s([&] { return folder.Read(name).ends_with("\n"); })) << name;
        return folder.Read(name);
    }

    ScratchFolder folder;
    int32_t process = -7;
};

TEST_F(ProcessesTest, AProgramRunsWithTheEnvironmentAndWithoutArguments)
{
    const ScopedVariable mark("ZVK_TEST_MARK", "handed on");
    const std::string path = Script(
        "program", "echo \"$# $ZVK_TEST_MARK\" > \"" + folder.Path("out.part") + "\"\nmv \"" +
                       folder.Path("out.part") + "\" \"" + folder.Path("out") + "\"\n");
    ASSERT_EQ(Start(path), 0);
    EXPECT_GT(process, 0);
    EXPECT_EQ(Line("out"), "0 handed on\n");
    Processes().release(process);
}

TEST_F(ProcessesTest, WhatCannotBeStartedHasItsCodeAndNoHandle)
{
    EXPECT_EQ(Start(folder.Path("absent")), ZVK_LAUNCH_NOT_FOUND);
    EXPECT_EQ(Start(""), ZVK_LAUNCH_NOT_FOUND);
    folder.Write("plain", "no program\n");
    EXPECT_EQ(Start(folder.Path("plain") + "/below"), ZVK_LAUNCH_NOT_FOUND);
    EXPECT_EQ(Start(folder.Path("plain")), ZVK_LAUNCH_NOT_ALLOWED);
    fs::permissions(folder.Path("plain"), fs::perms::owner_all);
    EXPECT_EQ(Start(folder.Path("plain")), ZVK_LAUNCH_NOT_ALLOWED) << "it may run and cannot";
    EXPECT_EQ(Start(std::string(5000, 'x')), ZVK_LAUNCH_FAILED);
    EXPECT_EQ(process, -7);
}

TEST_F(ProcessesTest, NoOpenFileAndNoHeldBackSignalIsHandedOn)
{
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    sigset_t held;
    sigset_t before;
    (void)sigemptyset(&held);
    (void)sigaddset(&held, SIGTERM);
    (void)pthread_sigmask(SIG_BLOCK, &held, &before);
    const std::string path = Script("sleeper", "exec sleep 100\n");
    ASSERT_EQ(Start(path), 0);
    (void)pthread_sigmask(SIG_SETMASK, &before, nullptr);

    (void)close(ends[1]);
    char byte = 0;
    EXPECT_EQ(read(ends[0], &byte, 1), 0) << "nobody else holds the pipe";
    (void)close(ends[0]);
    ASSERT_EQ(kill(process, SIGTERM), 0);
    int status = 0;
    ASSERT_EQ(waitpid(process, &status, 0), process);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGTERM);
    Processes().release(process);
}

TEST_F(ProcessesTest, EndedProgramsAreClearedAwayByTheNextCall)
{
    const std::string path = Script("short", "exit 3\n");
    for (int round = 0; round < 20; ++round) {
        ASSERT_EQ(Start(path), 0);
        const int32_t ended = process;
        EXPECT_TRUE(Within20s([&] {
            Processes().release(ended);
            return kill(ended, 0) != 0 && errno == ESRCH;  // a zombie still has its number
        })) << round;
    }
}
