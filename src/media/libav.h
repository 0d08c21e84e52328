#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/frame.h>
#include <libavutil/opt.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

#include <memory>
#include <string>

// The libraries' objects as owned pointers.
namespace velorin {

struct FreeAvObject {
    void operator()(AVFrame* frame) const { av_frame_free(&frame); }
    void operator()(AVPacket* packet) const { av_packet_free(&packet); }
    void operator()(AVCodecContext* codec) const { avcodec_free_context(&codec); }
    void operator()(SwsContext* scaler) const { sws_freeContext(scaler); }
};

using AvFrame = std::unique_ptr<AVFrame, FreeAvObject>;
using AvPacket = std::unique_ptr<AVPacket, FreeAvObject>;
using AvCodec = std::unique_ptr<AVCodecContext, FreeAvObject>;
using AvScaler = std::unique_ptr<SwsContext, FreeAvObject>;

// These throw std::bad_alloc where there is no memory.
AvFrame MakeFrame();
AvPacket MakePacket();

// What a negative answer of the libraries means.
std::string AvText(int error);

// Keeps the libraries from printing: what goes wrong is told by a MediaError.
void SilenceLibraries();

}  // namespace velorin
