#include "flow/propagate_kernel.h"

#include <cstddef>

#include "flow/block_match_lanes.h"
#include "flow/propagate_strip_lanes.h"

namespace velorin::VELORIN_KERNEL_SET {

namespace {

// A strip of rows, along which x runs, or of columns.
template <bool kRows>
class StripSweep {
  public:
    VELORIN_ALWAYS_INLINE StripSweep(const ZPImage& imageB, const Strip& newStrip)
        : strip(newStrip), matcher(imageB) {}

    VELORIN_ALWAYS_INLINE void ComputeOwnCosts() const {
        for (int p = 1; p < strip.length - 1; ++p) {
            for (int line = 0; line < strip.lines; line += kLanes) {
                StripPosition& own = strip.at[p];
                const Places place =
                    Find(p, line, LoadFloats(own.u + line), LoadFloats(own.v + line));
                const Floats cost = CostAt(place, own, line);
                StoreFloats(own.cost + line, place.known ? cost : Floats{});
            }
        }
    }

    // Each position is challenged by the one just visited, after that one's own update.
    template <int kStep>
    VELORIN_ALWAYS_INLINE void Sweep() const {
        const int last = strip.length - 2;
        for (int p = kStep > 0 ? 1 : last; p >= 1 && p <= last; p += kStep) {
            for (int line = 0; line < strip.lines; line += kLanes) Challenge(p, p - kStep, line);
        }
    }

  private:
    // Gives the pixels the candidate vectors where those match strictly better. Equal vectors cost
    // the same; a vector that cannot be compared keeps its pixel.
    VELORIN_ALWAYS_INLINE void Challenge(int p, int neighbour, int line) const {
        StripPosition& own = strip.at[p];
        const Floats u = LoadFloats(own.u + line), v = LoadFloats(own.v + line);
        const Floats candidateU = LoadFloats(strip.at[neighbour].u + line);
        const Floats candidateV = LoadFloats(strip.at[neighbour].v + line);
        const Floats ownCost = LoadFloats(own.cost + line);
        const Places place = Find(p, line, candidateU, candidateV);
        const Ints open = place.known & (ownCost > 0.0f) & ((candidateU != u) | (candidateV != v));
        if (!AnyLane(open)) return;
        const Floats cost = CostAt(place, own, line);
        const Ints won = open & (cost < ownCost);
        StoreFloats(own.u + line, won ? candidateU : u);
        StoreFloats(own.v + line, won ? candidateV : v);
        StoreFloats(own.cost + line, won ? cost : ownCost);
    }

    // Where vectors lead from the pixels at a position of lines.
    VELORIN_ALWAYS_INLINE Places Find(int p, int line, Floats u, Floats v) const {
        const Floats along = AllLanes(static_cast<float>(p));
        const Floats across = ToFloats(LaneNumbers() + (strip.first + line));
        return kRows ? matcher.Find(along - u, across - v) : matcher.Find(across - u, along - v);
    }

    VELORIN_ALWAYS_INLINE Floats CostAt(const Places& place, const StripPosition& own,
                                        int line) const {
        constexpr std::ptrdiff_t kAlong = sizeof(StripPosition) / sizeof(float), kAcross = 1;
        return matcher.Difference(own.a + 1 + line, kRows ? kAlong : kAcross,
                                  kRows ? kAcross : kAlong, place);
    }

    const Strip strip;
    const BlockMatcher matcher;
};

}  // namespace

void PropagateRows(const PropagationJob& job, float* scratch, int firstRow, int lastRow) {
    for (int y = firstRow; y <= lastRow; y += kStripLines) {
        const Strip strip(scratch, job.flow.width, y, lastRow);
        LoadRows(job, strip);
        const StripSweep<true> rows(job.imageB, strip);
        rows.ComputeOwnCosts();
        rows.template Sweep<1>();
        rows.template Sweep<-1>();
        StoreRows(job, strip);
    }
}

void PropagateColumns(const PropagationJob& job, float* scratch, int firstColumn, int lastColumn) {
    for (int x = firstColumn; x <= lastColumn; x += kStripLines) {
        const Strip strip(scratch, job.flow.height, x, lastColumn);
        LoadColumns(job, strip);
        const StripSweep<false> columns(job.imageB, strip);
        columns.template Sweep<1>();
        columns.template Sweep<-1>();
        StoreColumns(job, strip);
    }
}

}  // namespace velorin::VELORIN_KERNEL_SET
