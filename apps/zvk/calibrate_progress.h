#ifndef QUORVEX_ZVK_CALIBRATE_PROGRESS_H
#define QUORVEX_ZVK_CALIBRATE_PROGRESS_H

// What a user sees of a calibration as it goes: a bar on a terminal, plain lines elsewhere; and the
// questions in between. Ctrl-C, SIGTERM and SIGHUP are a wish to end, not an end.

#include <functional>
#include <string>

// From now on. The signals stay caught until the process ends.
void WatchForEnding();
bool EndingIsAsked();

// Text of a bar: "[#####---------------]  3 of 12  Path A along x". `share` is of the whole, 0
// to 1.
std::string BarText(double share, int done, int steps, const std::string &words);

class Progress
{
public:
    explicit Progress(int steps);
    ~Progress();
    Progress(const Progress &) = delete;
    Progress &operator=(const Progress &) = delete;

    // Does the work on a thread of its own and waits for it, however long it takes. `seconds` is
    // how long it should take. When the end is asked for meanwhile, `onEnding` is called once.
    int Do(const std::string &words, double seconds, const std::function<int()> &work,
           const std::function<void()> &onEnding = {});
    void Say(const std::string &line);  // a line of its own
    void ClearBar();

private:
    void Show(const std::string &words, double shareOfStep);

    int m_steps;
    int m_done = 0;
    bool m_onTerminal;
    bool m_barIsShown = false;
};

enum class Reply
{
    goOn,
    end,
    skip
};

// Asks, and waits for Enter, s or q. The end of input and a wish to end count as q.
Reply AskUser(const std::string &question, bool canSkip);

#endif
