#include "media/media_facts.h"

#include <OpenImageIO/imageio.h>

#include <nlohmann/json.hpp>

#include "media/libav.h"

namespace velorin {

namespace {

std::string VersionOf(unsigned number) {
    return std::to_string(AV_VERSION_MAJOR(number)) + "." +
           std::to_string(AV_VERSION_MINOR(number)) + "." +
           std::to_string(AV_VERSION_MICRO(number));
}

std::string ThreeParts(int major, int minor, int patch) {
    return std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(patch);
}

std::string NameOr(const char* name, int number) {
    return name ? name : std::to_string(number);
}

}  // namespace

std::vector<std::pair<std::string, std::string>> MediaLibraries() {
    const int still = OIIO::openimageio_version();
    return {
        {"libavformat", VersionOf(avformat_version())},
        {"libavcodec", VersionOf(avcodec_version())},
        {"libavutil", VersionOf(avutil_version())},
        {"libswscale", VersionOf(swscale_version())},
        {"OpenImageIO", ThreeParts(still / 10000, still / 100 % 100, still % 100)},
        {"JSON for Modern C++", ThreeParts(NLOHMANN_JSON_VERSION_MAJOR, NLOHMANN_JSON_VERSION_MINOR,
                                           NLOHMANN_JSON_VERSION_PATCH)}};
}

std::string PrimariesName(int number) {
    return NameOr(av_color_primaries_name(static_cast<AVColorPrimaries>(number)), number);
}

std::string TransferName(int number) {
    return NameOr(av_color_transfer_name(static_cast<AVColorTransferCharacteristic>(number)),
                  number);
}

std::string MatrixName(int number) {
    return NameOr(av_color_space_name(static_cast<AVColorSpace>(number)), number);
}

}  // namespace velorin
