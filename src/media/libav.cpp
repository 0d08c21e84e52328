#include "media/libav.h"

#include <new>

namespace velorin {

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
}

}  // namespace velorin
