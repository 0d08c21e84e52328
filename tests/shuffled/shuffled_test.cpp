#include <gtest/gtest.h>

#include <map>
#include <utility>
#include <vector>

#include "image/composite.h"
#include "image/parallel_rows.h"
#include "shuffled/shuffled_fork.h"
#include "support/gap_image.h"
#include "support/noise.h"

namespace velorin {
namespace {

using Ranges = std::map<int, std::pair<int, int>>;

void NoteRange(int slot, int /*zero*/, int firstRow, int lastRow, va_list* arguments) {
    (*va_arg(*arguments, Ranges*))[slot] = {firstRow, lastRow};
}

TEST(Shuffled, LastSlotTakesTheRemainder) {
    const Ranges expected = {{0, {0, 32}}, {1, {33, 65}}, {2, {66, 99}}};
    for (int threads : {3, 4, 64}) {
        UseShuffledFork(threads, 5);
        Ranges ranges, none;
        ParallelFor(3, 100, NoteRange, &ranges);
        EXPECT_EQ(ranges, expected);
        ParallelFor(ChooseWorkers(0), 0, NoteRange, &none);
        EXPECT_TRUE(none.empty());
        EXPECT_EQ(LastOrder().size(), static_cast<std::size_t>(threads));
    }
}

void CountRows(int /*slot*/, int /*zero*/, int firstRow, int lastRow, va_list* arguments) {
    auto& counts = *va_arg(*arguments, std::vector<int>*);
    for (int row = firstRow; row <= lastRow; ++row) ++counts[row];
}

// Whether the host runs fewer threads than it told or more.
TEST(Shuffled, EveryRowIsDoneOnce) {
    for (const auto& [told, missing] : {std::pair{4, 1}, {4, 4}, {64, 30}, {100, 0}}) {
        UseShuffledFork(told, 3);
        LoseThreads(missing);
        std::vector<int> counts(1024);
        ParallelFor(ChooseWorkers(1024), 1024, CountRows, &counts);
        EXPECT_EQ(counts, std::vector<int>(1024, 1)) << told << " told, lost " << missing;
    }
}

TEST(Shuffled, FirstExceptionThrownWins) {
    UseShuffledFork(5, 7);
    for (int job = 0; job < 20; ++job) {
        try {
            ParallelRows(500, [](int firstRow, int) { throw firstRow; });
            FAIL() << "no exception";
        } catch (int firstRow) {
            EXPECT_EQ(firstRow, 100 * LastOrder()[0]);
        }
    }
}

TEST(Shuffled, PixelsDoNotDependOnTheOrder) {
    GapImage source(33, 257, 4, ZPPixUShort, 1);
    GapImage under(33, 257, 4, ZPPixUShort, 0);
    Noise noise(8);
    noise.Fill(*source);
    noise.Fill(*under);
    UseShuffledFork(1, 0);
    Snapshot expected(*under);
    Premultiply(*source);
    CompositeOver(*expected, 0, 0, *source, 0, 0, 32, 256);
    for (int job = 0; job < 24; ++job) {
        UseShuffledFork(2 + job % 7, static_cast<unsigned>(job));
        Snapshot result(*under);
        CompositeOver(*result, 0, 0, *source, 0, 0, 32, 256);
        EXPECT_SAME_IMAGE(*result, *expected);
    }
}

}  // namespace
}  // namespace velorin
