#include "recording_media.h"

#include "platform/media.h"

#include <algorithm>
#include <charconv>
#include <mutex>

namespace {

struct Record
{
    std::mutex lock;
    std::vector<std::string> calls;
    std::vector<std::string> open;
    std::function<void()> onWrite;
    int64_t untilFailure = 0;
    bool failed = false;
    uintptr_t videos = 0;
};

}  // namespace

static Record *s_record;

static std::string LastPart(const std::string &path) { return path.substr(path.rfind('/') + 1); }

static std::string Size(int32_t width, int32_t height)
{
    return std::to_string(width) + "x" + std::to_string(height);
}

static std::string Name(void *video)
{
    return "v" + std::to_string(reinterpret_cast<uintptr_t>(video));
}

// Lock of the record.
static bool Fails()
{
    if (s_record->untilFailure == 0 || --s_record->untilFailure > 0) return false;
    s_record->failed = true;
    return true;
}

static int Encode(const char *fileName, const ZVK_Picture &picture, std::vector<uint8_t> &bytes)
{
    const std::lock_guard lock(s_record->lock);
    s_record->calls.push_back("encode(" + LastPart(fileName) + ", " +
                              Size(picture.width, picture.height) + ")");
    if (Fails()) return -1;
    bytes.assign({'p', 'i', 'c'});
    return 0;
}

static void *OpenVideo(const char *fileName, double rate, int32_t width, int32_t height, bool color)
{
    const std::lock_guard lock(s_record->lock);
    char number[32];
    const auto end = std::to_chars(number, number + sizeof number, rate);
    std::string call = "open(" + LastPart(fileName) + ", " + std::string(number, end.ptr) + ", " +
                       Size(width, height) + (color ? ", color)" : ", grey)");
    void *video = nullptr;
    if (!Fails()) {
        video = reinterpret_cast<void *>(++s_record->videos);
        call += " = " + Name(video);
        s_record->open.push_back(Name(video));
    }
    s_record->calls.push_back(call);
    return video;
}

static int WriteFrame(void *video, const ZVK_Picture &frame)
{
    std::function<void()> onWrite;
    {
        const std::lock_guard lock(s_record->lock);
        s_record->calls.push_back("write(" + Name(video) + ", " + Size(frame.width, frame.height) +
                                  ")");
        if (Fails()) return -1;
        onWrite = s_record->onWrite;
    }
    if (onWrite) onWrite();
    return 0;
}

static int CloseVideo(void *video)
{
    const std::lock_guard lock(s_record->lock);
    s_record->calls.push_back("close(" + Name(video) + ")");
    std::erase(s_record->open, Name(video));
    return Fails() ? -1 : 0;
}

static constexpr ZVK_MediaTable kTable = {
    .encode = Encode, .openVideo = OpenVideo, .writeFrame = WriteFrame, .closeVideo = CloseVideo};

RecordingMedia::RecordingMedia()
{
    s_record = new Record;
    UseMedia(&kTable);
}

RecordingMedia::~RecordingMedia()
{
    UseMedia(nullptr);
    delete s_record;
    s_record = nullptr;
}

std::vector<std::string> RecordingMedia::Calls() const
{
    const std::lock_guard lock(s_record->lock);
    return s_record->calls;
}

void RecordingMedia::ForgetCalls()
{
    const std::lock_guard lock(s_record->lock);
    s_record->calls.clear();
}

std::vector<std::string> RecordingMedia::Open() const
{
    const std::lock_guard lock(s_record->lock);
    return s_record->open;
}

void RecordingMedia::FailAt(int64_t nth)
{
    const std::lock_guard lock(s_record->lock);
    s_record->untilFailure = nth;
    s_record->failed = false;
}

bool RecordingMedia::Failed() const
{
    const std::lock_guard lock(s_record->lock);
    return s_record->failed;
}

void RecordingMedia::OnWrite(std::function<void()> call)
{
    const std::lock_guard lock(s_record->lock);
    s_record->onWrite = std::move(call);
}
