// zvk live as its user sees it: a screen, a mouse, and what the program says.

#include "virtual_screen.h"

#include <gtest/gtest.h>

#include <cmath>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

constexpr const char *kCamera = "Camera Window";
constexpr int kLeft = 40;  // where the sample's window is
constexpr int kTop = 40;

// zvk live in a process of its own, with the simulated sample.
class LiveProgram
{
public:
    LiveProgram()
    {
        unsetenv("ZVK_COMMON_APPDATA");
        int channel[2] = {-1, -1};
        if (pipe(channel) != 0) return;
        (void)fcntl(channel[0], F_SETFL, O_NONBLOCK);
        posix_spawn_file_actions_t files;
        posix_spawn_file_actions_init(&files);
        posix_spawn_file_actions_addopen(&files, 0, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_adddup2(&files, channel[1], 1);
        posix_spawn_file_actions_adddup2(&files, channel[1], 2);
        posix_spawn_file_actions_addclose(&files, channel[0]);
        std::string program = std::string(std::getenv("ZVK_TEST_BINARY_DIR")) + "/bin/zvk";
        char command[] = "live";
        char *const arguments[] = {program.data(), command, nullptr};
        (void)posix_spawn(&m_process, program.c_str(), &files, nullptr, arguments, environ);
        posix_spawn_file_actions_destroy(&files);
        close(channel[1]);
        m_output = channel[0];
    }

    ~LiveProgram()
    {
        if (m_process > 0) {
            Send(SIGKILL);
            (void)Wait();
        }
        close(m_output);
    }

    LiveProgram(const LiveProgram &) = delete;
    LiveProgram &operator=(const LiveProgram &) = delete;

    void Send(int signal) const { (void)kill(m_process, signal); }

    int Wait()
    {
        int status = 0;
        if (m_process < 0 || waitpid(m_process, &status, 0) != m_process) return -1000;
        m_process = -1;
        (void)Text();
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }

    const std::string &Text()
    {
        char bytes[512];
        for (ssize_t count = 0; (count = read(m_output, bytes, sizeof bytes)) > 0;)
            m_text.append(bytes, static_cast<size_t>(count));
        return m_text;
    }

    bool SaysSoon(const std::string &words)
    {
        return Soon([&] { return Text().find(words) != std::string::npos; });
    }

private:
    pid_t m_process = -1;
    int m_output = -1;
    std::string m_text;
};

class ZvkLive : public testing::Test
{
protected:
    ScratchFolder m_folder;
    ScopedVariable m_meeting{"XDG_RUNTIME_DIR",
                             m_folder.Path().c_str()};  // no other mouse is heard
    VirtualScreen m_screen{"1024x768x24"};
    LiveProgram m_live;

