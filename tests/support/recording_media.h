#ifndef QUORVEX_TESTS_RECORDING_MEDIA_H
#define QUORVEX_TESTS_RECORDING_MEDIA_H

// Picture and video files that are written down and not made. In use as long as the object lives.
//
//     encode(a.tif, 800x600)
//     open(a.avi, 50, 256x256, color) = v1
//     write(v1, 256x256)
//     close(v1)

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

class RecordingMedia
{
public:
    RecordingMedia();
    ~RecordingMedia();
    RecordingMedia(const RecordingMedia &) = delete;
    RecordingMedia &operator=(const RecordingMedia &) = delete;

    std::vector<std::string> Calls() const;  // files by the last part of their path
    void ForgetCalls();
    std::vector<std::string> Open() const;  // videos that are open

    // Lets the nth call from now fail, 1 being the next one.
    void FailAt(int64_t nth);
    bool Failed() const;
    void OnWrite(std::function<void()> call);  // at each frame
};

#endif
