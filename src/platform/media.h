#ifndef QUORVEX_PLATFORM_MEDIA_H
#define QUORVEX_PLATFORM_MEDIA_H

// Pictures and videos in the formats of files, one table entry a call, so that a test can fail each
// of them.

#include "platform/picture.h"

#include <cstdint>
#include <type_traits>
#include <vector>

// - encode: the bytes of a picture's file, in the format that the name's extension tells. `bytes`
//   is undefined when that fails.
// - openVideo: begins a video of that rate (frames a second, 0.1 to 1000) and size in the container
//   that the name's extension tells (.avi, .mkv, .mp4, .mov); a file of that name is replaced. Null
//   for any other name and when no writer takes it.
// - writeFrame: adds a frame. One of another size is scaled to that of the video.
// - closeVideo: completes the file. Ends the handle also when that fails.
// 0, or a negative code. No call throws.
#define ZVK_MEDIA_CALLS(X)                                                                         \
    X(encode, int(const char *fileName, const ZVK_Picture &picture, std::vector<uint8_t> &bytes))  \
    X(openVideo,                                                                                   \
      void *(const char *fileName, double rate, int32_t width, int32_t height, bool color))        \
    X(writeFrame, int(void *video, const ZVK_Picture &frame))                                      \
    X(closeVideo, int(void *video))

struct ZVK_MediaTable
{
#define X(call, type) std::add_pointer_t<type> call;
    ZVK_MEDIA_CALLS(X)
#undef X
};

const ZVK_MediaTable &Media();               // the table in use, every entry set
void UseMedia(const ZVK_MediaTable *table);  // null: back to OpenCV

#endif
