#include "engine/frame_checkout.h"

#include <algorithm>
#include <array>
#include <utility>

#include "engine/fields.h"
#include "image/copy.h"
#include "image/parallel_rows.h"
#include "image/pixel_form.h"

namespace velorin {

namespace {

using ChannelOrder = std::array<int, 4>;

// Channel c of each pixel becomes what channel from[c] was.
template <typename Value>
void ReorderRows(ZPImage& image, const ChannelOrder& from, int firstRow, int lastRow) {
    for (int y = firstRow; y <= lastRow; ++y) {
        Value* pixel = image.Row<Value>(y);
        for (int x = 0; x < image.width; ++x, pixel += 4) {
            const Value old[4] = {pixel[0], pixel[1], pixel[2], pixel[3]};
            for (int c = 0; c < 4; ++c) pixel[c] = old[from[c]];
        }
    }
}

void Reorder(ZPImage& image, const ChannelOrder& from) {
    if (from == ChannelOrder{0, 1, 2, 3}) return;
    WithPictureType(image.pixelType, [&](auto zero) {
        ParallelRows(image.height, [&](int firstRow, int lastRow) {
            ReorderRows<decltype(zero)>(image, from, firstRow, lastRow);
        });
    });
}

int FrameOf(int frameOrField, int inputFields) {
    return inputFields != 0 ? frameOrField / 2 : frameOrField;
}

void LeaveField(KQImage& image, int field, int inputFields) {
    if (inputFields != 0) ExtractField(*image.internal, ExtractModeOf(field, inputFields));
}

ChannelOrder OrderOf(const KQImageInternal& image) {
    return {image.redIndex, image.greenIndex, image.blueIndex, image.alphaIndex};
}

}  // namespace

bool HasChannelOrder(const KQImage& image) {
    if (image.GetChannels() != 4) return true;
    ChannelOrder order = OrderOf(*image.Internal());
    std::sort(order.begin(), order.end());
    return order == ChannelOrder{0, 1, 2, 3};
}

void OrderChannelsForEngine(KQImage& image) {
    if (image.GetChannels() == 4) Reorder(*image.internal, OrderOf(*image.Internal()));
}

void OrderChannelsForHost(KQImage& image) {
    if (image.GetChannels() != 4) return;
    const ChannelOrder order = OrderOf(*image.Internal());
    ChannelOrder inverse{0, 1, 2, 3};
    for (int c = 0; c < 4; ++c) inverse[order[c]] = c;
    Reorder(*image.internal, inverse);
}

int CheckOutFrame(KQVelorin4& host, KQImage** out, int frameOrField, int inputFields,
                  int useTrackingClip) {
    *out = nullptr;
    const int frame = FrameOf(frameOrField, inputFields);
    const int code = useTrackingClip == 1 ? host.GetTrackingSequenceImage(out, frame)
                                          : host.GetToBeWarpedSequenceImage(out, frame);
    if (code != ZPErrNone) {
        *out = nullptr;
        return code;
    }
    if (!ResolveImage(*out) || !HasChannelOrder(**out)) throw ZPErrBadArgument;
    OrderChannelsForEngine(**out);
    LeaveField(**out, frameOrField, inputFields);
    return ZPErrNone;
}

void CheckInFrame(KQVelorin4& host, KQImage* image) noexcept {
    if (!image) return;
    try {
        if (image->CheckValid(false) && HasChannelOrder(*image)) OrderChannelsForHost(*image);
        host.CleanUpCheckedOutImage(image);
    } catch (...) {
        // No more than a failing code: the other frames must go back as well.
    }
}

namespace {

// No more than a failing code: the other images must go back as well.
void CheckInMatte(KQVelorin4& host, KQImage* matte) noexcept {
    if (!matte) return;
    try {
        host.CleanUpCheckedOutMatteImage(matte);
    } catch (...) {
    }
}

}  // namespace

int CheckOutMatte(KQVelorin4& host, KQImage** out, int frameOrField, int inputFields,
                  int layer) noexcept {
    *out = nullptr;
    int code = ZPErrNoMemory;
    try {
        code = host.GetMatteLayerSequenceImage(out, FrameOf(frameOrField, inputFields), layer);
        if (code != ZPErrNone) {
            *out = nullptr;
            return code;
        }
        const ZPImage* matte = ResolveImage(*out);
        code = ZPErrBadArgument;
        if (matte && matte->channels == 1) {
            LeaveField(**out, frameOrField, inputFields);
            return ZPErrNone;
        }
    } catch (ZPErr failure) {
        code = failure == ZPErrBadArgument ? ZPErrBadArgument : ZPErrNoMemory;
    } catch (...) {
        code = ZPErrNoMemory;
    }
    CheckInMatte(host, std::exchange(*out, nullptr));
    return code;
}

void HeldFrames::Hold(KQImage** handle, int frame, int useTrackingClip) {
    if (*handle) return;
    const int code = CheckOutFrame(host, handle, frame, inputFields, useTrackingClip);
    if (code != ZPErrNone) throw static_cast<ZPErr>(code);
}

void HeldFrames::Return(KQImage** handle) {
    CheckInFrame(host, std::exchange(*handle, nullptr));
}

void HeldFrames::HoldTracked(int floorFrame, int ceilFrame, int useTrackingClip) {
    Hold(&trackedFloor, floorFrame, useTrackingClip);
    Hold(&trackedCeil, ceilFrame, useTrackingClip);
}

void HeldFrames::HoldWarped(int floorFrame, int ceilFrame) {
    Hold(&warpedFloor, floorFrame, 0);
    Hold(&warpedCeil, ceilFrame, 0);
}

void HeldFrames::WarpTracked() {
    warpedFloor = std::exchange(trackedFloor, nullptr);
    warpedCeil = std::exchange(trackedCeil, nullptr);
}

void HeldFrames::GiveBackTracked() {
    Return(&trackedFloor);
    Return(&trackedCeil);
}

void HeldFrames::HoldMatte(KQImage** handle, int frame, int layer) {
    const int code = CheckOutMatte(host, handle, frame, inputFields, layer);
    if (code != ZPErrNone) throw static_cast<ZPErr>(code);
}

void HeldFrames::HoldMattes(int floorFrame, int ceilFrame, int layers) {
    for (int layer = 0; layer < layers; ++layer) {
        HoldMatte(&floorMattes[layer], floorFrame, layer);
        HoldMatte(&ceilMattes[layer], ceilFrame, layer);
    }
}

LayerMattes HeldFrames::ImagesOf(const MatteHandles& handles) {
    LayerMattes images{};
    for (int layer = 0; layer < kMaxMatteLayers; ++layer) {
        if (handles[layer]) images[layer] = handles[layer]->internal;
    }
    return images;
}

void HeldFrames::GiveBack() {
    Return(&warpedFloor);
    Return(&warpedCeil);
    GiveBackTracked();
    for (int layer = 0; layer < kMaxMatteLayers; ++layer) {
        CheckInMatte(host, std::exchange(floorMattes[layer], nullptr));
        CheckInMatte(host, std::exchange(ceilMattes[layer], nullptr));
    }
}

}  // namespace velorin
