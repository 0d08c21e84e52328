#include "bench/timing.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <cstring>
#include <map>
#include <utility>

#include "image/copy.h"
#include "standalone/thread_pool.h"
#include "support/memory_host.h"
#include "support/noise.h"

namespace velorin {

void Time(const std::string& name, std::function<Operation()> prepare) {
    const auto measure = [prepare = std::move(prepare)](benchmark::State& state) {
        const Operation operation = prepare();
        for (auto _ : state) {
            if (operation.reset) {
                state.PauseTiming();
                operation.reset();
                state.ResumeTiming();
            }
            operation.run();
        }
        // Inverted, a rate of pixels in a thousand millionth of a second is nanoseconds a pixel.
        state.counters["ns/px"] = benchmark::Counter(
            static_cast<double>(operation.pixels) * 1e-9,
            benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
    };
    benchmark::RegisterBenchmark(name.c_str(), measure)
        ->UseRealTime()
        ->Unit(benchmark::kMicrosecond);
}

std::int64_t CountPixels(const ZPImage& image) {
    return static_cast<std::int64_t>(image.width) * image.height;
}

std::shared_ptr<ZPImage> CreateNoise(int width, int height, int channels, int pixelType) {
    auto image = std::make_shared<ZPImage>(width, height, channels, pixelType, 0);
    Noise(1).Fill(*image);
    return image;
}

std::shared_ptr<ZPImage> CreateCopy(const ZPImage& image) {
    auto copy = std::make_shared<ZPImage>(image.width, image.height, image.channels,
                                          image.pixelType, image.bottomUp);
    CopyExact(copy.get(), &image);
    return copy;
}

const ZPImage& DrawnFrame(int pixelType, int number) {
    static std::map<std::pair<int, int>, std::unique_ptr<ZPImage>> frames;
    std::unique_ptr<ZPImage>& frame = frames[{pixelType, number}];
    if (!frame) {
        const float n = static_cast<float>(number);
        frame = DrawTexture(kFrameWidth, kFrameHeight, pixelType, n * 2.5f, n * -1.25f);
    }
    return *frame;
}

const char* TypeName(int pixelType) {
    if (pixelType == ZPPixUChar) return "8-bit";
    return pixelType == ZPPixUShort ? "16-bit" : "float";
}

}  // namespace velorin

// Google Benchmark's own options, and first --threads=N (default: all processors).
int main(int argc, char** argv) {
    static constexpr char kThreads[] = "--threads=";
    int threads = velorin::AvailableProcessors();
    if (argc > 1 && std::strncmp(argv[1], kThreads, std::strlen(kThreads)) == 0) {
        threads = std::atoi(argv[1] + std::strlen(kThreads));
        argv[1] = argv[0];
        ++argv;
        --argc;
    }
    velorin::UseThreads(threads);
    benchmark::AddCustomContext("threads", std::to_string(threads));
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
