#ifndef QUORVEX_IMAGING_FRAME_TEXT_H
#define QUORVEX_IMAGING_FRAME_TEXT_H

// The texts that are drawn into frames. Numbers have a point, whatever the caller's locale is.

#include <cstddef>
#include <cstdint>
#include <string>

constexpr size_t kFrameTextRoom = 256;  // with the terminator; longer texts are cut

// "1.50 sec  Frame Number: 7"
void PutStamp(std::string &text, double elapsed, int32_t number);

// "50 fps". room: kFrameTextRoom bytes.
void PutRate(char *text, double framesPerSecond);

#endif
