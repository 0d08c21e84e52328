#include "flow/morph_flow.h"

#include <optional>

#include "filter/gaussian_blur.h"
#include "flow/level_plan.h"
#include "flow/scatter_levels.h"
#include "image/arithmetic.h"
#include "image/copy.h"
#include "image/parallel_rows.h"

namespace velorin {

namespace {

constexpr float kSmoothRadius = 5.0f;   // of a whole field
constexpr float kGatherRadius = 1.95f;  // of what the points left on a level
constexpr float kRelaxRadius = 2.5f;    // of a field between pulls

// The images of one level that the points are put on.
struct PointLevel {
    ZPImage& values;   // 2 channels: the vectors, whole, at each of the four neighbours
    ZPImage& weights;  // 1 channel: how many
    ZPImage& cover;    // 1 channel: the shares of the points that fell there
};

// What falls on the four neighbours of a place between pixels.
struct Shares {
    float topLeft, topRight, bottomLeft, bottomRight;
};

Shares ShareOut(float tx, float ty) {
    const float bottomRight = ty * tx;
    const double topLeft = (1.0 - static_cast<double>(tx)) * (1.0 - static_cast<double>(ty));
    return {static_cast<float>(topLeft), tx - bottomRight, ty - bottomRight, bottomRight};
}

// Sums become means: of the vectors, and of the shares, doubled.
void AverageRows(const PointLevel& level, int firstRow, int lastRow) {
    for (int y = firstRow; y <= lastRow; ++y) {
        float* value = level.values.Row<float>(y);
        float* cover = level.cover.Row<float>(y);
        const float* weight = level.weights.Row<float>(y);
        for (int x = 0; x < level.values.width; ++x) {
            if (!(weight[x] > 0.0f)) continue;
            const float k = 1.0f / weight[x];
            value[2 * x] *= k;
            value[2 * x + 1] *= k;
            cover[x] = cover[x] * k * 2.0f;
        }
    }
}

// Pulls the field towards the points' mean, twice, the harder the better a pixel is covered.
void PullRows(ZPImage& field, const PointLevel& level, int firstRow, int lastRow) {
    for (int y = firstRow; y <= lastRow; ++y) {
        float* f = field.Row<float>(y);
        const float* value = level.values.Row<float>(y);
        const float* cover = level.cover.Row<float>(y);
        const float* weight = level.weights.Row<float>(y);
        for (int i = 0; i < 2 * field.width; ++i) {
            if (!(weight[i / 2] > 0.0f)) continue;
            f[i] += (value[i] - f[i]) * cover[i / 2];
            f[i] += (value[i] - f[i]) * cover[i / 2];
        }
    }
}

}  // namespace

// The known vectors of level 0, row by row and left to right: found once for all levels.
class ZPMorphFlow::PointList {
  public:
    PointList(const ZPImage& values, const ZPImage& weights)
        : lastColumn(values.lastColumn), lastRow(values.lastRow) {
        ForEachKnown(weights, [this](int, int) { ++count; });
        // One more than there are, since a block of no bytes may be null.
        points.reset(static_cast<Point*>(KQAllocOrThrow((count + 1) * sizeof(Point))));
        Point* next = points.get();
        ForEachKnown(weights, [&](int x, int y) {
            const float* vector = values.Row<float>(y) + 2 * x;
            *next++ = {x, y, vector[0], vector[1]};
        });
    }

    void PutOnto(const PointLevel& level) const {
        const CoarserPlaces columns(lastColumn, level.values.lastColumn);
        const CoarserPlaces rows(lastRow, level.values.lastRow);
        Shares shares{0.0f, 0.0f, 0.0f, 0.0f};
        for (std::size_t i = 0; i < count; ++i) {
            const Point& point = points[i];
            const AxisSample column = columns.At(point.x);
            const AxisSample row = rows.At(point.y);
            // On purpose not for the last column: a point there takes the shares of the one before
            // it that was not, of whatever row.
            if (point.x < lastColumn) shares = ShareOut(column.weight, row.weight);
            AddTo(level, column.index, row.index, point, shares.topLeft, shares.topRight);
            AddTo(level, column.index, row.index + 1, point, shares.bottomLeft, shares.bottomRight);
        }
    }

  private:
    struct Point {
        int x, y;
        float u, v;
    };
    struct Free {
        void operator()(Point* block) const { KQFree(block); }
    };

    template <typename Work>
    static void ForEachKnown(const ZPImage& weights, const Work& work) {
        for (int y = 0; y < weights.height; ++y) {
            const float* weight = weights.Row<float>(y);
            for (int x = 0; x < weights.width; ++x) {
                if (weight[x] != 0.0f) work(x, y);
            }
        }
    }

    // At two neighbours in a row.
    static void AddTo(const PointLevel& level, int x, int y, const Point& point, float leftShare,
                      float rightShare) {
        float* cover = level.cover.Row<float>(y) + x;
        float* weight = level.weights.Row<float>(y) + x;
        float* value = level.values.Row<float>(y) + 2 * x;
        cover[0] += leftShare;
        cover[1] += rightShare;
        for (int i = 0; i < 2; ++i) {
            weight[i] += 1.0f;
            value[2 * i] += point.u;
            value[2 * i + 1] += point.v;
        }
    }

