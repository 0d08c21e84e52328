#pragma once

#include "media/clip.h"
#include "media/libav.h"

namespace velorin {

// Which field comes first in a movie. `first` is its first picture, decoded; null where there is
// none. What the picture itself says holds against the stream: encoders are known that write the
// wrong order into the head.
FieldOrder FieldOrderOf(const AVStream& stream, const AVFrame* first);

// Marks what will be encoded: the encoder before it is opened, and each picture. An order that is
// neither upper nor lower first marks nothing.
void MarkFields(AVCodecContext& encoder, FieldOrder order);
void MarkFields(AVFrame& picture, FieldOrder order);

inline bool IsInterlaced(FieldOrder order) {
    return order == FieldOrder::kUpperFirst || order == FieldOrder::kLowerFirst;
}

}  // namespace velorin
