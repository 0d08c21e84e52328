#include <cstdlib>
#include <string>
#include <string_view>

#include "cli/curve.h"
#include "cli/curve_text.h"
#include "media/clip.h"

using velorin::CurveKey;
using velorin::MediaError;

// Whatever stands in a curve file, it is refused in words, or is a curve that has its keys' values
// at its keys.
extern "C" int LLVMFuzzerTestOneInput(const char* bytes, std::size_t count) {
    try {
        const velorin::Curve curve =
            velorin::ParseCurveFile(std::string_view(bytes, count), "fuzz.txt");
        const auto law = velorin::FrameCurveLaw(curve);
        for (const CurveKey& key : curve.Keys()) {
            const velorin::SourceTime time = law->At(key.frame, 0);
            const velorin::SourceTime wanted =
                velorin::PlaceAt(key.value.numerator, key.value.denominator);
            if (time.IsBefore(wanted) || wanted.IsBefore(time)) std::abort();
        }
    } catch (const MediaError&) {
    }
    return 0;
}
