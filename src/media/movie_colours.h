#pragma once

#include "media/clip.h"
#include "media/libav.h"

namespace velorin {

// What a decoder that has begun says of its pictures, but for their size: layout, depth, colours.
void DescribePictures(const AVCodecContext& decoder, ClipInfo& info);

// Names the colours of what will be encoded, before the encoder is opened; its codec and its pixel
// format are set. Those of a movie stay as they are told, and so do its codes: matrix and range.
// Stills are taken for ITU-R BT.709.
void NameColours(AVCodecContext& encoder, const ClipInfo& source);

// The same names on a picture for that encoder, which also tells its size and format.
void NameColours(const AVCodecContext& encoder, AVFrame& picture);

}  // namespace velorin
