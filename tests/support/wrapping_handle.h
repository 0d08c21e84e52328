#pragma once

#include "image/kq_image.h"

namespace velorin {

// A handle on the pixels of an image that somebody else keeps.
class WrappingHandle : public KQImage {
  public:
    explicit WrappingHandle(const ZPImage& pixels) : view(pixels) { WrapInternal(view); }

  private:
    KQImageInternal view;
};

}  // namespace velorin
