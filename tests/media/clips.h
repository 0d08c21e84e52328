#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/resource.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <string>
#include <type_traits>
#include <vector>

#include "media/clip.h"
#include "support/noise.h"

namespace velorin {

// A folder of its own for a test, gone with its content at the end.
class TemporaryFolder {
  public:
    TemporaryFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "velorin-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder");
        path = name;
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::string operator/(const std::string& name) const { return (path / name).string(); }
    // The names in the folder, hidden ones too, sorted.
    std::vector<std::string> Names() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(path)) {
            names.push_back(entry.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

  private:
    std::filesystem::path path;
};

// The source that an output follows: RGB or RGBA at 24 frames a second.
inline ClipInfo SourceInfo(int width, int height, int channels, SampleDepth depth) {
    ClipInfo info;
    info.width = width;
    info.height = height;
    info.channels = channels;
    info.depth = depth;
    info.rate = {24, 1};
    info.pixelAspect = {1, 1};
    info.window = info.display = {0, 0, width, height};
    return info;
}

inline OutputSettings SettingsFor(const ClipInfo& source) {
    OutputSettings settings;
    settings.source = source;
    settings.depth = source.depth;
    settings.firstNumber = source.firstNumber;
    return settings;
}

inline void WriteClip(const std::string& name, const OutputSettings& settings,
                      const std::vector<Picture>& pictures) {
    std::vector<std::int64_t> frames;
    for (std::size_t i = 0; i < pictures.size(); ++i) frames.push_back(static_cast<int>(i));
    const auto writer = CreateClip(name, settings, frames);
    for (const std::int64_t frame : frames) writer->Write(frame, pictures[frame]);
    writer->Finish();
}

// Noise with colour under zero and little alpha. Gray has three equal channels, and a layout
// without alpha a full one. Floats go below black and above white, all exact in half.
template <typename Value>
Picture NoisePicture(unsigned seed, int width, int height, int channels) {
    constexpr bool kFloat = std::is_floating_point_v<Value>;
    Picture picture;
    picture.SetShape(width, height, PictureType<Value>::kPixelType);
    auto* pixel = reinterpret_cast<Value*>(picture.pixels.data());
    Noise noise(seed);
    const auto sample = [&]() -> Value {
        if constexpr (kFloat) return static_cast<Value>(noise.Int(-96, 1024)) / 64;
        return static_cast<Value>(noise.Bits());
    };
    for (int i = 0; i < width * height; ++i, pixel += 4) {
        std::generate_n(pixel, 4, sample);
        if (i % 3 == 0) pixel[3] = 0;
        if (i % 7 == 0) pixel[3] = kFloat ? static_cast<Value>(1.0f / 256.0f) : Value{1};
        if (channels <= 2) pixel[1] = pixel[2] = pixel[0];
        if (channels % 2 == 1) pixel[3] = static_cast<Value>(PictureType<Value>::kWhite);
    }
    return picture;
}

inline bool SamePixels(const Picture& a, const Picture& b) {
    return a.width == b.width && a.height == b.height && a.pixelType == b.pixelType &&
           a.pixels.size() == b.pixels.size() &&
           std::memcmp(a.pixels.data(), b.pixels.data(), a.pixels.size()) == 0;
}

// Calls body, which must throw a MediaError of that kind; answers its text.
template <typename Body>
std::string ErrorOf(MediaError::Kind kind, Body&& body) {
    try {
        body();
    } catch (const MediaError& error) {
        EXPECT_EQ(static_cast<int>(error.kind), static_cast<int>(kind)) << error.what();
        return error.what();
    }
    ADD_FAILURE() << "nothing was thrown";
    return "";
}

inline void ExpectContains(const std::string& text, const std::string& part) {
    EXPECT_NE(text.find(part), std::string::npos) << text;
}

// As ErrorOf, while no file can grow beyond `bytes`: the limit stands for the full disk.
template <typename Body>
std::string FullDiskErrorOf(rlim_t bytes, Body&& body) {
    rlimit old;
    getrlimit(RLIMIT_FSIZE, &old);
    const rlimit small{bytes, old.rlim_max};
    const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &small);
    const std::string text = ErrorOf(MediaError::Kind::kFailure, body);
    setrlimit(RLIMIT_FSIZE, &old);
    std::signal(SIGXFSZ, oldHandler);
    return text;
}

}  // namespace velorin
