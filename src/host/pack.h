#pragma once

#include <cstdint>

#include "host/spark_api.h"

namespace velorin {

// Between the host's buffers, three channels of bytes, 12 bits in 16 or halves, and the engine's
// blocks, one or four channels of bytes, 16 bits or floats. The host's threads share the pixels.
// `info` tells the format and the size; with null nothing is done, nor in a format that is not
// known. What the host's threads share beyond the block's bytes is left out. All of them answer 1.
//
// The 12 bits, the upper ones of the host's word, are plain numbers from 0 to 4095 in the block:
// widening them to the range of 16 bits is the caller's part, and so is narrowing them before the
// way back.

// Fills `block`, of four channels, from `host`; alpha becomes white. First clears as many of its
// bytes as a frame of the host has. With `argument` 1 nothing happens where `extra` is null, and
// 12-bit pixels all become white; with any other, `extra` is not looked at.
int sparkCombine4Buffers(const spark_info_struct* info, void* block, std::int64_t blockBytes,
                         const void* host, const void* extra, int argument);

// Fills `block`, of one channel, from a channel of `host`: 0 red, 1 green, 2 blue. Any other leaves
// the block as it is.
int sparkCombine1Buffers(const spark_info_struct* info, void* block, std::int64_t blockBytes,
                         const void* host, int channel);

// Splits `block`, of four channels, into colour and alpha, the latter in all three channels of a
// buffer of its own. `colour` is cleared first. Of 12-bit words the lower 4 bits stay as they are.
// A null pointer: a line on the standard output, and nothing else but the clearing.
int sparkUnCombine4Buffers(const spark_info_struct* info, void* colour, const void* block,
                           std::int64_t blockBytes, void* alpha);

}  // namespace velorin
