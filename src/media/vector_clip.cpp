#include "media/vector_clip.h"

#include <cmath>
#include <filesystem>
#include <system_error>
#include <utility>
#include <vector>

#include "media/sequence_name.h"
#include "media/sequence_reader.h"
#include "media/still_format.h"
#include "media/still_shape.h"

namespace velorin {
namespace {

void ClearNonFinite(float* pixel) {
    const bool finite =
        std::isfinite(pixel[0]) && std::isfinite(pixel[1]) && std::isfinite(pixel[3]);
    if (!finite) pixel[3] = 0.0f;
}

// Halving loses nothing, so the sum's rounding is all that coding costs.
void Encode(float* pixel) {
    ClearNonFinite(pixel);
    for (int c = 0; c < 3; ++c) pixel[c] = (pixel[c] + 1.0f) * 0.5f;
}

// Pictures of `clip` with an operation done to each pixel of those that are float.
class VectorReader final : public ClipReader {
  public:
    using Operation = void (*)(float* pixel);

    VectorReader(std::unique_ptr<ClipReader> newClip, Operation newOperation)
        : clip(std::move(newClip)), info(clip->Info()), operation(newOperation) {
        clip->KeepUnstoredClear();
        info.channels = 4;
    }
    const ClipInfo& Info() const override { return info; }
    void Read(std::int64_t frame, Picture& picture) override {
        clip->Read(frame, picture);
        if (picture.pixelType != ZPPixFloat) return;
        auto* pixel = reinterpret_cast<float*>(picture.pixels.data());
        const float* end = pixel + picture.pixels.size() / sizeof(float);
        for (; pixel != end; pixel += picture.channels) operation(pixel);
    }

  private:
    std::unique_ptr<ClipReader> clip;
    ClipInfo info;
    Operation operation;
};

using Names = std::vector<std::string>;

// The names of the channels in each part of a file.
std::vector<Names> PartsOf(OIIO::ImageInput& input) {
    std::vector<Names> parts;
    while (input.seek_subimage(static_cast<int>(parts.size()), 0)) {
        parts.push_back(input.spec().channelnames);
    }
    input.geterror();  // drops what the search past the end left
    return parts;
}

// The names by which a file tells where its vectors lead to.
VectorChannels ChannelsOf(VectorDirection direction) {
    if (direction == VectorDirection::kForward) return {"forward.u", "forward.v"};
    return {"backward.u", "backward.v"};
}

// Those of vectors that do not tell it.
VectorChannels MotionChannels() {
    return {"motion.x", "motion.y"};
}

struct Place {
    int part;
    ChannelPair pair;
};

// The two channels in one part of a file.
std::optional<Place> Find(const std::vector<Names>& parts, const VectorChannels& names) {
    for (std::size_t part = 0; part < parts.size(); ++part) {
        const int u = ChannelNamed(parts[part], names.u);
        const int v = ChannelNamed(parts[part], names.v);
        if (u >= 0 && v >= 0) return Place{static_cast<int>(part), {u, v}};
    }
    return {};
}

// Looks for the vectors of one sequence in its files.
class VectorFinder {
  public:
    VectorFinder(VectorDirection direction, const std::optional<VectorChannels>& chosen) {
        if (chosen) {
            wanted = {*chosen};
            return;
        }
        const bool isForward = direction == VectorDirection::kForward;
        wanted = {ChannelsOf(direction), MotionChannels()};
        other = ChannelsOf(isForward ? VectorDirection::kBackward : VectorDirection::kForward);
        otherOption = isForward ? "--backward-vectors" : "--forward-vectors";
        anyTwo = true;
    }

    std::optional<StillShape> Describe(OIIO::ImageInput& input, std::string& problem);

  private:
    std::optional<Place> Choose(const std::vector<Names>& parts);
    std::string WhatIsMissing(const std::vector<Names>& parts) const;

