#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include "support/failing_allocator.h"
#include "support/forms.h"
#include "support/gap_image.h"
#include "support/memory_host.h"
#include "support/noise.h"
#include "support/wrapping_handle.h"
#include "warp/blend.h"

namespace velorin {
namespace {

class Interrupter : public KQIdleAndProgressClass {
  public:
    explicit Interrupter(int newAfter) : KQIdleAndProgressClass(nullptr), after(newAfter) {}
    void ReportProgress(float fraction) override {
        EXPECT_GE(fraction, 0.0f);
        EXPECT_LE(fraction, 1.0f);
        if (reports++ == after) interrupted = 1;
        KQIdleAndProgressClass::ReportProgress(fraction);
    }
    int after;
    int reports = 0;
};

// Calls work(host) for a host over `clip()` in each cell of the matrix of methods.
template <typename Clip, typename Work>
void ForEachCell(Clip&& clip, Work&& work) {
    for (std::int64_t method : {0, 1, 2}) {
        for (int warping : {0, 1, 2, 3}) {
            SCOPED_TRACE("method " + std::to_string(method) + ", warping " +
                         std::to_string(warping));
            MemoryHost host(clip());
            host.method = method;
            host.warping = warping;
            work(host);
        }
    }
}

TEST(RenderFrame, WithoutInternalNoSlotIsCalled) {
    MemoryHost host(DrawClip(2, 8, 8, ZPPixUChar));
    delete host.internal;
    host.internal = nullptr;
    EXPECT_EQ(host.Render(0.5f), 1);
    EXPECT_TRUE(host.asked.empty() && host.tracked.empty());
}

TEST(RenderFrame, RatesAreCheckedUnevenly) {
    MemoryHost host(DrawClip(2, 8, 8, ZPPixUChar));
    host.outputRate = 0.01f;
    EXPECT_EQ(host.Render(0.5f), 0);
    host.outputRate = 0.009f;
    EXPECT_EQ(host.Render(0.5f), ZPErrBadArgument);
    host.outputRate = 25.0f;
    host.sourceRate = 0.01f;
    EXPECT_EQ(host.Render(0.5f), ZPErrBadArgument);
}

TEST(RenderFrame, AFailureGivesEverythingBack) {
    for (std::int64_t sameClip : {0, 1}) {
        MemoryHost host(DrawClip(3, 16, 16, ZPPixUChar));
        host.sameClip = sameClip;
        ASSERT_EQ(host.Render(0.5f), 0);
        host.failingFrame = 1;
        EXPECT_EQ(host.Render(0.6f), 1);
        EXPECT_EQ(host.held, 0);
        EXPECT_EQ(host.internal->opticalFlow, nullptr);
        host.failingFrame = -1000;
        EXPECT_EQ(host.Render(0.6f), 0);
    }
}

// Throws something foreign out of the slot that is called at number `at`.
class ThrowingHost : public MemoryHost {
  public:
    using MemoryHost::MemoryHost;
    int GetToBeWarpedSequenceImage(KQImage** out, int frame) override {
        Count();
        return MemoryHost::GetToBeWarpedSequenceImage(out, frame);
    }
    int CleanUpCheckedOutImage(KQImage* image) override {
        MemoryHost::CleanUpCheckedOutImage(image);
        Count();
        return 0;
    }
    int GetKeyframedTime(float* out, float outputTime) override {
        Count();
        return MemoryHost::GetKeyframedTime(out, outputTime);
    }
    int EnhanceImages() override {
        Count();
        return 0;
    }
    int at = -1;
    int calls = 0;

