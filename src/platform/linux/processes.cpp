// Programs started by posix_spawn. A process's handle is its number.

#include "platform/processes.h"

#include "platform/backends.h"

#include <cerrno>
#include <fcntl.h>
#include <mutex>
#include <new>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

// Those started and not yet seen to have ended. They are looked at by the way, at each launch and
// release, so that no thread has to wait for them and at most the last ones stay behind as zombies.
struct Children
{
    std::mutex guard;  // of the list
    std::vector<pid_t> running;
};

// Never destroyed, as a thread of the client's may still start something while the process ends.
static Children &Started()
{
    static auto *const children = new Children;
    return *children;
}

// The list's lock is held.
static void ForgetEnded(std::vector<pid_t> &running)
{
    std::erase_if(running, [](pid_t child) { return waitpid(child, nullptr, WNOHANG) != 0; });
}

// What the new program finds: no files but three that go nowhere, no signal held back or ignored.
class SpawnSettings
{
public:
    SpawnSettings()
    {
        m_ready = posix_spawn_file_actions_init(&m_files) == 0 &&
                  posix_spawnattr_init(&m_attributes) == 0;
    }

    ~SpawnSettings()
    {
        if (!m_ready) return;
        (void)posix_spawn_file_actions_destroy(&m_files);
        (void)posix_spawnattr_destroy(&m_attributes);
    }

    SpawnSettings(const SpawnSettings &) = delete;
    SpawnSettings &operator=(const SpawnSettings &) = delete;

    int Fill()
    {
        if (!m_ready) return ENOMEM;
        for (const int file : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
            const int code =
                posix_spawn_file_actions_addopen(&m_files, file, "/dev/null", O_RDWR, 0);
            if (code != 0) return code;
        }
        const int code = posix_spawn_file_actions_addclosefrom_np(&m_files, STDERR_FILENO + 1);
        if (code != 0) return code;
        sigset_t signals;
        (void)sigemptyset(&signals);
        (void)posix_spawnattr_setsigmask(&m_attributes, &signals);
        (void)sigfillset(&signals);
        (void)posix_spawnattr_setsigdefault(&m_attributes, &signals);
        return posix_spawnattr_setflags(&m_attributes,
                                        POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }

    const posix_spawn_file_actions_t *Files() const { return &m_files; }
    const posix_spawnattr_t *Attributes() const { return &m_attributes; }

private:
    posix_spawn_file_actions_t m_files{};
    posix_spawnattr_t m_attributes{};
    bool m_ready = false;
};

static int32_t CodeOf(int error)
{
    switch (error) {
    case ENOENT:
    case ENOTDIR: return ZVK_LAUNCH_NOT_FOUND;
    case EACCES:
    case EPERM:
    case ENOEXEC: return ZVK_LAUNCH_NOT_ALLOWED;
    default: return ZVK_LAUNCH_FAILED;
    }
}

static int Spawn(const char *path, pid_t &child)
{
    SpawnSettings settings;
    const int code = settings.Fill();
    if (code != 0) return code;
    char *const arguments[] = {const_cast<char *>(path), nullptr};
    return posix_spawn(&child, path, settings.Files(), settings.Attributes(), arguments, environ);
}

static int32_t Launch(const char *path, int32_t *process)
{
    try {
        Children &children = Started();
        const std::lock_guard lock(children.guard);
        ForgetEnded(children.running);
        children.running.reserve(children.running.size() + 1);  // before there is a child to keep
        pid_t child = 0;
        const int code = Spawn(path, child);
        if (code != 0) return CodeOf(code);
        children.running.push_back(child);
        *process = child;
        return 0;
    } catch (const std::bad_alloc &) {
        return ZVK_LAUNCH_FAILED;
    }
}

static void ReleaseProcess(int32_t)
{
    try {
        Children &children = Started();
        const std::lock_guard lock(children.guard);
        ForgetEnded(children.running);
    } catch (const std::bad_alloc &) {
        return;  // nothing has ever been started
    }
}

const ZVK_ProcessTable &SystemProcesses()
{
    static constexpr ZVK_ProcessTable kTable = {.launch = Launch, .release = ReleaseProcess};
    return kTable;
}
