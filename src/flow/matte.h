#pragma once

#include "image/progress.h"
#include "image/zp_image.h"

namespace velorin {

// Shrinks and grows mattes.
struct ZPMatte {
    // Shrinks the white of every channel of `image`, in place, by `amount` pixels; a negative
    // amount grows it. All samples end within 0.0 to 1.0, at an amount of 0.0 too; NaN becomes 0.
    //
    // A hard straight edge moves by the amount and a little, 0.12 pixels at 1 and 0.46 at 10, and
    // becomes two pixels soft. A soft edge moves farther, by up to half its width more, and
    // hardens: what stays is what lies the amount deep in full white. A ramp of 8 pixels moves by
    // 3.1 at an amount of 1 and by 4.5 at 2, and is some 4 pixels wide then.
    //
    // From 11 pixels on rounding may leave white a little short of 1.0: up to 0.004 at 60 pixels,
    // 0.02 at 200. Growing leaves black that much too bright.
    //
    // `image` is float, of 1 to 4 channels, or of one channel of 8 or 16 bits, which is choked as
    // fractions of white and rounded. Several channels of another type: a line on the error stream,
    // no more. Any other form: does nothing.
    //
    // Throws ZPErrBadArgument for NaN and amounts beyond 4093, and what GaussianBlur and memory
    // throw; `image` is then part old, part new.
    static void Choke(ZPImage& image, float amount);
};

// Fills the holes of the channels of `image`, in place, with smooth values grown from the pixels
// around them; see ZPSingleChannelFill. A sample of `holeMatte`, of one channel, other than 0 marks
// a hole. Pixels that are none stay as they are; where all are holes, the image becomes 0. Channels
// from number `channels` on are left alone.
//
// Images of different sizes: does nothing. Throws ZPErrBadArgument for a matte of another form and,
// where there is a hole, for a side below 2 and for an image that is no picture. Throws what
// progress and memory throw; the channels are then partly filled.
void FillUnderMatte(ZPImage& image, const ZPImage& holeMatte, KQIdleAndProgressClass* progress,
                    int channels = 4);

}  // namespace velorin
