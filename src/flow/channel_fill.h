#pragma once

#include <cstdint>

#include "flow/image_pyramid.h"
#include "image/progress.h"

namespace velorin {

// Closes the holes in one channel of an image: coarse to fine, each level puts its known samples
// over the smooth field of the coarser one and blurs. What is known comes back as it was, a hole
// takes smooth values grown from around it, and a channel that is one hole becomes 0.
//
// Use: LoadChannel, Fill, StoreChannel, for any number of channels and images of one size; several
// channels under one matte may share its LoadHoles. One thread at a time.
class ZPSingleChannelFill : public KQMem {
  public:
    // For images of this size. Throws ZPErrNoMemory, and ZPErrBadArgument for a side below 2.
    ZPSingleChannelFill(int newWidth, int newHeight);
    virtual ~ZPSingleChannelFill();

    ZPSingleChannelFill(const ZPSingleChannelFill&) = delete;
    ZPSingleChannelFill& operator=(const ZPSingleChannelFill&) = delete;

    // Takes the known samples of a channel. A sample of the matte, of one channel, other than 0
    // marks a hole. Images are pictures of any type and of the fill's size; these calls and the
    // last throw ZPErrBadArgument for any other.
    void LoadChannel(const ZPImage& image, int channel, const ZPImage& holeMatte);
    // The two halves of it, the matte first.
    void LoadHoles(const ZPImage& holeMatte);
    void LoadValues(const ZPImage& image, int channel);

    // Fills what was loaded. Throws what progress throws.
    void Fill(KQIdleAndProgressClass* progress);

    // Writes the holes back into the channel that was loaded, where all else is in place already.
    // Integers are rounded and clamped.
    void StoreChannel(ZPImage& image, int channel) const;

    std::int32_t iterationsPerLevel = 0;
    ImagePyramid flowPyramid;    // the field where a hole sees it; also scratch while loading
    ImagePyramid valuePyramid;   // known values, times their weight
    ImagePyramid weightPyramid;  // 1.0 where known, 0.0 in a hole; between on coarser levels
    ImagePyramid scratchPyramid;
    std::int32_t levelCount = 0;  // one more than a fill uses
    std::int32_t width;
    std::int32_t height;
    std::int32_t maxX;
    std::int32_t maxY;

  private:
    ImagePyramid unknownPyramid;  // marks of FillLevel
    ImagePyramid neededPyramid;

    void AddLevel(int w, int h);
    void CheckPicture(const ZPImage& image) const;
};

}  // namespace velorin
