#pragma once

#include <array>

#include "media/clip.h"
#include "media/libav.h"

namespace velorin {

// How a movie's pictures are turned to be shown.
struct Turn {
    bool transposed = false;  // rows become columns, before the mirroring
    bool mirrorX = false;
    bool mirrorY = false;
};

// The turn that a stream asks for; quarter turns and mirrors only, anything else is none.
Turn TurnOf(const AVStream& stream);

// The layout, 1 to 4 channels, and the depth in which pictures of that format are handed over.
int ChannelsOf(AVPixelFormat format);
SampleDepth DepthOf(AVPixelFormat format);

// Converts between the libraries' frames and pictures. RGB of 8 and 16 bits comes and goes as it
// is, and RGB between is stretched to 16 bits.
class PixelConverter {
  public:
    // Throws std::bad_alloc, or std::runtime_error for a format that cannot be converted.
    void ToPicture(const AVFrame& frame, const Turn& turn, Picture& picture);
    // `frame` has its format, size, matrix and range set, and memory of its own. Gray has
    // the full range and as many bits as the picture, of which it takes red. One converter is for
    // frames of one kind, and pictures of one type.
    void ToFrame(const Picture& picture, AVFrame& frame);
    // From now on fields of frames that are marked as interlaced are converted each by itself where
    // lines share chroma: that of one field then never colours the other. Left aside are heights
    // that are no multiple of 4, at which the fields have unequal shares.
    void KeepFieldsApart() { fieldsApart = true; }

  private:
    bool IsByFields(const AVFrame& frame) const;
    void MakeScalers(const AVFrame& from, const AVFrame& to, const AVFrame& video);
    void Scale(const AVFrame& from, AVFrame& to);
    const AVFrame& Scaled(const AVFrame& frame);

    bool fieldsApart = false;
    std::array<AvScaler, 2> scalers;  // of whole frames, or of upper and lower fields
    AVFrame made{};                   // what the scalers were made for
    AvFrame between;                  // RGB, or Y'CbCr with as many chroma samples as luma ones
};

}  // namespace velorin