    std::vector<VectorChannels> wanted;  // the first that is there is read
    VectorChannels other;                // never taken for the only two
    std::string otherOption;             // that they are for
    bool anyTwo = false;
};

// What was read of one file is all that is wanted of the next.
std::optional<Place> VectorFinder::Choose(const std::vector<Names>& parts) {
    std::vector<VectorChannels> candidates = wanted;
    if (anyTwo && parts.size() == 1 && parts[0].size() == 2 && !Find(parts, other)) {
        candidates.push_back({parts[0][0], parts[0][1]});
    }
    for (const VectorChannels& names : candidates) {
        const auto place = Find(parts, names);
        if (!place) continue;
        wanted = {names};
        anyTwo = false;
        return place;
    }
    return {};
}

// Tells of the one that is missing where half a pair is there.
std::string VectorFinder::WhatIsMissing(const std::vector<Names>& parts) const {
    Names all;
    for (const Names& names : parts) all.insert(all.end(), names.begin(), names.end());
    const auto has = [&](const std::string& name) { return ChannelNamed(all, name) >= 0; };
    const std::string advice = "; give two of them by --vector-channels U,V";
    const std::string list = "has the channels " + ListOf(all);
    for (const auto& [u, v] : wanted) {
        if (has(u) && has(v)) return "holds " + u + " and " + v + " in different parts" + advice;
        if (has(u) != has(v)) return list + ", but no " + (has(u) ? v : u) + advice;
    }
    if (all.size() < 2) return "has the channel " + ListOf(all) + " alone; vectors need two";
    if (anyTwo && Find(parts, other)) {
        return list + "; " + other.u + " and " + other.v + " belong to " + otherOption +
               ", which is enough by itself; or give two others by --vector-channels U,V";
    }
    if (anyTwo) return list + advice;
    return list + ", but no " + wanted[0].u + " and no " + wanted[0].v + advice;
}

bool IsOfIntegers(OIIO::TypeDesc type) {
    return type == OIIO::TypeDesc::UINT8 || type == OIIO::TypeDesc::UINT16;
}

std::optional<StillShape> VectorFinder::Describe(OIIO::ImageInput& input, std::string& problem) {
    const auto refuseIntegers = [&] {
        problem = "has samples of " + std::to_string(8 * input.spec().format.size()) +
                  " bits; vectors in pixels are half or float; where colours code them, give "
                  "--vectors-format coded";
        return std::nullopt;
    };
    if (IsOfIntegers(input.spec().format)) return refuseIntegers();
    const std::vector<Names> parts = PartsOf(input);
    const auto place = Choose(parts);
    if (!place) {
        problem = WhatIsMissing(parts);
        return {};
    }
    input.seek_subimage(place->part, 0);
    if (IsOfIntegers(input.spec().format)) return refuseIntegers();
    return DescribeStill(input, place->pair, problem);
}

// The two channels of a file that hold vectors in pixels, by their names or as there are no others.
std::string PixelChannelsIn(const std::vector<Names>& parts) {
    for (const auto& [u, v] : {ChannelsOf(VectorDirection::kForward),
                               ChannelsOf(VectorDirection::kBackward), MotionChannels()}) {
        if (Find(parts, {u, v})) return u + " and " + v;
    }
    const bool areAll = parts.size() == 1 && parts[0].size() == 2;
    return areAll ? parts[0][0] + " and " + parts[0][1] : "";
}

// Colours, unless they seem to be the picture that goes with vectors in other channels.
std::optional<StillShape> DescribeCoded(OIIO::ImageInput& input, bool saidToBeCoded,
                                        std::string& problem) {
    auto shape = DescribeStill(input, {}, problem);
    if (shape && (saidToBeCoded || shape->channels <= 2)) return shape;
    if (IsOfIntegers(input.spec().format)) return shape;
    const std::string vectors = PixelChannelsIn(PartsOf(input));
    input.seek_subimage(0, 0);
    if (vectors.empty()) return shape;
    problem = "holds vectors in pixels, in " + vectors + "; give --vectors-format pixels" +
              (shape ? ", or --vectors-format coded if its colours are vectors too" : "");
    return {};
}

std::unique_ptr<ClipReader> OpenCodedClip(const std::string& name, bool saidToBeCoded) {
    const auto sequence = FindSequenceMeant(name);
    if (!sequence) return OpenClip(name);
    return OpenSequence(name, *sequence,
                        [saidToBeCoded](OIIO::ImageInput& input, std::string& problem) {
                            return DescribeCoded(input, saidToBeCoded, problem);
                        });
}

std::string AdviceOnPixels(const std::string& name) {
    if (FindStillFormat(name)) return "as in " + SuggestedPattern(name);
    std::error_code ignored;
    const bool isMovie = std::filesystem::is_regular_file(name, ignored);
    return std::string("as in flow.%04d.exr") +
           (isMovie ? "; for a movie, whose colours code vectors, give --vectors-format coded"
                    : "");
}

}  // namespace

std::unique_ptr<ClipReader> OpenCodedVectors(const std::string& name, bool saidToBeCoded) {
    auto clip = OpenCodedClip(name, saidToBeCoded);
    if (clip->Info().channels <= 2) {
        throw MediaError(MediaError::Kind::kInput,
                         name + ": is gray; coded vectors need RGB or RGBA");
    }
    return std::make_unique<VectorReader>(std::move(clip), &ClearNonFinite);
}

std::unique_ptr<ClipReader> OpenPixelVectors(const std::string& name, VectorDirection direction,
                                             const std::optional<VectorChannels>& chosen) {
    const auto sequence = FindSequenceMeant(name);
    if (!sequence) {
        throw MediaError(
            MediaError::Kind::kInput,
            name + ": vectors in pixels are a sequence of half or float, " + AdviceOnPixels(name));
    }
    VectorFinder finder(direction, chosen);
    auto clip = OpenSequence(name, *sequence,
                             [finder](OIIO::ImageInput& input, std::string& problem) mutable {
                                 return finder.Describe(input, problem);
                             });
    return std::make_unique<VectorReader>(std::move(clip), &Encode);
}

}  // namespace velorin
