#pragma once

#include "media/clip.h"
#include "media/libav.h"

namespace velorin {

// Y'CbCr to and from RGB for what the scaling library does not do exactly: it takes white in 16
// bits for 65280. Black and white of the video become 0 and 65535; what lies beyond is clipped.

// The frame's matrix, numbered as in ITU-T H.273; where it names none, that of ITU-R BT.709 from
// 720 lines on and that of BT.601 below. Throws std::runtime_error for one that is not known here.
int MatrixOf(const AVFrame& frame);
int MatrixOf(int named, int height);
// Whether black is code 0 and white the last one; gray is taken so if nothing is said.
bool HasFullRange(const AVFrame& frame);
bool HasFullRange(int format, int namedRange);

// Where one channel's samples stand in a frame.
struct Channel {
    std::uint8_t* data;
    std::ptrdiff_t rowBytes;
    int step;
    int shift;
    int depth;
    bool wide;     // two bytes a sample
    bool swapped;  // in the other order than this machine's
};
Channel ChannelOf(const AVFrame& frame, int index);

// `frame` is gray or has as many chroma samples as luma ones; `picture` has its size already.
void UnpackVideo(const AVFrame& frame, Picture& picture);

// `picture` is of 16 bits; `frame` is planar with as many chroma samples as luma ones, two bytes a
// sample.
void PackVideo(const Picture& picture, AVFrame& frame);

}  // namespace velorin