  private:
    void Count() {
        if (calls++ == at) throw std::runtime_error("of the host");
    }
};

TEST(RenderFrame, WhatAHostThrowsGoesNoFurther) {
    // In order: two times, one setting, two check-outs, and two frames given back.
    for (int at = 0; at < 7; ++at) {
        SCOPED_TRACE(at);
        ThrowingHost host(DrawClip(2, 16, 16, ZPPixUChar));
        host.at = at;
        EXPECT_EQ(host.Render(0.5f), at < 5 ? ZPErrNoMemory : ZPErrNone);
        EXPECT_EQ(host.held, 0);
        EXPECT_EQ(host.internal->opticalFlow == nullptr, at < 5);
    }
}

TEST(RenderFrame, FailingMemoryLeavesNothingBehind) {
    ForEachCell([] { return DrawClip(2, 16, 16, ZPPixUChar); },
                [](MemoryHost& host) {
                    int code = ZPErrNone;
                    const auto render = [&] {
                        try {
                            code = host.Render(0.5f);
                        } catch (ZPErr failure) {
                            code = failure;  // the test's own result image
                        }
                        EXPECT_EQ(host.held, 0);
                        if (code != ZPErrNone) {
                            EXPECT_EQ(host.internal->opticalFlow, nullptr);
                            EXPECT_EQ(host.internal->backFlow, nullptr);
                        }
                        host.internal->ReleaseFlows();
                        host.result.reset();
                    };
                    int survived = 0;
                    FailEachAllocation(render, [&](bool, int live) {
                        survived += code == ZPErrNone ? 1 : 0;
                        EXPECT_EQ(live, 0);
                    });
                    // The last call, and the forward warp's hit counts, which come in smaller
                    // pieces then.
                    const int forwardWarps = host.warping < 2 ? 0 : host.method == 0 ? 1 : 2;
                    EXPECT_EQ(survived, 1 + forwardWarps);
                });
}

TEST(RenderFrame, AnInterruptedRenderKeepsNothing) {
    ForEachCell([] { return DrawClip(2, 32, 32, ZPPixUChar); },
                [](MemoryHost& host) {
                    int last = 0;
                    for (int after = 0; last == 0 && after < 1000; ++after) {
                        Interrupter progress(after);
                        host.progress = &progress;
                        if (host.Render(0.5f) == ZPErrNone) {
                            last = after;
                            continue;
                        }
                        EXPECT_EQ(host.held, 0);
                        EXPECT_EQ(host.internal->opticalFlow, nullptr);
                    }
                    EXPECT_GT(last, 20);
                });
}

TEST(RenderFrame, AFrameWithoutEstimationCanBeInterruptedToo) {
    for (float time : {0.5f, 1.0f}) {  // kept flows, and a frame on a source frame
        MemoryHost host(DrawClip(2, 32, 32, ZPPixUChar));
        ASSERT_EQ(host.Render(0.4f), 0);
        Interrupter progress(0);
        host.progress = &progress;
        EXPECT_EQ(host.Render(time), ZPErrInterrupted);
        EXPECT_EQ(host.held, 0);
        EXPECT_EQ(host.internal->opticalFlow, nullptr);
    }
}

TEST(RenderFrame, WhatIsNotBuiltIsRefused) {
    const float zeros[2] = {};
    const auto refused = [&](auto change) {
        MemoryHost host(DrawClip(2, 16, 16, ZPPixUChar));
        change(host);
        const int code = host.Render(0.5f);
        EXPECT_EQ(host.held, 0);
        return code == ZPErrBadArgument;
    };
    EXPECT_FALSE(refused([](MemoryHost&) {}));
    EXPECT_TRUE(refused([](MemoryHost& host) { host.inputFieldsAsked = 1; }));
    EXPECT_TRUE(refused([](MemoryHost& host) { host.outputFieldsAsked = 2; }));
    EXPECT_TRUE(refused([](MemoryHost& host) { host.compensateAsked = 1.0f; }));
    EXPECT_TRUE(refused([](MemoryHost& host) { host.method = 3; }));
    EXPECT_TRUE(refused([&](MemoryHost& host) {
        host.matteLayers = 1;
        host.matteArray = zeros;
    }));
}

TEST(RenderFrame, SmallFramesRenderAsLongAsTheirFlowHasTwoByTwoPixels) {
    for (const auto& [width, height, quality, code] : {std::tuple{11, 7, 4, 0},
                                                       {4, 4, 4, 0},
                                                       {3, 8, 4, 5},
                                                       {3, 8, 5, 0},
                                                       {11, 7, 3, 5},
                                                       {11, 7, 0, 0},
                                                       {2, 2, 5, 0},
                                                       {1, 8, 0, 5},
                                                       {8, 1, 0, 5}}) {
        SCOPED_TRACE(std::to_string(width) + "x" + std::to_string(height));
        ForEachCell([&, w = width, h = height] { return DrawClip(2, w, h, ZPPixUChar); },
                    [&, q = quality, wanted = code](MemoryHost& host) {
                        host.quality = q;
                        EXPECT_EQ(host.Render(0.5f), wanted);
                    });
    }
}

TEST(RenderFrame, TheHostsChannelOrderComesBack) {
    MemoryHost plain(DrawClip(2, 30, 20, ZPPixUChar));
    MemoryHost swapped(DrawClip(2, 30, 20, ZPPixUChar));
    const auto swap = [](ZPImage& image) {
        for (int y = 0; y < image.height; ++y) {
            std::uint8_t* pixel = image.Row<std::uint8_t>(y);
            for (int x = 0; x < image.width; ++x) std::swap(pixel[4 * x], pixel[4 * x + 2]);
        }
    };
    for (auto& frame : swapped.frames) swap(*frame);
    swapped.redIndex = 2;
    ASSERT_EQ(plain.Render(0.4f), 0);
    ASSERT_EQ(swapped.Render(0.4f), 0);
    swap(*swapped.result);
    EXPECT_SAME_IMAGE(*plain.result, *swapped.result);
}

TEST(RenderFrame, SamePixelsOnAnyThreadCountAndRowOrder) {
    for (int type : {ZPPixUChar, ZPPixUShort, ZPPixFloat}) {
        for (std::int64_t method : {0, 1, 2}) {
            UseThreads(1);
            MemoryHost reference(DrawClip(2, 150, 100, type));
            reference.method = method;
            ASSERT_EQ(reference.Render(0.4f), 0);
            for (int bottomUp : {0, 1}) {
                ForEachThreadCount([&] {
                    MemoryHost host(DrawClip(2, 150, 100, type, 2.5f, -1.25f, bottomUp));
                    host.method = method;
                    ASSERT_EQ(host.Render(0.4f), 0);
                    EXPECT_SAME_IMAGE(*reference.result, *host.result);
                });
            }
        }
    }
}

TEST(RenderFrame, ThePictureHalfWayIsTheTrueOne) {
    const float shiftX = 4.5f;
    const float shiftY = -3.0f;
    for (std::int64_t method : {0, 1}) {
        MemoryHost host(DrawClip(2, 160, 120, ZPPixUChar, shiftX, shiftY));
        host.method = method;
        ASSERT_EQ(host.Render(0.5f), 0);
        const auto truth = DrawTexture(160, 120, ZPPixUChar, shiftX / 2.0f, shiftY / 2.0f);
        double sum = 0.0;
        int count = 0;
        for (int y = 12; y < 108; ++y) {
            for (int i = 4 * 12; i < 4 * 148; ++i, ++count) {
                sum +=
                    std::abs(host.result->Row<std::uint8_t>(y)[i] - truth->Row<std::uint8_t>(y)[i]);
            }
        }
        RecordProperty("meanDifference" + std::to_string(method), std::to_string(sum / count));
        EXPECT_LT(sum / count, 1.0);
    }
}

TEST(RenderFrame, NotANumberNeitherCrashesNorSpreadsBeyondItsReach) {
    ForEachCell([] { return DrawClip(2, 200, 60, ZPPixFloat); },
                [](MemoryHost& host) {
                    Noise noise(3);
                    ZPImage corner(host.frames[0]->data, 8, 60, host.frames[0]->rowBytes, 4,
                                   ZPPixFloat, 0);
                    noise.Sprinkle(corner, 12);
                    ASSERT_EQ(host.Render(0.4f), 0);
                });
}

TEST(RenderFrame, MissingArgumentsAreRefused) {
    MemoryHost host(DrawClip(2, 16, 16, ZPPixUChar));
    const auto refused = [&](KQImage* result, int fields, int mattes, const float* array) {
        return host.RenderFrame(result, nullptr, 0, fields, 4, 0.5f, 1.5f, 25.0f, 25.0f, 0.0f, 0.7f,
                                1, 1, 1, 1, mattes, array, array, nullptr,
                                false) == ZPErrBadArgument;
    };
    ZPImage pixels(16, 16, 4, ZPPixUChar, 0);
    WrappingHandle result(pixels);
    KQImage empty;
    const float zeros[kMaxLayers] = {};
    EXPECT_FALSE(refused(&result, 0, 0, nullptr));
    EXPECT_TRUE(refused(nullptr, 0, 0, nullptr));
    EXPECT_TRUE(refused(&empty, 0, 0, nullptr));
    EXPECT_TRUE(refused(&result, 1, 0, nullptr));
    EXPECT_TRUE(refused(&result, 0, 1, nullptr));
    EXPECT_TRUE(refused(&result, 0, kMaxLayers, zeros));
    EXPECT_TRUE(refused(&result, 0, INT32_MAX, zeros));
    EXPECT_EQ(host.held, 0);
}

TEST(RenderFrame, FramesThatDoNotFitTheResultAreNotReadBeyondTheirPixels) {
    const auto render = [](std::unique_ptr<ZPImage> later, int quality, std::int64_t method) {
        MemoryHost host(DrawClip(1, 20, 16, ZPPixUChar));
        host.frames.push_back(std::move(later));
        host.quality = quality;
        host.method = method;
        const int code = host.Render(0.75f);
        EXPECT_EQ(host.held, 0);
        return code;
    };
    for (int quality : {0, 4}) {
        for (std::int64_t method : {0, 1, 2}) {
            EXPECT_EQ(
                render(std::make_unique<ZPImage>(nullptr, 20, 16, 80, 4, 0, 0), quality, method),
                ZPErrBadArgument);
        }
    }
    EXPECT_EQ(render(std::make_unique<ZPImage>(20, 16, 3, ZPPixUChar, 0), 0, 0), ZPErrBadArgument);
}

void* AllocateDirty(void*, std::size_t size) {
    void* block = std::malloc(size);
    if (block) std::memset(block, 0x5A, size);
    return block;
}
void Release(void*, void* block) {
    std::free(block);
}

// The one frame that fits counts as still and the other as black.
TEST(RenderFrame, AFrameOfAnotherSizeIsBlackAndNeverStrayMemory) {
    KQSetAllocator(nullptr, &AllocateDirty, &Release);
    MemoryHost host(DrawClip(1, 40, 32, ZPPixUChar));
    host.frames.push_back(DrawTexture(38, 32, ZPPixUChar, 0.0f, 0.0f));
    EXPECT_EQ(host.Render(0.25f), 0);
    KQSetAllocator(nullptr, nullptr, nullptr);
    ZPImage black(40, 32, 4, ZPPixUChar, 0);
    ClearImage(&black);
    ZPImage wanted(40, 32, 4, ZPPixUChar, 0);
    ZPBlendTwo(wanted, *host.frames[0], black, 0.25f);
    EXPECT_SAME_IMAGE(*host.result, wanted);
}

// Another size fills what it can and leaves no memory of others in the rest.
TEST(RenderFrame, AFrameOfAnotherSizeNeverShowsStrayMemory) {
    ForEachCell(
        [] {
            auto clip = DrawClip(1, 40, 32, ZPPixUChar);
            clip.push_back(DrawTexture(20, 15, ZPPixUChar, 0.0f, 0.0f));
            return clip;
        },
        [](MemoryHost& host) {
            ASSERT_EQ(host.Render(0.25f), 0);
            Snapshot clean(*host.result);
            KQSetAllocator(nullptr, &AllocateDirty, &Release);
            EXPECT_EQ(host.Render(0.25f), 0);
            KQSetAllocator(nullptr, nullptr, nullptr);
            EXPECT_SAME_IMAGE(*host.result, *clean);
        });
}

// FNV-1a over all samples: whatever changes a pixel changes it.
std::uint64_t Checksum(const ZPImage& image) {
    std::uint64_t sum = 14695981039346656037u;
    for (int y = 0; y < image.height; ++y) {
        const std::uint8_t* row = image.Row<std::uint8_t>(y);
        for (std::size_t i = 0; i < image.RowPixelBytes(); ++i) {
            sum = (sum ^ row[i]) * 1099511628211u;
        }
    }
    return sum;
}

// A clip that is the same on every machine: integer arithmetic alone makes it.
std::vector<std::unique_ptr<ZPImage>> GoldenClip() {
    std::vector<std::unique_ptr<ZPImage>> clip;
    for (int n = 0; n < 2; ++n) {
        auto image = std::make_unique<ZPImage>(96, 72, 4, ZPPixUChar, 0);
        for (int y = 0; y < 72; ++y) {
            std::uint8_t* pixel = image->Row<std::uint8_t>(y);
            for (int x = 0; x < 96; ++x, pixel += 4) {
                const int px = x - 3 * n, py = y + n;
                for (int c = 0; c < 3; ++c) {
                    pixel[c] = static_cast<std::uint8_t>(
                        128 + (((px * px + 3 * py * px + c * 40) >> 4) % 100));
                }
                pixel[3] = 255;
            }
        }
        clip.push_back(std::move(image));
    }
    return clip;
}

TEST(RenderFrame, GoldenChecksums) {
    struct Golden {
        std::int64_t method;
        int warping;
        int quality;
        int enhance;
        std::uint64_t checksum;
    };
    for (const Golden& golden :
         {Golden{1, 0, 4, 0, 3821180273779490791u}, Golden{1, 0, 5, 0, 6856738291490178158u},
          Golden{1, 0, 3, 0, 13394683245959646366u}, Golden{0, 0, 4, 0, 13518392677095246264u},
          Golden{1, 0, 4, 1, 3070556140830155480u}, Golden{1, 0, 0, 0, 2639536518024470657u},
          Golden{0, 1, 4, 0, 9880617187335928768u}, Golden{0, 2, 4, 0, 12101120736726805519u},
          Golden{0, 3, 4, 0, 12965322272867046485u}, Golden{1, 1, 4, 0, 12775920038404438503u},
          Golden{1, 2, 4, 0, 597675724227447758u}, Golden{1, 3, 4, 0, 9262085460656605u},
          Golden{2, 0, 4, 0, 3692156062730791868u}, Golden{2, 1, 4, 0, 4486154969864983462u},
          Golden{2, 2, 4, 0, 5369405006732544377u}, Golden{2, 3, 4, 0, 14857256490153009061u},
          Golden{2, 0, 0, 0, 2639536518024470657u}}) {
        MemoryHost host(GoldenClip());
        host.method = golden.method;
        host.warping = golden.warping;
        host.quality = golden.quality;
        host.enhance = golden.enhance;
        ASSERT_EQ(host.Render(0.3f), 0);
        EXPECT_EQ(Checksum(*host.result), golden.checksum)
            << golden.method << golden.warping << golden.quality << golden.enhance;
    }
}

}  // namespace
}  // namespace velorin
