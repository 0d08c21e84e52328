#include "shuffled/shuffled_fork.h"

#include <numeric>
#include <utility>

#include "image/host_threads.h"
#include "image/parallel.h"
#include "support/noise.h"

namespace velorin {

namespace {

// An odd share, and a frame that the shares do not divide: the host's own frames are like that.
constexpr int kFramePixels = 720 * 487 + 5;

Noise gNoise(1);
std::vector<int> gOrder;
int gRunning = 0;
int gMissing = 0;

long long SharePixels() {
    return kFramePixels / GetThreadCount();
}

// Gives the order of a job's threads.
void Shuffle() {
    gOrder.resize(GetThreadCount());
    std::iota(gOrder.begin(), gOrder.end(), 0);
    for (int i = GetThreadCount() - 1; i > 0; --i) std::swap(gOrder[i], gOrder[gNoise.Int(0, i)]);
}

}  // namespace

void UseShuffledFork(int threads, unsigned seed) {
    SetThreadCount(threads);
    gNoise = Noise(seed);
    gMissing = 0;
}

void LoseThreads(int missing) {
    gMissing = missing;
}

const std::vector<int>& LastOrder() {
    return gOrder;
}

int KQMPSparkGetNumberOfFramePixels() {
    return kFramePixels;
}

}  // namespace velorin

extern "C" {

void sparkMpFork(void (*worker)(void* argument), int /*one*/, void* argument) {
    velorin::Shuffle();
    for (std::size_t i = velorin::gMissing; i < velorin::gOrder.size(); ++i) {
        velorin::gRunning = velorin::gOrder[i];
        worker(argument);
    }
}

void sparkMpInfo(long long* firstPixel, long long* pixelCount) {
    *firstPixel = velorin::gRunning * velorin::SharePixels();
    *pixelCount = velorin::SharePixels();
}
}
