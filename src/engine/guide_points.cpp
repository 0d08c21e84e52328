#include "engine/guide_points.h"

namespace velorin {

namespace {

// The points of one geometry, given back at the end.
class HeldPoints {
  public:
    HeldPoints(KQVelorin4& newHost, int geometry, unsigned long layer, float timeA, float timeB)
        : host(newHost) {
        const int code =
            host.GetGeometryPoints(geometry, layer, timeA, timeB, &count, &xA, &yA, &xB, &yB);
        if (code != ZPErrNone) throw static_cast<ZPErr>(code);
    }
    ~HeldPoints() { host.ReleasePoints(xA, yA, xB, yB); }

    HeldPoints(const HeldPoints&) = delete;
    HeldPoints& operator=(const HeldPoints&) = delete;

    bool AreThere() const { return count == 0 || (xA && yA && xB && yB); }

    unsigned long count = 0;
    float* xA = nullptr;
    float* yA = nullptr;
    float* xB = nullptr;
    float* yB = nullptr;

  private:
    KQVelorin4& host;
};

// Calls add(x0, y0, x1, y1, refWidth, refHeight) for every point.
template <typename Add>
void ForEachPoint(KQVelorin4& host, const GuidedPair& pair, const Add& add) {
    const float frameA = static_cast<float>(pair.frameA);
    const float frameB = static_cast<float>(pair.frameB);
    const float rate = pair.areFields ? 0.5f : 1.0f;
    const int geometries = host.GetNumGeometries(pair.layer, frameA, frameB);
    for (int geometry = 0; geometry < geometries; ++geometry) {
        const HeldPoints points(host, geometry, static_cast<unsigned long>(pair.layer),
                                frameA * rate, frameB * rate);
        if (!points.AreThere()) throw ZPErrBadArgument;
        for (unsigned long k = 0; k < points.count; ++k) {
            add(points.xA[k], points.yA[k], points.xB[k], points.yB[k],
                static_cast<float>(pair.width - 1), static_cast<float>(pair.height - 1));
        }
    }
}

}  // namespace

void FeedGeometry(KQVelorin4& host, ZPOpticalFlowUChar& estimator, const GuidedPair& pair) {
    estimator.ClearHints();
    ForEachPoint(host, pair, [&](auto... point) { estimator.AddHint(point...); });
    estimator.FinishHints();
}

void FeedGeometry(KQVelorin4& host, ZPMorphFlow& morphFlow, const GuidedPair& pair) {
    morphFlow.ClearPoints();
    ForEachPoint(host, pair, [&](auto... point) { morphFlow.AddPoint(point...); });
    morphFlow.FinishPoints();
}

}  // namespace velorin
