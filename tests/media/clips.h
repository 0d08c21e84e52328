#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "media/clip.h"

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

}  // namespace velorin
