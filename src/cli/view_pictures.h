#pragma once

#include <vector>

#include "image/zp_image.h"
#include "media/clip.h"

namespace velorin {

// Pictures that show an artist what the engine saw: where things move, and which layer is where.
//
//   target   its size and pixel type are set; every pixel is painted, with full alpha
//   mattes   of the target's size and pixel type, one channel, front first; black to white, and
//            what lies beyond counts as black or white
//
// Layers are laid over each other from back to front, each by its matte.

// Paints motion by the colour wheel that papers on optical flow show it with. As the picture is
// seen, things that move
//
//   right        red           left         cyan, a fifth toward blue
//   right, down  orange        left, up     blue, a little toward cyan
//   down         yellow        up           blue, a third toward magenta
//   left, down   green         right, up    magenta, a little toward blue
//
// and things at rest are white. Saturation grows with the way from one source frame to the next,
// up to `fullScale` pixels of the frame; longer ways have the full colour darkened to 3/4. A vector
// that is no number or infinite is black, and so are pixels that it has a part in.
//
//   flows      layer i's at i, the background's last: one more than mattes. Float, 2 channels: to
//              the right and upwards, in the flow's own pixels. Sides are 2 or more and may be
//              smaller than the target's. Null is no motion.
//   fullScale  above 0
void PaintFlow(Picture& target, const std::vector<const ZPImage*>& flows,
               const std::vector<const ZPImage*>& mattes, float fullScale);

// Paints one matte in grey; several, 9 at most, each in a colour of its own where no matte before
// it hides it: red, green, blue, yellow, magenta, cyan, orange, pink, white. The rest is black.
void PaintMattes(Picture& target, const std::vector<const ZPImage*>& mattes);

}  // namespace velorin