    void Drag(int fromX, int fromY, int toX, int toY) const
    {
        m_screen.MoveTo(kLeft + fromX, kTop + fromY);
        m_screen.Button(1, true);
        m_screen.MoveTo(kLeft + (fromX + toX) / 2, kTop + (fromY + toY) / 2);
        m_screen.MoveTo(kLeft + toX, kTop + toY);
        m_screen.Button(1, false);
    }
};

// How much of the circle around a place of the window is drawn, 0 to 1.
static double Ring(const cv::Mat &seen, int x, int y)
{
    constexpr int kParts = 24;
    int drawn = 0;
    for (int part = 0; part < kParts; ++part) {
        const double angle = 2.0 * CV_PI * part / kParts;
        bool bright = false;
        for (int radius = 8; radius <= 12; ++radius) {
            const int atX = kLeft + x + cvRound(radius * std::cos(angle));
            const int atY = kTop + y + cvRound(radius * std::sin(angle));
            bright = bright || seen.at<cv::Vec3b>(atY, atX)[1] > 100;
        }
        drawn += bright;
    }
    return static_cast<double>(drawn) / kParts;
}

TEST_F(ZvkLive, MovesACircleWithTheMouse)
{
    ASSERT_TRUE(m_live.SaysSoon("The session is up")) << m_live.Text();
    m_screen.Click(kLeft + 250, kTop + 200);
    ASSERT_TRUE(Soon([&] { return Ring(m_screen.Look(), 250, 200) > 0.9; })) << m_live.Text();
    (void)m_screen.Look("live_trap_added");

    Drag(253, 203, 560, 410);

    EXPECT_TRUE(Soon([&] { return Ring(m_screen.Look(), 557, 407) > 0.9; }));
    EXPECT_TRUE(Soon([&] { return Ring(m_screen.Look(), 250, 200) < 0.1; }));
    (void)m_screen.Look("live_trap_dragged");

    // A notch of the wheel: the point under the pointer stays, all else moves away from it.
    m_screen.Click(kLeft + 557, kTop + 407, 4);
    m_screen.Click(kLeft + 557, kTop + 407, 4);
    EXPECT_TRUE(Soon([&] { return Ring(m_screen.Look(), 557, 407) > 0.9; }));
    m_screen.Click(kLeft + 300, kTop + 100);
    EXPECT_TRUE(Soon([&] { return Ring(m_screen.Look(), 300, 100) > 0.9; })) << m_live.Text();
    (void)m_screen.Look("live_zoomed");

    m_screen.Click(kLeft + 557, kTop + 407, 3);
    EXPECT_TRUE(Soon([&] { return Ring(m_screen.Look(), 557, 407) < 0.1; }));
    m_live.Send(SIGINT);
    EXPECT_EQ(m_live.Wait(), 0);
}

TEST_F(ZvkLive, AddsAndDeletesTrapsByClicks)
{
    ASSERT_TRUE(m_live.SaysSoon("The session is up")) << m_live.Text();

    m_screen.Click(kLeft + 250, kTop + 200);
    EXPECT_TRUE(m_live.SaysSoon("added at 250, 200")) << m_live.Text();
    m_screen.Click(kLeft + 250, kTop + 200, 3);
    EXPECT_TRUE(m_live.SaysSoon("deleted")) << m_live.Text();

    m_live.Send(SIGINT);
    EXPECT_EQ(m_live.Wait(), 0);
    EXPECT_NE(m_live.Text().find("The session is closed."), std::string::npos) << m_live.Text();
}

TEST_F(ZvkLive, EndsWhenItsWindowIsClosed)
{
    ASSERT_TRUE(m_live.SaysSoon("The session is up")) << m_live.Text();
    m_screen.AskToClose(m_screen.Find(kCamera));
    EXPECT_EQ(m_live.Wait(), 0);
    EXPECT_NE(m_live.Text().find("The session is closed."), std::string::npos) << m_live.Text();
}

TEST_F(ZvkLive, EndsCleanlyWhenAskedToTerminate)
{
    ASSERT_TRUE(m_live.SaysSoon("The session is up")) << m_live.Text();
    m_live.Send(SIGTERM);
    EXPECT_EQ(m_live.Wait(), 0);
    EXPECT_NE(m_live.Text().find("The session is closed."), std::string::npos) << m_live.Text();
}

TEST_F(ZvkLive, EndsCleanlyWhenTheScreenDies)
{
    ASSERT_TRUE(m_live.SaysSoon("The session is up")) << m_live.Text();
    m_screen.Server().Kill();
    EXPECT_EQ(m_live.Wait(), 0);
    EXPECT_NE(m_live.Text().find("The session is closed."), std::string::npos) << m_live.Text();
}

TEST(ZvkLiveWithoutAScreen, SaysSoAndClosesTheSession)
{
    const ScopedVariable headless("ZVK_HEADLESS", "1");
    LiveProgram live;
    EXPECT_EQ(live.Wait(), 1);
    EXPECT_NE(live.Text().find("needs a display"), std::string::npos) << live.Text();
}
