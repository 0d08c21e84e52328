#include "warp/flow_dissolve.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>

#include "support/checksum.h"
#include "support/failing_allocator.h"
#include "warp/blend.h"
#include "warp/warp_image.h"

namespace velorin {
namespace {

constexpr int kWidth = 48;
constexpr int kHeight = 40;

// Two frames with a hard edge in them, and flows of both ways.
struct Pair {
    explicit Pair(int type, int bottomUp = 0)
        : first(std::make_unique<ZPImage>(kWidth, kHeight, 4, type, bottomUp)),
          second(std::make_unique<ZPImage>(kWidth, kHeight, 4, type, bottomUp)) {
        for (const auto* image : {&first, &second}) {
            const int shift = image == &first ? 0 : 4;
            PutEach(**image, [&](int x, int y, int c) {
                const int px = x - shift, value = (px * px + 3 * px * y + 40 * c) >> 3;
                return (*image)->whitePoint * (c == 3 ? 1.0f : 0.25f + 0x1p-7f * (value & 63));
            });
        }
        for (ZPImage* flow : {&forward, &back}) {
            const float sign = flow == &forward ? 1.0f : -1.0f;
            PutEach(*flow, [=](int x, int, int c) {
                return sign * (c == 1 ? 0.5f : x < 12 ? 2.0f : 5.0f);
            });
        }
        for (int y = 0; y < kHeight; ++y) {
            for (int c = 0; c < 3; ++c) PutValue(*first, 20, y, c, 0.85f * first->whitePoint);
        }
    }
    std::unique_ptr<ZPImage> first;
    std::unique_ptr<ZPImage> second;
    ZPImage forward{kWidth / 2, kHeight / 2, 2, ZPPixFloat, 0};
    ZPImage back{kWidth / 2, kHeight / 2, 2, ZPPixFloat, 0};
};

// One of the four courses over a pair.
using Course = std::function<void(ZPImage& dest, const Pair&, const ZPImage* forward,
                                  const ZPImage* back, ZPImage* scratch, float share)>;

template <bool kFirst, bool kSecond>
void Forward(ZPImage& dest, const Pair& p, const ZPImage* f, const ZPImage* b, ZPImage* scratch,
             float share) {
    ZPImage first(kWidth, kHeight, 1, ZPPixUChar, 0), second(kWidth, kHeight, 1, ZPPixUChar, 0);
    ZPFlowDissolveForward(dest, *p.first, f, *p.second, b, scratch, nullptr,
                          kFirst ? &first : nullptr, kSecond ? &second : nullptr, nullptr, share);
}

const std::pair<const char*, Course> kCourses[] = {
    {"inverse",
     [](ZPImage& dest, const Pair& p, const ZPImage* f, const ZPImage* b, ZPImage* scratch,
        float share) { ZPFlowDissolve(dest, *p.first, f, *p.second, b, scratch, nullptr, share); }},
    {"inverse with coverage",
     [](ZPImage& dest, const Pair& p, const ZPImage* f, const ZPImage* b, ZPImage* scratch,
        float share) {
         ZPImage first(kWidth, kHeight, 1, ZPPixUChar, 0), second(kWidth, kHeight, 1, 0, 0);
         ZPFlowDissolveCoverage(dest, *p.first, f, *p.second, b, scratch, nullptr, first, second,
                                share);
     }},
    {"forward", Forward<true, true>},
    {"forward without coverage", Forward<true, false>},
};

template <typename Work>
void ForEachCourse(Work&& work) {
    for (const auto& [name, course] : kCourses) {
        SCOPED_TRACE(name);
        work(course);
    }
}

TEST(FlowDissolve, WithoutFlowsItIsThePlainMix) {
    for (int type : {ZPPixUChar, ZPPixUShort, ZPPixFloat}) {
        const Pair p(type);
        ZPImage wanted(kWidth, kHeight, 4, type, 0), dest(kWidth, kHeight, 4, type, 0);
        for (float share : {0.3f, 1.0f}) {
            ZPBlendTwo(wanted, *p.first, *p.second, 1.0f - share);
            ForEachCourse([&](const Course& course) {
                course(dest, p, nullptr, nullptr, nullptr, share);
                EXPECT_SAME_IMAGE(dest, wanted);
            });
            // Either flow alone moves nothing forward.
            kCourses[3].second(dest, p, &p.forward, nullptr, nullptr, share);
            EXPECT_SAME_IMAGE(dest, wanted);
        }
    }
}

TEST(FlowDissolve, SameBitsWithScratchImagesInAnyRowOrderOnAnyThreads) {
    std::uint64_t sum = kEmptySum;
    for (int type : {ZPPixUChar, ZPPixFloat}) {
        Pair p(type), turned(type, 1);
        ForEachCourse([&](const Course& course) {
            ZPImage wanted(kWidth, kHeight, 4, type, 0);
            for (float share : {1.0f, 0.4f}) {
                course(wanted, p, &p.forward, &p.back, nullptr, share);
                sum = Checksum(wanted, sum);
            }
            const bool isForward = &course >= &kCourses[2].second;
            ForEachThreadCount([&] {
                if (isForward && GetThreadCount() > 1) return;
                GapImage dest(kWidth, kHeight, 4, type, 1);
                course(*dest, turned, &p.forward, &p.back, nullptr, 0.4f);
                EXPECT_SAME_IMAGE(*dest, wanted);
                EXPECT_TRUE(dest.GapsUntouched());
                // Row orders may be mixed.
                std::swap(turned.second, p.second);
                course(*dest, turned, &p.forward, &p.back, nullptr, 0.4f);
                std::swap(turned.second, p.second);
                EXPECT_SAME_IMAGE(*dest, wanted);
                // The target itself may be the first scratch image.
                course(*dest, p, &p.forward, &p.back, &*dest, 0.4f);
                EXPECT_SAME_IMAGE(*dest, wanted);
            });
        });
    }
    EXPECT_EQ(sum, 10377380526065706546u);
}

TEST(FlowDissolve, FailingMemoryLeavesNothingBehind) {
    const Pair p(ZPPixUChar);
    ZPImage dest(kWidth, kHeight, 4, ZPPixUChar, 0);
    ForEachCourse([&](const Course& course) {
        ExpectCleanFailures([&] { course(dest, p, &p.forward, &p.back, nullptr, 0.4f); });
    });
}

}  // namespace
}  // namespace velorin
