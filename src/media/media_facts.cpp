#include "media/media_facts.h"

#include "media/libav.h"

namespace velorin {

namespace {

std::string NameOr(const char* name, int number) {
    return name ? name : std::to_string(number);
}

}  // namespace

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
