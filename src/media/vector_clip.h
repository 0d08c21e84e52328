#pragma once

#include <memory>
#include <optional>
#include <string>

#include "media/clip.h"

namespace velorin {

// Clips of motion made elsewhere, read as coded pictures: channel 0 codes the vector's horizontal
// component and channel 1 the vertical one, 8-bit 127, 16-bit 32767 and float 0.5 being no motion;
// a full alpha tells that there is a vector. What an EXR does not store of its picture is clear.

// Reads a clip whose pixels are coded already, RGBA or RGB, which has a vector everywhere. Where a
// float component or alpha is infinite or NaN, alpha becomes 0. Throws MediaError of kind kInput
// for what OpenClip refuses, for gray clips, and for channels that hold vectors in pixels: beside
// colours, only where the user has not said that these are coded.
std::unique_ptr<ClipReader> OpenCodedVectors(const std::string& name, bool saidToBeCoded);

enum class VectorDirection { kForward, kBackward };

struct VectorChannels {
    std::string u;
    std::string v;
};

// Reads a sequence of half or float whose files hold vectors in pixels. The pictures are float and
// coded for a scale of 1, channels 0 and 1 being (v + 1) / 2; where a component is infinite or NaN,
// alpha is 0.
//
// `chosen` are read or else, of what the first file has, forward.u and forward.v (backward.u and
// backward.v by the direction), motion.x and motion.y, or the only two that there are, unless they
// are named for the other direction. All parts of a file are looked through. What is read of the
// first file is read of the others.
//
// Coding costs little: a vector of -0.5 and below comes back exactly, and any other v as the
// nearest float to v + 1, less 1. The error is at most 2^-24 (v + 1) pixels: 6e-8 near 0, 4.8e-7
// (2^-21) from 7 to 15 pixels.
//
// Throws MediaError of kind kInput; the text lists the channels where none fit.
std::unique_ptr<ClipReader> OpenPixelVectors(const std::string& name, VectorDirection direction,
                                             const std::optional<VectorChannels>& chosen);

}  // namespace velorin
