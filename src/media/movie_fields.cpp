#include "media/movie_fields.h"

namespace velorin {
namespace {

// The libraries' header takes the two letters for the field that is stored first and the one that
// is shown first. QuickTime and Matroska files mean by them, as do the libraries' own programs,
// that fields are stored line by line in turn, with the first letter's shown first.
AVFieldOrder InterleavedOrder(FieldOrder order) {
    return order == FieldOrder::kUpperFirst ? AV_FIELD_TB : AV_FIELD_BT;
}

FieldOrder OrderOfHead(const AVCodecParameters& stream) {
    switch (stream.field_order) {
        case AV_FIELD_PROGRESSIVE:
            return FieldOrder::kProgressive;
        case AV_FIELD_TT:
        case AV_FIELD_TB:
            return FieldOrder::kUpperFirst;
        case AV_FIELD_BB:
        case AV_FIELD_BT:
            return FieldOrder::kLowerFirst;
        default:
            return FieldOrder::kUnknown;
    }
}

}  // namespace

FieldOrder FieldOrderOf(const AVStream& stream, const AVFrame* first) {
    const FieldOrder head = OrderOfHead(*stream.codecpar);
    const bool marked = first != nullptr && first->interlaced_frame != 0;
    if (head == FieldOrder::kProgressive || !marked) return head;
    return first->top_field_first != 0 ? FieldOrder::kUpperFirst : FieldOrder::kLowerFirst;
}

void MarkFields(AVCodecContext& encoder, FieldOrder order) {
    if (!IsInterlaced(order)) return;
    encoder.field_order = InterleavedOrder(order);
    encoder.flags |= AV_CODEC_FLAG_INTERLACED_DCT | AV_CODEC_FLAG_INTERLACED_ME;
}

void MarkFields(AVFrame& picture, FieldOrder order) {
    if (!IsInterlaced(order)) return;
    picture.interlaced_frame = 1;
    picture.top_field_first = order == FieldOrder::kUpperFirst ? 1 : 0;
}

}  // namespace velorin
