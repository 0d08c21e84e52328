#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "image/bilinear.h"
#include "image/bilinear_lanes.h"
#include "image/gather_lanes.h"
#include "image/packed_lanes.h"
#include "image/rounding.h"

namespace velorin::VELORIN_KERNEL_SET {

// A pixel of four integer channels for each lane, as it stands in memory.
template <typename Value>
struct PixelWords {
    using Packed = PackedLanes<Value>;

    VELORIN_ALWAYS_INLINE Floats Channel(int c) const {
        return words[c / Packed::kParts].Part(c % Packed::kParts);
    }
    VELORIN_ALWAYS_INLINE void AddInside(int c, Floats value) {
        words[c / Packed::kParts].AddInside(c % Packed::kParts, value);
    }

    Packed words[sizeof(Value)];
};

// The pixels of two neighbouring columns, the first at each lane's offset in bytes.
template <typename Value>
VELORIN_ALWAYS_INLINE void GatherColumns(const std::byte* from, Ints offset,
                                         PixelWords<Value>& left, PixelWords<Value>& right) {
    if constexpr (sizeof(Value) == 1) {
        GatherWords(from, offset, left.words[0].words, right.words[0].words);
    } else {
        GatherWords(from, offset, left.words[0].words, left.words[1].words);
        GatherWords(from + 8, offset, right.words[0].words, right.words[1].words);
    }
}

// A picture that is read at many places, a vector of neighbouring pixels at a time.
template <typename Form>
class PictureLanes {
  public:
    using Value = typename Form::Value;
    static constexpr int kChannels = Form::kChannels;

    VELORIN_ALWAYS_INLINE explicit PictureLanes(const ZPImage& image)
        : top(image.Row<std::byte>(0)),
          rowStep(image.rowStep),
          lastColumn(image.lastColumn),
          lastRow(image.lastRow),
          reaches(static_cast<std::int64_t>(image.rowBytes) * image.height <= INT32_MAX) {}

    // Whether all lanes' places lie in the picture; a NaN does not. None does in a picture of more
    // bytes than an offset can hold.
    VELORIN_ALWAYS_INLINE bool HoldsAll(Floats sx, Floats sy) const {
        const Ints inside = (sx >= 0.0f) & (sx <= static_cast<float>(lastColumn)) & (sy >= 0.0f) &
                            (sy <= static_cast<float>(lastRow));
        return reaches && !AnyLane(~inside);
    }

    // The pixels at places inside, as the write of a pixel leaves them.
    VELORIN_ALWAYS_INLINE void Read(Floats sx, Floats sy, Value* out) const {
        const AxisLanes column = LocateLanes(sx, lastColumn);
        const AxisLanes row = LocateLanes(sy, lastRow);
        const Ints offset = row.index * rowStep + column.index * kPixelBytes;
        if constexpr (kChannels == 4 && !std::is_same_v<Value, float>) {
            ReadWords(offset, column.weight, row.weight, out);
        } else {
            std::int32_t offsets[kLanes];
            StoreWords(offsets, offset);
            if constexpr (kChannels == 4) {
                ReadFloats(offsets, column.weight, row.weight, out);
            } else {
                ReadEach(offsets, column.weight, row.weight, out);
            }
        }
    }

    // The same of one place inside.
    VELORIN_ALWAYS_INLINE void ReadOne(float sx, float sy, Value* out) const {
        const AxisSample column = LocateSample(sx, lastColumn);
        const AxisSample row = LocateSample(sy, lastRow);
        const std::ptrdiff_t offset = static_cast<std::ptrdiff_t>(row.index) * rowStep +
                                      static_cast<std::ptrdiff_t>(column.index) * kPixelBytes;
        ReadAt(top + offset, column.weight, row.weight, out);
    }

  private:
    static constexpr int kPixelBytes = kChannels * sizeof(Value);

    VELORIN_ALWAYS_INLINE static Floats MixSquareLanes(Floats topLeft, Floats topRight,
                                                       Floats bottomLeft, Floats bottomRight,
                                                       Floats tx, Floats ty) {
        return MixLanes(MixLanes(topLeft, topRight, tx), MixLanes(bottomLeft, bottomRight, tx), ty);
    }

    // A mix of four integers leaves their range by less than the 0.5 that is added before the cut,
    // and never so far up that the cut is another: no clamp.
    VELORIN_ALWAYS_INLINE void ReadWords(Ints offset, Floats tx, Floats ty, Value* out) const {
        PixelWords<Value> topLeft, topRight, bottomLeft, bottomRight, mixed;
        GatherColumns(top, offset, topLeft, topRight);
        GatherColumns(top + rowStep, offset, bottomLeft, bottomRight);
        for (int c = 0; c < 4; ++c) {
            mixed.AddInside(
                c, MixSquareLanes(topLeft.Channel(c), topRight.Channel(c), bottomLeft.Channel(c),
                                  bottomRight.Channel(c), tx, ty));
        }
        if constexpr (sizeof(Value) == 1) {
            mixed.words[0].Store(out);
        } else {
            StoreWords(out, mixed.words[0].words, mixed.words[1].words);
        }
    }

    VELORIN_ALWAYS_INLINE void ReadFloats(const std::int32_t* offsets, Floats tx, Floats ty,
                                          float* out) const {
        const std::byte* bottom = top + rowStep;
        for (int part = 0; part < 4; ++part) {
            const std::int32_t* at = offsets + part * kLanePixels;
            StoreFloats(
                out + part * kLanes,
                MixSquareLanes(GatherPixels(top, at), GatherPixels(top + kPixelBytes, at),
                               GatherPixels(bottom, at), GatherPixels(bottom + kPixelBytes, at),
                               SpreadOverPixels(tx, part), SpreadOverPixels(ty, part)));
        }
    }

    VELORIN_ALWAYS_INLINE void ReadEach(const std::int32_t* offsets, Floats tx, Floats ty,
                                        Value* out) const {
        for (int i = 0; i < kLanes; ++i)
            ReadAt(top + offsets[i], tx[i], ty[i], out + i * kChannels);
    }

    VELORIN_ALWAYS_INLINE void ReadAt(const std::byte* from, float tx, float ty, Value* out) const {
        const auto* above = reinterpret_cast<const Value*>(from);
        const auto* below = reinterpret_cast<const Value*>(from + rowStep);
        for (int c = 0; c < kChannels; ++c) {
            const auto at = [c](const Value* row, int column) __attribute__((always_inline)) {
                return static_cast<float>(row[column * kChannels + c]);
            };
            out[c] = RoundClamped<Value>(
                MixSquare(at(above, 0), at(above, 1), at(below, 0), at(below, 1), tx, ty));
        }
    }

    const std::byte* top;
    int rowStep;
    int lastColumn;
    int lastRow;
    bool reaches;
};

}  // namespace velorin::VELORIN_KERNEL_SET
