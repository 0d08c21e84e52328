#include "flow/matte.h"

#include "flow/channel_fill.h"
#include "image/pixel_form.h"

namespace velorin {

namespace {

bool HasHole(const ZPImage& matte) {
    bool found = false;
    const bool known = WithPictureType(matte.pixelType, [&](auto zero) {
        using Value = decltype(zero);
        for (int y = 0; y < matte.height && !found; ++y) {
            const Value* row = matte.Row<Value>(y);
            int holes = 0;
            for (int x = 0; x < matte.width; ++x) holes += row[x] != 0 ? 1 : 0;
            found = holes > 0;
        }
    });
    if (!known || matte.channels != 1) throw ZPErrBadArgument;
    return found;
}

}  // namespace

void FillUnderMatte(ZPImage& image, const ZPImage& holeMatte, KQIdleAndProgressClass* progress) {
    if (SizeDiffers(&image, &holeMatte)) return;
    KQIdleAndProgressClass all(progress);
    if (!HasHole(holeMatte)) return all.ReportProgress(1.0f);
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
