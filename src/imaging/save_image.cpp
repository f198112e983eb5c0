// One picture as a file, whole or not at all.

#include "imaging/camera.h"
#include "imaging/file_naming.h"
#include "platform/files.h"
#include "platform/media.h"
#include "quorvex/camera.h"

#include <cstring>
#include <exception>
#include <string>
#include <vector>

constexpr int kTemporaryNames = 100;

static std::string FolderOf(const std::string &path)
{
    const size_t slash = path.rfind('/');
    return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

// A file of its own beside the one to be. A name that is taken belongs to another writer.
static int OpenTemporary(const std::string &folder, std::string &path)
{
    for (int number = 0; number < kTemporaryNames; ++number) {
        path = folder + "quorvex-" + std::to_string(number) + ".part";
        const int file = Files().open(path.c_str(), ZVK_OPEN_EXCLUSIVE);
        if (file >= 0) return file;
    }
    return -1;
}

static bool WriteBytes(int file, const std::vector<uint8_t> &bytes)
{
    const bool written = Files().write(file, bytes.data(), bytes.size()) >= 0;
    return Files().close(file) == 0 && written;
}

// Takes the place of a file of that name only when all bytes are there. What isn't a plain file, or
// must not be written, keeps its place.
static bool PutInPlace(const std::string &path, const std::vector<uint8_t> &bytes)
{
    const ZVK_Access access = Files().access(path.c_str());
    if (access == ZVK_ACCESS_READ_ONLY) return false;
    std::string temporary;
    const int file = OpenTemporary(FolderOf(path), temporary);
    if (file < 0) return false;
    bool good = WriteBytes(file, bytes);
    if (good && access != ZVK_ACCESS_ABSENT)
        (void)Files().copyMode(path.c_str(), temporary.c_str());  // the picture counts for more
    good = good && Files().rename(temporary.c_str(), path.c_str()) == 0;
    if (!good) (void)Files().remove(temporary.c_str());
    return good;
}

// A copy, so that the loops go on while the file is made.
static cv::Mat CopyOf(bool withOverlay)
{
    if (withOverlay) {
        const std::lock_guard picture(CameraPicture());
        return g_camera.displayImage.clone();
    }
    const std::lock_guard frame(CameraFrame());
    return g_camera.acquiredImage.clone();
}

static bool Save(const char *fileName, bool withOverlay)
{
    const cv::Mat copy = CopyOf(withOverlay);
    if (copy.empty()) return false;
    std::vector<uint8_t> bytes;
    const ZVK_Picture picture = {copy.data, copy.cols, copy.rows,
                                 static_cast<int64_t>(copy.step[0])};
    if (Media().encode(fileName, picture, bytes) < 0) return false;
    return PutInPlace(fileName, bytes);
}

int32_t ZVK_Camera_SaveImage(SessionHandle, char *fileName, uint16_t showOverlay)
{
    if (!CameraInitialised()) return ZVK_CAMERA_NOT_INITIALIZED;
    char made[kPathSize];
    const char *path = fileName;
    if (path == nullptr || *path == '\0') {
        if (!MakeFileName(ZVK_FOLDER_PICTURES, ".tif", made)) return ZVK_CAMERA_IMAGE_WRITE_FAILED;
        if (fileName != nullptr) std::strcpy(fileName, made);
        path = made;
    }
    try {
        return Save(path, showOverlay != 0) ? ZVK_SUCCESS : ZVK_CAMERA_IMAGE_WRITE_FAILED;
    } catch (const std::exception &) {  // cv::Exception or std::bad_alloc
        return ZVK_CAMERA_IMAGE_WRITE_FAILED;
    }
}
