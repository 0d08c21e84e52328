#pragma once

#include <array>

#include "engine/kq_velorin_internal.h"

namespace velorin {

// Asks the host for a source frame, of the tracking clip if `useTrackingClip` is 1. Its channels
// are brought into the order red, green, blue, alpha in place. With `inputFields` other than 0 the
// number counts fields, two to a frame, and the frame becomes a picture of that field.
//
// Answers the host's code, and null where that is a failure; throws ZPErrBadArgument for an image
// without pixels, or whose channel indices do not name each channel once.
int CheckOutFrame(KQVelorin4& host, KQImage** out, int frameOrField, int inputFields,
                  int useTrackingClip);

// Undoes the reordering and gives the frame back, whatever the host makes of it. Null does nothing.
void CheckInFrame(KQVelorin4& host, KQImage* image) noexcept;

// Asks the host for the matte of a layer at a source frame or field, likewise. Whatever fails,
// nothing stays checked out and `*out` is null: the host's code, 5 for an image that has no pixels
// or other than one channel, 1 for all else.
int CheckOutMatte(KQVelorin4& host, KQImage** out, int frameOrField, int inputFields,
                  int layer) noexcept;

// The mattes of one frame, front first; null beyond the matte layers.
using LayerMattes = std::array<const ZPImage*, kMaxMatteLayers>;

// Whether the indices of a four-channel image name each channel once; true for other counts.
bool HasChannelOrder(const KQImage& image);

// Four channels: from the order of the image's indices to red, green, blue, alpha, and back. They
// name each channel once.
void OrderChannelsForEngine(KQImage& image);
void OrderChannelsForHost(KQImage& image);

// The frames, or fields, that a pass holds. Whatever is still held is given back at the end of its
// life.
class HeldFrames {
  public:
    HeldFrames(KQVelorin4& newHost, int newInputFields)
        : host(newHost), inputFields(newInputFields) {}
    ~HeldFrames() { GiveBack(); }

    HeldFrames(const HeldFrames&) = delete;
    HeldFrames& operator=(const HeldFrames&) = delete;

    // Check out both frames of a pair, unless held; a failing host's code is thrown.
    void HoldTracked(int floorFrame, int ceilFrame, int useTrackingClip);
    void HoldWarped(int floorFrame, int ceilFrame);
    // The tracked frames become the warped ones, without a second fetch.
    void WarpTracked();
    // Those of layers 0 to layers - 1.
    void HoldMattes(int floorFrame, int ceilFrame, int layers);
    void GiveBackTracked();
    void GiveBack();

    const ZPImage& TrackedFloor() const { return *trackedFloor->internal; }
    const ZPImage& TrackedCeil() const { return *trackedCeil->internal; }
    const ZPImage& WarpedFloor() const { return *warpedFloor->internal; }
    const ZPImage& WarpedCeil() const { return *warpedCeil->internal; }
    LayerMattes FloorMattes() const { return ImagesOf(floorMattes); }
    LayerMattes CeilMattes() const { return ImagesOf(ceilMattes); }

  private:
    void Hold(KQImage** handle, int frame, int useTrackingClip);
    void Return(KQImage** handle);
    using MatteHandles = std::array<KQImage*, kMaxMatteLayers>;
    void HoldMatte(KQImage** handle, int frame, int layer);
    static LayerMattes ImagesOf(const MatteHandles& handles);

    KQVelorin4& host;
    const int inputFields;
    KQImage* warpedFloor = nullptr;
    KQImage* warpedCeil = nullptr;
    KQImage* trackedFloor = nullptr;
    KQImage* trackedCeil = nullptr;
    MatteHandles floorMattes{};
    MatteHandles ceilMattes{};
};

}  // namespace velorin
