#ifndef QUORVEX_TESTS_RECORDING_WINDOWS_H
#define QUORVEX_TESTS_RECORDING_WINDOWS_H

// A desktop that writes down what it is told. In use as long as the object lives.
//
// Each call but show is kept as its entry's name with its arguments, windows being w1, w2 and so on
// in the order of their making:
//
//     open("Camera Window")
//     resize("Camera Window", 800, 600)
//     find("Camera Window") = w1
//     setStyle(w1, 0, 0x10000)
//     setParent(w1, w2)

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

class RecordingWindows
{
public:
    // A picture as it was shown: its title, its size and its first pixel, blue first.
    struct Shown
    {
        std::string title;
        int32_t width;
        int32_t height;
        uint8_t pixel[3];
    };

    RecordingWindows();
    ~RecordingWindows();
    RecordingWindows(const RecordingWindows &) = delete;
    RecordingWindows &operator=(const RecordingWindows &) = delete;

    std::vector<std::string> Calls() const;
    void ForgetCalls();
    std::vector<Shown> Pictures() const;

    void *Offer(const std::string &title);  // a top-level window of another program
    void *Window(const std::string &title) const;
    void *ParentOf(const std::string &title) const;
    std::vector<std::string> OpenTitles() const;

    // A mouse event on the window, on this thread. False when nobody is told of them.
    bool Mouse(const std::string &title, int event, int x, int y, int flags) const;

    // Lets the nth call from now fail, 1 being the next one; show counts too.
    void FailAt(int64_t nth);
    bool Failed() const;
    void OnShow(std::function<void()> call);  // at each picture, on the thread that shows it
};

#endif
