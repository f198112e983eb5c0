// The camera module's record and locks.

#include "imaging/camera.h"

#include <condition_variable>

namespace {

struct Locks
{
    std::recursive_mutex turn;
    std::mutex picture;
    std::mutex frame;
    std::mutex writer;
    std::mutex data;
    std::condition_variable changed;  // with data
};

}  // namespace

ZVK_CameraState &g_camera = *new ZVK_CameraState;

// Never destroyed, as the record: the loops wait on it while the process ends.
static Locks &TheLocks()
{
    static Locks &locks = *new Locks;
    return locks;
}

std::recursive_mutex &CameraTurn() { return TheLocks().turn; }

std::mutex &CameraPicture() { return TheLocks().picture; }

std::mutex &CameraFrame() { return TheLocks().frame; }

std::mutex &CameraWriter() { return TheLocks().writer; }

std::mutex &CameraData() { return TheLocks().data; }

void CameraChanged() { TheLocks().changed.notify_all(); }

bool CameraSimulated()
{
    const std::lock_guard data(CameraData());
    return g_camera.installed != 0 && g_camera.simulate != 0;
}

bool CameraInitialised()
{
    const std::lock_guard data(CameraData());
    return g_camera.installed != 0 && g_camera.initialised == 1;
}

void PointHeaderAt(IplImage &header, const cv::Mat &picture)
{
    header = picture.empty() ? IplImage{} : cvIplImage(picture);
}
