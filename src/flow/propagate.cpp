#include "flow/propagate.h"

#include <cstddef>

#include "image/parallel_rows.h"
#include "image/rounding.h"

namespace velorin {

namespace {

constexpr float kMinMatte = 0.95f;

struct Level {
    ZPImage& flow;
    const ZPImage& imageA;
    const ZPImage& imageB;
    const ZPImage* matteA;
    const ZPImage* matteB;
};

// The 3 by 3 block of A around a pixel, row by row.
struct Block {
    float sample[9];

    Block(const ZPImage& image, int x, int y) {
        for (int j = 0; j < 3; ++j) {
            const float* row = image.Row<float>(y - 1 + j) + x - 1;
            for (int i = 0; i < 3; ++i) sample[3 * j + i] = row[i];
        }
    }
};

bool AllValid(const ZPImage& matte, int left, int top, int side) {
    for (int y = top; y < top + side; ++y) {
        const float* row = matte.Row<float>(y) + left;
        for (int i = 0; i < side; ++i) {
            if (row[i] < kMinMatte) return false;
        }
    }
    return true;
}

// A place in B whose surroundings can be compared: the column and row at or before it and the
// weights of the next.
struct Place {
    int column;
    int row;
    float tx;
    float ty;
};

// False where the 4 by 4 samples around the place do not all lie in the image; a NaN is nowhere.
// On purpose one tighter than the image: up to w - 2, though w - 1 is still inside.
bool FindPlace(const ZPImage& image, float sx, float sy, Place& place) {
    const float right = static_cast<float>(image.width - 2);
    const float bottom = static_cast<float>(image.height - 2);
    if (!(sx >= 1.0f && sx <= right && sy >= 1.0f && sy <= bottom)) return false;
    place.column = sx == right ? image.width - 3 : TruncateInside(sx);
    place.tx = sx == right ? 1.0f : sx - static_cast<float>(place.column);
    place.row = sy == bottom ? image.height - 3 : TruncateInside(sy);
    place.ty = sy == bottom ? 1.0f : sy - static_cast<float>(place.row);
    return place.column >= 1 && place.row >= 1;
}

// Sum of squared differences of the block and of B around the place, row by row.
float BlockDifference(const Block& block, const ZPImage& imageB, const Place& place) {
    const float w11 = place.ty * place.tx;
    const float w10 = place.tx - w11;
    const float w01 = place.ty - w11;
    const float w00 = ((1.0f - place.tx) - place.ty) + w11;
    float sum = 0.0f;
    for (int j = 0; j < 3; ++j) {
        const float* top = imageB.Row<float>(place.row - 1 + j) + place.column - 1;
        const float* bottom = imageB.Row<float>(place.row + j) + place.column - 1;
        for (int i = 0; i < 3; ++i) {
            const float b = w00 * top[i] + w10 * top[i + 1] + w01 * bottom[i] + w11 * bottom[i + 1];
            const float d = block.sample[3 * j + i] - b;
            sum += d * d;
        }
    }
    return sum;
}

template <bool kMasked>
bool Cost(const Level& level, const Block& block, float sx, float sy, float& cost) {
    Place place;
    if (!FindPlace(level.imageB, sx, sy, place)) return false;
    if constexpr (kMasked) {
        if (!AllValid(*level.matteB, place.column - 1, place.row - 1, 4)) return false;
    }
    cost = BlockDifference(block, level.imageB, place);
    return true;
}

// Gives the pixel the candidate vector if that matches strictly better.
template <bool kMasked>
void Challenge(const Level& level, int x, int y, float* vector, const float* candidate) {
    const float fx = static_cast<float>(x);
    const float fy = static_cast<float>(y);
    if constexpr (kMasked) {
        if (!AllValid(*level.matteA, x - 1, y - 1, 3)) return;
    }
    const Block block(level.imageA, x, y);
    float ownCost = 0.0f;
    float candidateCost = 0.0f;
    if (!Cost<kMasked>(level, block, fx - vector[0], fy - vector[1], ownCost)) return;
    if (!Cost<kMasked>(level, block, fx - candidate[0], fy - candidate[1], candidateCost)) return;
    if (candidateCost < ownCost) {
        vector[0] = candidate[0];
        vector[1] = candidate[1];
    }
}

// Rows, each walked along x: the candidate is the neighbour just visited, after its own update.
template <bool kMasked, int kStep>
void SweepRows(const Level& level, int firstRow, int lastRow) {
    const int last = level.flow.width - 2;
    for (int y = firstRow; y <= lastRow; ++y) {
        float* row = level.flow.Row<float>(y);
        for (int x = kStep > 0 ? 1 : last; x >= 1 && x <= last; x += kStep) {
            Challenge<kMasked>(level, x, y, row + 2 * x, row + 2 * (x - kStep));
        }
    }
}

// Columns, each walked along y. The rows are the outer loop for the cache's sake: columns do not
// depend on each other.
template <bool kMasked, int kStep>
void SweepColumns(const Level& level, int firstColumn, int lastColumn) {
    const int last = level.flow.height - 2;
    for (int y = kStep > 0 ? 1 : last; y >= 1 && y <= last; y += kStep) {
        float* row = level.flow.Row<float>(y);
        const float* candidates = level.flow.Row<float>(y - kStep);
        for (int x = firstColumn; x <= lastColumn; ++x) {
            Challenge<kMasked>(level, x, y, row + 2 * x, candidates + 2 * x);
        }
    }
}

template <bool kMasked>
void Sweep(const Level& level, KQIdleAndProgressClass& progress) {
    const int rows = level.flow.height - 2;
    const int columns = level.flow.width - 2;
    const auto alongRows = [&](auto sweep) {
        if (rows > 0) ParallelRows(rows, [&](int a, int b) { sweep(level, a + 1, b + 1); });
        progress.Tick();
    };
    const auto alongColumns = [&](auto sweep) {
        if (columns > 0) ParallelRows(columns, [&](int a, int b) { sweep(level, a + 1, b + 1); });
        progress.Tick();
    };
    alongRows(SweepRows<kMasked, 1>);
    alongRows(SweepRows<kMasked, -1>);
    alongColumns(SweepColumns<kMasked, 1>);
    alongColumns(SweepColumns<kMasked, -1>);
}

}  // namespace

void PropagateCandidates(ZPImage& flow, const ZPImage& imageA, const ZPImage& imageB,
                         const ZPImage* matteA, const ZPImage* matteB,
                         KQIdleAndProgressClass& progress) {
    const bool masked = matteA && matteB;
    const Level level{flow, imageA, imageB, matteA, matteB};
    if (masked) {
        Sweep<true>(level, progress);
    } else {
        Sweep<false>(level, progress);
    }
}

}  // namespace velorin
