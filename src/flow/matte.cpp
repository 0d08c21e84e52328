#include "flow/matte.h"

#include "flow/channel_fill.h"

namespace velorin {

void FillUnderMatte(ZPImage& image, const ZPImage& holeMatte, KQIdleAndProgressClass* progress) {
    if (SizeDiffers(&image, &holeMatte)) return;
    KQIdleAndProgressClass all(progress);
    ZPSingleChannelFill fill(image.width, image.height);
    fill.LoadHoles(holeMatte);
    for (int c = 0; c < image.channels; ++c) {
        const float channels = static_cast<float>(image.channels);
        all.SetRange(static_cast<float>(c) / channels, static_cast<float>(c + 1) / channels);
        fill.LoadValues(image, c);
        fill.Fill(&all);
        fill.StoreChannel(image, c);
    }
}

}  // namespace velorin
