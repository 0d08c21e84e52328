#include "media/finished_frames.h"

#include <OpenImageIO/imageio.h>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <span>

#include "media/digest.h"
#include "media/libav.h"
#include "media/plain_ppm.h"
#include "media/still_end.h"

namespace velorin {

namespace {

// What the library says, on one line.
std::string ProblemText(std::string said) {
    if (said.empty()) return "it is cut short or damaged";
    std::replace(said.begin(), said.end(), '\n', ' ');
    return said;
}

std::unique_ptr<OIIO::ImageInput> Open(const std::string& name, std::string& problem) {
    if (auto plain = OpenPlainPpm(name)) return plain;
    OIIO::ImageSpec asStored;
    asStored.attribute("oiio:UnassociatedAlpha", 1);
    auto input = OIIO::ImageInput::open(name, &asStored);
    if (!input) problem = ProblemText(OIIO::geterror());
    return input;
}

// Reads all samples as they are stored; empty where that fails.
std::vector<std::byte> ReadSamples(const std::string& name, std::string& problem) {
    const auto input = Open(name, problem);
    if (!input) return {};
    std::vector<std::byte> samples(input->spec().image_bytes(true));
    const bool whole = !IsCutShort(name, input->format_name()) &&
                       input->read_image(input->current_subimage(), 0, 0, -1,
                                         OIIO::TypeDesc::UNKNOWN, samples.data());
    if (whole) return samples;
    problem = ProblemText(input->geterror());
    return {};
}

}  // namespace

FinishedFrames::FinishedFrames(const SequenceName& newSequence) : sequence(newSequence) {
    for (StampFile::Line& line : StampFile(sequence).Read()) {
        added.emplace(line.number, std::move(line));
    }
}

bool FinishedFrames::IsThere(std::int64_t number) const {
    std::error_code ignored;
    return std::filesystem::exists(sequence.FileName(number), ignored);
}

std::vector<Stamp> FinishedFrames::StampsOf(std::int64_t number) const {
    std::vector<Stamp> stamps;
    std::string problem;
    const std::string name = sequence.FileName(number);
    const auto input = Open(name, problem);
    if (!input) return {};
    const auto [first, last] = added.equal_range(number);
    if (const auto own = ParseStamp(input->spec().get_string_attribute("Software"))) {
        stamps.push_back(*own);
    } else if (first != last) {
        const std::vector<std::byte> samples = ReadSamples(name, problem);
        const std::string digest = DigestOf(samples);
        for (auto line = first; line != last; ++line) {
            if (!samples.empty() && line->second.digest == digest) stamps = {line->second.stamp};
        }
    }
    if (stamps.empty()) return {};
    for (auto line = first; line != last; ++line) {
        const bool adds = line->second.stamp.picture == stamps[0].picture;
        if (adds && line->second.digest.empty()) stamps.push_back(line->second.stamp);
    }
    return stamps;
}

std::string FinishedFrames::ProblemOf(std::int64_t number) const {
    std::string problem;
    ReadSamples(sequence.FileName(number), problem);
    return problem;
}

std::string DigestOfSamples(const void* samples, std::size_t bytes) {
    return DigestOf(std::span(static_cast<const std::byte*>(samples), bytes));
}

std::optional<Stamp> StampOfMovie(const std::string& name) {
    SilenceLibraries();
    AVFormatContext* opened = nullptr;
    if (avformat_open_input(&opened, ("file:" + name).c_str(), nullptr, nullptr) < 0) return {};
    const auto close = [](AVFormatContext* context) { avformat_close_input(&context); };
    const std::unique_ptr<AVFormatContext, decltype(close)> input(opened, close);
    const AVDictionaryEntry* comment = av_dict_get(input->metadata, "comment", nullptr, 0);
    return comment ? ParseStamp(comment->value) : std::nullopt;
}

}  // namespace velorin
