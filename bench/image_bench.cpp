#include "bench/timing.h"
#include "image/composite.h"
#include "image/copy.h"
#include "image/parallel_rows.h"

namespace velorin {
namespace {

Operation PrepareExactCopy() {
    const ZPImage& source = DrawnFrame(ZPPixUChar, 0);
    const auto dest = CreateCopy(source);
    return {CountPixels(source), [dest, &source] { CopyExact(dest.get(), &source); }, {}};
}

Operation PrepareConversion(int fromType, int toType) {
    const ZPImage& source = DrawnFrame(fromType, 0);
    const auto dest = std::make_shared<ZPImage>(kFrameWidth, kFrameHeight, 4, toType, 0);
    return {CountPixels(source), [dest, &source] { CopyConverted(*dest, source); }, {}};
}

Operation PrepareComposite(int pixelType) {
    const auto source = CreateNoise(kFrameWidth, kFrameHeight, 4, pixelType);
    const auto back = CreateNoise(kFrameWidth, kFrameHeight, 4, pixelType);
    const auto dest = CreateCopy(*back);
    return {CountPixels(*source),
            [=] { CompositeOver(*dest, 0, 0, *source, 0, 0, kFrameWidth - 1, kFrameHeight - 1); },
            [=] { CopyExact(dest.get(), back.get()); }};
}

bool Register() {
    Time("image: CopyExact, 8-bit x 4", PrepareExactCopy);
    for (int type : {ZPPixUChar, ZPPixUShort}) {
        Time(std::string("image: CopyConverted, ") + TypeName(type) + " to float, x 4",
             [type] { return PrepareConversion(type, ZPPixFloat); });
        Time(std::string("image: CopyConverted, float to ") + TypeName(type) + ", x 4",
             [type] { return PrepareConversion(ZPPixFloat, type); });
    }
    for (int type : {ZPPixUChar, ZPPixFloat}) {
        Time(std::string("image: CompositeOver, ") + TypeName(type) + " x 4",
             [type] { return PrepareComposite(type); });
    }
    // Rows enough for every worker, and nothing to do in them: what a job costs before any pixel.
    Time("image: an empty job of ParallelRows (ns a job)", [] {
        return Operation{1, [] { ParallelRows(kFrameHeight, [](int, int) {}); }, {}};
    });
    return true;
}

const bool kRegistered = Register();

}  // namespace
}  // namespace velorin
