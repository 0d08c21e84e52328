#include "media/movie_colours.h"

#include <stdexcept>

#include "media/movie_pixels.h"
#include "media/video_matrix.h"

namespace velorin {

void DescribePictures(const AVCodecContext& decoder, ClipInfo& info) {
    const AVPixFmtDescriptor& format = *av_pix_fmt_desc_get(decoder.pix_fmt);
    info.isMovie = true;
    info.channels = ChannelsOf(decoder.pix_fmt);
    info.depth = DepthOf(decoder.pix_fmt);
    info.pixelFormat = format.name;
    info.primaries = decoder.color_primaries;
    info.transfer = decoder.color_trc;
    info.sceneLinear = decoder.color_trc == AVCOL_TRC_LINEAR;
    if (info.channels <= 2 || (format.flags & (AV_PIX_FMT_FLAG_RGB | AV_PIX_FMT_FLAG_PAL)) != 0) {
        return;
    }
    info.fullRange = HasFullRange(decoder.pix_fmt, decoder.color_range);
    try {
        info.matrix = MatrixOf(decoder.colorspace, decoder.height);
    } catch (const std::runtime_error&) {
        // Told with the number of the frame that is read.
    }
}

// ProRes has no mark for a full range.
void NameColours(AVCodecContext& encoder, const ClipInfo& source) {
    const AVPixFmtDescriptor& format = *av_pix_fmt_desc_get(encoder.pix_fmt);
    const bool rgb = (format.flags & AV_PIX_FMT_FLAG_RGB) != 0;
    const bool gray = format.nb_components <= 2;
    const bool coded = source.matrix != AVCOL_SPC_UNSPECIFIED;
    const bool full = source.fullRange && encoder.codec_id != AV_CODEC_ID_PRORES;
    encoder.colorspace = rgb     ? AVCOL_SPC_RGB
                         : gray  ? AVCOL_SPC_UNSPECIFIED
                         : coded ? static_cast<AVColorSpace>(source.matrix)
                                 : AVCOL_SPC_BT709;
    encoder.color_range = rgb || gray || full ? AVCOL_RANGE_JPEG : AVCOL_RANGE_MPEG;
    const bool named = source.isMovie || rgb || source.primaries != AVCOL_PRI_UNSPECIFIED;
    encoder.color_primaries =
        named ? static_cast<AVColorPrimaries>(source.primaries) : AVCOL_PRI_BT709;
    encoder.color_trc =
        named ? static_cast<AVColorTransferCharacteristic>(source.transfer) : AVCOL_TRC_BT709;
    if (!rgb && !gray) encoder.chroma_sample_location = AVCHROMA_LOC_LEFT;
}

void NameColours(const AVCodecContext& encoder, AVFrame& picture) {
    picture.width = encoder.width;
    picture.height = encoder.height;
    picture.format = encoder.pix_fmt;
    picture.colorspace = encoder.colorspace;
    picture.color_range = encoder.color_range;
    picture.color_primaries = encoder.color_primaries;
    picture.color_trc = encoder.color_trc;
    picture.chroma_location = encoder.chroma_sample_location;
    picture.sample_aspect_ratio = encoder.sample_aspect_ratio;
}

}  // namespace velorin
