#include <vector>

#include "bench/timing.h"
#include "host/my_image.h"
#include "host/pack.h"
#include "standalone/thread_pool.h"

namespace velorin {
namespace {

using Bytes = std::vector<unsigned char>;

// A frame from the host's layout into the engine's, or back.
Operation PreparePack(int format, bool back) {
    constexpr std::int64_t kPixels = std::int64_t{kFrameWidth} * kFrameHeight;
    spark_info_struct info{};
    info.frameDepth = format;
    info.frameBytes = static_cast<std::int32_t>(kPixels * (format == 24 ? 3 : 6));
    const auto host = std::make_shared<Bytes>(info.frameBytes, 77);
    const auto alpha = std::make_shared<Bytes>(info.frameBytes, 77);
    const std::int64_t bytes = kPixels * BlockPixelBytes(format, 4);
    const auto block = std::make_shared<Bytes>(bytes, 17);
    return {kPixels,
            [=] {
                const PoolLoan loan(static_cast<int>(kPixels), nullptr);
                if (back) {
                    sparkUnCombine4Buffers(&info, host->data(), block->data(), bytes,
                                           alpha->data());
                } else {
                    sparkCombine4Buffers(&info, block->data(), bytes, host->data(), nullptr, 0);
                }
            },
            {}};
}

bool Register() {
    for (const auto& [format, name] : {std::pair{24, "8-bit"}, {48, "12-bit"}, {49, "half"}}) {
        for (const bool back : {false, true}) {
            Time(std::string("host: ") + (back ? "to" : "from") + " the host's layout, " + name,
                 [format = format, back] { return PreparePack(format, back); });
        }
    }
    return true;
}

const bool kRegistered = Register();

}  // namespace
}  // namespace velorin
