#include "engine/supplied_vectors.h"

#include "flow/motion_image.h"
#include "image/copy.h"
#include "image/parallel_rows.h"
#include "image/pixel_form.h"
#include "image/rounding.h"
#include "warp/invert_flow.h"

namespace velorin {

namespace {

using AskSlot = int (KQVelorin4::*)(KQImage** out, float* scale, int frame);
using ReleaseSlot = int (KQVelorin4::*)(KQImage* image);

// A coded image of the host, given back at the end.
class HeldVectors {
  public:
    HeldVectors(KQVelorin4& newHost, AskSlot ask, ReleaseSlot newRelease, int frame)
        : host(newHost), release(newRelease) {
        const int code = (host.*ask)(&image, &scale, frame);
        if (code == ZPErrNone) return;
        image = nullptr;
        if (code != ZPErrBadArgument) throw static_cast<ZPErr>(code);  // that one says: none
    }
    ~HeldVectors() {
        if (image) (host.*release)(image);
    }

    HeldVectors(const HeldVectors&) = delete;
    HeldVectors& operator=(const HeldVectors&) = delete;

    ZPImage* Coded() const { return image ? ResolveImage(image) : nullptr; }

    float scale = 1.0f;

  private:
    KQVelorin4& host;
    const ReleaseSlot release;
    KQImage* image = nullptr;
};

template <typename Value, typename Other>
void LimitRows(ZPImage& coded, const ZPImage& matte, int firstRow, int lastRow) {
    const float white = coded.whitePoint;
    for (int y = firstRow; y <= lastRow; ++y) {
        Value* alpha = coded.Row<Value>(y) + 3;
        const Other* limit = matte.Row<Other>(y);
        for (int x = 0; x < coded.width; ++x, alpha += 4) {
            if constexpr (std::is_same_v<Value, Other>) {
                if (limit[x] < *alpha) *alpha = limit[x];
            } else {
                const float most = static_cast<float>(limit[x]) / matte.whitePoint;
                if (most < static_cast<float>(*alpha) / white) {
                    *alpha = RoundClamped<Value>(most * white);
                }
            }
        }
    }
}

// Vectors are known where the matte, too, is white.
void LimitAlpha(ZPImage& coded, const ZPImage& matte) {
    if (matte.channels != 1 || SizeDiffers(&coded, &matte)) throw ZPErrBadArgument;
    const bool known = WithTypePair(coded.pixelType, matte.pixelType, [&](auto value, auto other) {
        ParallelRows(coded.height, [&](int firstRow, int lastRow) {
            LimitRows<decltype(value), decltype(other)>(coded, matte, firstRow, lastRow);
        });
    });
    if (!known) throw ZPErrBadArgument;
}

bool ImportMotion(KQVelorin4& host, AskSlot ask, ReleaseSlot release, const SuppliedFlow& supplied,
                  KQIdleAndProgressClass& progress) {
    const HeldVectors vectors(host, ask, release, supplied.frame);
    ZPImage* coded = vectors.Coded();
    if (!coded) return false;
    if (coded->channels != 4 || SizeDiffers(coded, &supplied.flow)) throw ZPErrBadArgument;
    if (supplied.matte) LimitAlpha(*coded, *supplied.matte);
    UnpackMotionImage(supplied.flow, *coded, vectors.scale, &progress);
    float x = 1.0f;
    float y = 1.0f;
    const int code = host.GetVectorScaleXY(&x, &y, supplied.frame);
    if (code != ZPErrNone) throw static_cast<ZPErr>(code);
    ScaleXY(supplied.flow, x, y);
    return true;
}

void Reverse(ZPImage& flow, const ZPImage& other, KQIdleAndProgressClass& progress) {
    ZPImage holes(flow.width, flow.height, 1, ZPPixUChar, 0);
    ZPInvertFlow(flow, other, holes, &progress);
}

}  // namespace

bool ImportForwardMotion(KQVelorin4& host, const SuppliedFlow& supplied,
                         KQIdleAndProgressClass& progress) {
    return ImportMotion(host, &KQVelorin4::GetForwardVectors, &KQVelorin4::ReleaseForwardVectors,
                        supplied, progress);
}

bool ImportBackwardMotion(KQVelorin4& host, const SuppliedFlow& supplied,
                          KQIdleAndProgressClass& progress) {
    return ImportMotion(host, &KQVelorin4::GetBackwardVectors, &KQVelorin4::ReleaseBackwardVectors,
                        supplied, progress);
}

void ImportVectors(KQVelorin4& host, const SuppliedFlow& back, const SuppliedFlow& forward,
                   KQIdleAndProgressClass& progress) {
    KQIdleAndProgressClass stage(&progress);
    stage.SetRange(0.0f, 0.5f);
    const bool hasForward = ImportForwardMotion(host, forward, stage);
    stage.Tick();
    stage.SetRange(0.5f, 1.0f);
    const bool hasBack = ImportBackwardMotion(host, back, stage);
    stage.Tick();
    stage.CollapseRange();  // a reversal reports from 0.0 on twice
    if (hasForward && !hasBack) Reverse(back.flow, forward.flow, stage);
    if (hasBack && !hasForward) Reverse(forward.flow, back.flow, stage);
}

}  // namespace velorin
