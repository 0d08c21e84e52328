#include "media/media_libraries.h"

#include <OpenImageIO/oiioversion.h>

extern "C" {
#include <libavcodec/version.h>
#include <libavformat/version.h>
#include <libavutil/version.h>
#include <libswscale/version.h>
}

#include <nlohmann/json.hpp>

namespace velorin {
namespace {

std::string ThreeParts(int major, int minor, int patch) {
    return std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(patch);
}

}  // namespace

std::vector<std::pair<std::string, std::string>> MediaLibraries() {
    return {
        {"libavformat", AV_STRINGIFY(LIBAVFORMAT_VERSION)},
        {"libavcodec", AV_STRINGIFY(LIBAVCODEC_VERSION)},
        {"libavutil", AV_STRINGIFY(LIBAVUTIL_VERSION)},
        {"libswscale", AV_STRINGIFY(LIBSWSCALE_VERSION)},
        {"OpenImageIO", ThreeParts(OIIO_VERSION_MAJOR, OIIO_VERSION_MINOR, OIIO_VERSION_PATCH)},
        {"JSON for Modern C++", ThreeParts(NLOHMANN_JSON_VERSION_MAJOR, NLOHMANN_JSON_VERSION_MINOR,
                                           NLOHMANN_JSON_VERSION_PATCH)}};
}

}  // namespace velorin