    int lastColumn;
    int lastRow;
    std::size_t count = 0;
    std::unique_ptr<Point[], Free> points;
};

ZPMorphFlow::ZPMorphFlow(int throwOnFailure, int fullWidth, int fullHeight, int newReductionSteps,
                         int minLevelSize)
    : reductionSteps(newReductionSteps),
      width(HalvedSide(fullWidth, newReductionSteps)),
      height(HalvedSide(fullHeight, newReductionSteps)),
      maxX(static_cast<float>(width - 1)),
      maxY(static_cast<float>(height - 1)) {
    levelCount = CountLevels(width, height, minLevelSize);
    startLevel = levelCount - 1;
    try {
        if (width < 2 || height < 2) throw ZPErrBadArgument;
        CreateLevels(flowPyramid, levelCount, width, height, 2);
        CreateLevels(valuePyramid, levelCount, width, height, 2);
        CreateLevels(weightPyramid, levelCount, width, height, 1);
        CreateLevels(scratchPyramid, levelCount, width, height, 1);
        for (auto* pyramid : {&flowPyramid, &valuePyramid, &weightPyramid, &scratchPyramid}) {
            ClearLevels(*pyramid, levelCount);
        }
    } catch (ZPErr failure) {
        for (auto* pyramid : {&flowPyramid, &valuePyramid, &weightPyramid, &scratchPyramid}) {
            for (std::unique_ptr<ZPImage>& level : *pyramid) level.reset();
        }
        status = failure;
        if (throwOnFailure) throw;
    }
}

ZPMorphFlow::~ZPMorphFlow() = default;

void ZPMorphFlow::SetSensitivity(float newSensitivity) {
    sensitivity = newSensitivity;
}

void ZPMorphFlow::ClearPoints() {
    for (int n = 0; n < levelCount; ++n) {
        ClearImage(valuePyramid[n].get());
        ClearImage(weightPyramid[n].get());
    }
}

void ZPMorphFlow::AddPoint(float x0, float y0, float x1, float y1, float refWidth,
                           float refHeight) {
    AddMovingPoint(*valuePyramid[0], *weightPyramid[0], x0, y0, x1, y1, refWidth, refHeight);
}

void ZPMorphFlow::FinishPoints() {
    AveragePoints(*valuePyramid[0], *weightPyramid[0]);
}

void ZPMorphFlow::Compute(ZPImage* dest, KQIdleAndProgressClass* progress, int spreadPoints) {
    KQIdleAndProgressClass stage(progress);
    const double totalPixels = iterationsPerLevel * CountLevelPixels(flowPyramid, startLevel);
    // Points that are spread are put on each level anew; halved ones would never be looked at.
    std::optional<PointList> spread;
    if (spreadPoints) {
        spread.emplace(*valuePyramid[0], *weightPyramid[0]);
    } else {
        ReducePoints();
    }
    const StartLevel start = FindStartLevel(levelCount, sensitivity);
    startLevel = start.level;
    ClearImage(flowPyramid[startLevel].get());
    double donePixels = 0.0;
    for (int n = startLevel; n >= 0; --n) {
        ZPImage& field = *flowPyramid[n];
        if (spread) {
            SpreadLevel(n, *spread, stage);
        } else {
            ImposeLevel(n);
        }
        stage.Tick();
        if (n == startLevel) ScaleValues(field, start.scale);
        if (n > 0) ResampleLevel(*flowPyramid[n - 1], field);
        donePixels += static_cast<double>(field.width) * field.height;
        stage.ReportProgress(static_cast<float>(donePixels / totalPixels));
    }
    if (dest && dest != Flow()) CopyExact(dest, Flow());
    stage.ReportProgress(1.0f);
}

void ZPMorphFlow::ReducePoints() {
    for (int n = 1; n < levelCount; ++n) {
        ReduceLevel(*valuePyramid[n], *valuePyramid[n - 1], *flowPyramid[n - 1]);
        ReduceLevel(*weightPyramid[n], *weightPyramid[n - 1], *scratchPyramid[n - 1]);
    }
}

void ZPMorphFlow::ImposeLevel(int level) {
    ZPImage& field = *flowPyramid[level];
    ImposeKnown(field, *valuePyramid[level], *weightPyramid[level]);
    GaussianBlur(field, 0, kSmoothRadius);
    if (level == 0) ImposeKnown(field, *valuePyramid[level], *weightPyramid[level]);
}

void ZPMorphFlow::SpreadLevel(int level, const PointList& points,
                              KQIdleAndProgressClass& progress) {
    ZPImage& field = *flowPyramid[level];
    const PointLevel put{*valuePyramid[level], *weightPyramid[level], *scratchPyramid[level]};
    // On purpose on level 0 too, where this wipes the points themselves and none is put: the result
    // is the smooth field, the points' own pixels included.
    ClearImage(&put.values);
    ClearImage(&put.weights);
    ClearImage(&put.cover);
    if (level > 0) points.PutOnto(put);
    if (level == startLevel) {
        ImposeKnown(field, put.values, put.weights);
        GaussianBlur(field, 0, kSmoothRadius);
    }
    progress.Tick();
    if (level > 0) {
        RelaxLevel(level, progress);
    } else {
        GaussianBlur(field, 0, kSmoothRadius);
    }
}

void ZPMorphFlow::RelaxLevel(int level, KQIdleAndProgressClass& progress) {
    ZPImage& field = *flowPyramid[level];
    const PointLevel put{*valuePyramid[level], *weightPyramid[level], *scratchPyramid[level]};
    for (ZPImage* image : {&put.cover, &put.values, &put.weights}) {
        GaussianBlur(*image, 0, kGatherRadius);
    }
    progress.Tick();
    ParallelRows(field.height,
                 [&](int firstRow, int lastRow) { AverageRows(put, firstRow, lastRow); });
    for (int i = 0; i < iterationsPerLevel; ++i) {
        ParallelRows(field.height,
                     [&](int firstRow, int lastRow) { PullRows(field, put, firstRow, lastRow); });
        GaussianBlur(field, 0, kRelaxRadius);
        progress.Tick();
    }
}

}  // namespace velorin
