#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include "support/checksum.h"
#include "support/clean_render.h"
#include "support/engine_clips.h"
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

TEST(RenderFrame, BadRequestsAreRefused) {
    const float zeros[kMaxLayers] = {};
    const auto code = [&](auto change) {
        MemoryHost host(DrawClip(2, 16, 16, ZPPixUChar));
        change(host);
        const int result = host.Render(0.5f);
        EXPECT_EQ(host.held, 0);
        return result;
    };
    const auto withMattes = [&](int layers, const float* array) {
        return code([&](MemoryHost& host) {
            host.matteLayers = layers;
            host.layerShrink = host.layerSensitivity = array;
        });
    };
    // The rates' bounds differ.
    EXPECT_EQ(code([](MemoryHost& host) { host.outputRate = 0.01f; }), 0);
    EXPECT_EQ(code([](MemoryHost& host) { host.outputRate = 0.009f; }), ZPErrBadArgument);
    EXPECT_EQ(code([](MemoryHost& host) { host.sourceRate = 0.01f; }), ZPErrBadArgument);
    EXPECT_EQ(code([](MemoryHost& host) { host.method = 3; }), ZPErrBadArgument);
    EXPECT_EQ(withMattes(1, nullptr), ZPErrBadArgument);
    EXPECT_EQ(withMattes(kMaxLayers, zeros), ZPErrBadArgument);
    EXPECT_EQ(withMattes(INT32_MAX, zeros), ZPErrBadArgument);

    MemoryHost host(DrawClip(2, 16, 16, ZPPixUChar));
    KQImage empty;
    for (KQImage* result : {static_cast<KQImage*>(nullptr), &empty}) {
        EXPECT_EQ(host.RenderFrame(result, nullptr, 0, 0, 4, 0.5f, 1.5f, 25.0f, 25.0f, 0.0f, 0.7f,
                                   1, 1, 1, 1, 0, nullptr, nullptr, nullptr, false),
                  ZPErrBadArgument);
    }
    delete host.internal;
    host.internal = nullptr;
    EXPECT_EQ(host.Render(0.5f), 1);
    EXPECT_TRUE(host.asked.empty() && host.tracked.empty());
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
        return Counted(MemoryHost::GetToBeWarpedSequenceImage(out, frame));
    }
    int CleanUpCheckedOutImage(KQImage* image) override {
        return Counted(MemoryHost::CleanUpCheckedOutImage(image));
    }
    int GetKeyframedTime(float* out, float outputTime) override {
        return Counted(MemoryHost::GetKeyframedTime(out, outputTime));
    }
    int EnhanceImages() override { return Counted(0); }
    int at = -1;
    int calls = 0;

  private:
    int Counted(int code) {
        if (calls++ == at) throw std::runtime_error("of the host");
        return code;
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
    const auto expectClean = [](MemoryHost& host) {
        // The last call, and the forward warp's hit counts, which come in smaller pieces then.
        const int forwardWarps = host.warping < 2 ? 0 : host.method == 0 ? 1 : 2;
        EXPECT_EQ(CountSurvivingRenders(host), 1 + forwardWarps);
    };
    ForEachCell([] { return MemoryHost(DrawClip(2, 16, 16, ZPPixUChar)); }, expectClean);
}

