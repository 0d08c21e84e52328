#include "media/libav.h"

#include <atomic>
#include <cstdarg>
#include <new>

#include "media/decoder_faults.h"

namespace velorin {

namespace {

// Decoders report from threads of their own, and hand nothing of the caller's on.
std::atomic<std::int64_t> gFaults{0};

void CountFault(void* reporter, int level, const char* format, va_list values) {
    const auto* type = reporter ? *static_cast<AVClass**>(reporter) : nullptr;
    if (level <= AV_LOG_ERROR && type == avcodec_get_class()) ++gFaults;
    av_log_default_callback(reporter, level, format, values);
}

}  // namespace

AvFrame MakeFrame() {
    AvFrame frame(av_frame_alloc());
    if (!frame) throw std::bad_alloc();
    return frame;
}

AvPacket MakePacket() {
    AvPacket packet(av_packet_alloc());
    if (!packet) throw std::bad_alloc();
    return packet;
}

std::string AvText(int error) {
    char text[AV_ERROR_MAX_STRING_SIZE] = "";
    av_strerror(error, text, sizeof text);
    return text;
}

void SilenceLibraries() {
    av_log_set_level(AV_LOG_FATAL);
    av_log_set_callback(CountFault);
}

std::int64_t FaultsOfDecoders() {
    return gFaults;
}

}  // namespace velorin