TEST(RenderFrame, AnInterruptedRenderKeepsNothing) {
    const auto interruptedAt = [](MemoryHost& host, int after, float time) {
        Interrupter progress(after);
        host.progress = &progress;
        if (host.Render(time) != ZPErrInterrupted) return false;
        EXPECT_EQ(host.held, 0);
        EXPECT_EQ(host.internal->opticalFlow, nullptr);
        return true;
    };
    const auto make = [] { return MemoryHost(DrawClip(2, 32, 32, ZPPixUChar)); };
    ForEachCell(make, [&](MemoryHost& host) {
        int after = 0;
        while (after < 1000 && interruptedAt(host, after, 0.5f)) ++after;
        EXPECT_GT(after, 20);
        EXPECT_LT(after, 1000);
    });
    for (float time : {0.5f, 1.0f}) {  // kept flows, and a frame on a source frame
        MemoryHost host = make();
        ASSERT_EQ(host.Render(0.4f), 0);
        EXPECT_TRUE(interruptedAt(host, 0, time));
    }
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
        ForEachCell(
            [&, w = width, h = height] { return MemoryHost(DrawClip(2, w, h, ZPPixUChar)); },
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
        Snapshot before(image);
        PutEach(image, [&](int x, int y, int c) {
            return ValueAt(*before, x, y, c == 0 ? 2 : c == 2 ? 0 : c);
        });
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

TEST(RenderFrame, NotANumberDoesNotCrash) {
    ForEachCell([] { return MemoryHost(DrawClip(2, 200, 60, ZPPixFloat)); },
                [](MemoryHost& host) {
                    ZPImage& first = *host.frames[0];
                    ZPImage corner(first.data, 8, 60, first.rowBytes, 4, ZPPixFloat, 0);
                    Noise(3).Sprinkle(corner, 12);
                    ASSERT_EQ(host.Render(0.4f), 0);
                });
}

TEST(RenderFrame, FramesThatDoNotFitTheResultAreNotReadBeyondTheirPixels) {
    for (const auto& [quality, method] :
         {std::pair{0, 0}, {0, 1}, {0, 2}, {4, 0}, {4, 1}, {4, 2}}) {
        MemoryHost host(DrawClip(1, 20, 16, ZPPixUChar));
        host.quality = quality;
        host.method = method;
        host.frames.push_back(std::make_unique<ZPImage>(nullptr, 20, 16, 80, 4, 0, 0));
        EXPECT_EQ(host.Render(0.75f), ZPErrBadArgument);
        EXPECT_EQ(host.held, 0);
        if (quality > 0 || method > 0) continue;
        host.frames[1] = std::make_unique<ZPImage>(20, 16, 3, ZPPixUChar, 0);
        EXPECT_EQ(host.Render(0.75f), ZPErrBadArgument);
        EXPECT_EQ(host.held, 0);
    }
}

// While it lives, memory comes full of what others left in it.
class DirtyMemory {
  public:
    DirtyMemory() { KQSetAllocator(nullptr, &Allocate, &Release); }
    ~DirtyMemory() { KQSetAllocator(nullptr, nullptr, nullptr); }

  private:
    static void* Allocate(void*, std::size_t size) {
        void* block = std::malloc(size);
        return block ? std::memset(block, 0x5A, size) : nullptr;
    }
    static void Release(void*, void* block) { std::free(block); }
};

// A frame of another size fills what it can and leaves no memory of others in the rest.
TEST(RenderFrame, AFrameOfAnotherSizeNeverShowsStrayMemory) {
    const auto clipWith = [](int width, int height) {
        auto clip = DrawClip(1, 40, 32, ZPPixUChar);
        clip.push_back(DrawTexture(width, height, ZPPixUChar, 0.0f, 0.0f));
        return clip;
    };
    ForEachCell([&] { return MemoryHost(clipWith(20, 15)); },
                [](MemoryHost& host) {
                    ASSERT_EQ(host.Render(0.25f), 0);
                    Snapshot clean(*host.result);
                    const DirtyMemory dirty;
                    EXPECT_EQ(host.Render(0.25f), 0);
                    EXPECT_SAME_IMAGE(*host.result, *clean);
                });
    // The one frame that fits counts as still and the other as black.
    MemoryHost host(clipWith(38, 32));
    {
        const DirtyMemory dirty;
        EXPECT_EQ(host.Render(0.25f), 0);
    }
    ZPImage black(40, 32, 4, ZPPixUChar, 0), wanted(40, 32, 4, ZPPixUChar, 0);
    ClearImage(&black);
    ZPBlendTwo(wanted, *host.frames[0], black, 0.25f);
    EXPECT_SAME_IMAGE(*host.result, wanted);
}

// They fill a part of the finest level: what the first flow leaves in the rest reaches the second.
TEST(RenderFrame, SmallTrackedFramesAreLoadedForEachFlow) {
    MemoryHost host(DrawClip(2, 40, 32, ZPPixUChar));
    for (float shift : {0.0f, 1.5f}) {
        host.trackingFrames.push_back(DrawTexture(20, 15, ZPPixUChar, shift, 0.0f));
    }
    host.sameClip = 0;
    host.quality = 5;
    ASSERT_EQ(host.Render(0.25f), 0);
    ZPOpticalFlowUChar estimator(40, 32, 0, 0, 0, 2);
    estimator.SetSensitivity(host.sensitivity);
    for (int a : {1, 0}) {
        estimator.ComputeFlowFromImages(nullptr, host.trackingFrames[a].get(),
                                        host.trackingFrames[1 - a].get(), 1, 1, 0, nullptr, false);
    }
    EXPECT_SAME_IMAGE(*host.internal->LayerFlowA(0), *estimator.Flow());
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

// The golden clip in 16 bits, softly transparent, under two soft mattes that overlap; its motion
// comes from a clip that runs backwards.
struct LayeredScene : MemoryHost {
    LayeredScene() : MemoryHost(DrawFrames({0, 1})) {
        trackingFrames = DrawFrames({1, 0});
        for (int layer : {0, 1}) {
            for (int n : {0, 1}) AddMatte(40 + 20 * layer + (6 - 9 * layer) * n);
        }
        matteLayers = 2;
        layerShrink = shrinks;
        layerSensitivity = sensitivities;
        sensitivity = 0.6f;
        sameClip = 0;
        enhance = 1;
    }

    static std::vector<std::unique_ptr<ZPImage>> DrawFrames(std::initializer_list<int> order) {
        const auto bytes = GoldenClip();
        std::vector<std::unique_ptr<ZPImage>> frames;
        for (int n : order) {
            frames.push_back(std::make_unique<ZPImage>(96, 72, 4, ZPPixUShort, 0));
            CopyConverted(*frames.back(), *bytes[n]);
            ForEachPixel(*frames.back(), [&](int x, int y) {
                PutValue(*frames.back(), x, y, 3, static_cast<float>(65535 - 300 * y));
            });
        }
        return frames;
    }

    void AddMatte(int centre) {
        mattes.push_back(std::make_unique<ZPImage>(96, 72, 1, ZPPixUShort, 0));
        PutEach(*mattes.back(), [=](int x, int y, int) {
            const int apart = (x - centre) * (x - centre) + (y - 30) * (y - 30);
            return static_cast<float>(std::clamp(180 * (640 - apart), 0, 65535));
        });
    }

    const float shrinks[2] = {1.5f, 0.0f};
    const float sensitivities[2] = {0.5f, 0.9f};
};

TEST(RenderFrame, GoldenChecksumsOfLayers) {
    struct Golden {
        std::int64_t method;
        int warping;
        int start;
        int end;
        std::uint64_t checksum;
    };
    for (const Golden& golden :
         {Golden{0, 0, 2, 0, 6300727465298606785u}, Golden{0, 2, 2, 0, 10569335145770817091u},
          Golden{1, 0, 2, 0, 1104099091581505734u}, Golden{1, 1, 1, 0, 3796632516237402163u},
          Golden{1, 2, 2, 0, 13065845537012118659u}, Golden{2, 0, 0, 0, 18299496159438671668u},
          Golden{2, 1, 2, 0, 7845584790041249807u}, Golden{2, 3, 2, 2, 4935339570035857452u}}) {
        LayeredScene host;
        host.method = golden.method;
        host.warping = golden.warping;
        host.drawStart = golden.start;
        host.drawEnd = golden.end;
        host.timeMap = [](float t) { return 0.2f + 0.1f * t; };
        ASSERT_EQ(host.Render(0.0f), 0);
        ASSERT_EQ(host.Render(1.0f), 0);  // by the flows that were kept
        EXPECT_EQ(Checksum(*host.result), golden.checksum)
            << golden.method << golden.warping << golden.start << golden.end;
    }
}

}  // namespace
}  // namespace velorin
