#include "media/plain_ppm.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstring>
#include <optional>
#include <string_view>
#include <utility>

#include "media/still_format.h"

namespace velorin {
namespace {

constexpr int kMostPixelsOfSide = 65535;

bool IsSpace(char c) {
    return c == ' ' || c == '\t' || c == '\n';
}

// Takes the spaces before a number and the number off `text`; -1 where there is something else.
int TakeNumber(std::string_view& text) {
    std::size_t spaces = 0;
    while (spaces < text.size() && IsSpace(text[spaces])) ++spaces;
    if (spaces == 0) return -1;
    text.remove_prefix(spaces);
    int number = -1;
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (failure != std::errc()) return -1;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return number;
}

struct PpmHeader {
    int channels;
    int width;
    int height;
    std::size_t bytes;  // of the header itself
};

std::optional<PpmHeader> ParseHeader(std::string_view text) {
    const std::string_view whole = text;
    if (!text.starts_with("P5") && !text.starts_with("P6")) return {};
    const int channels = text[1] == '5' ? 1 : 3;
    text.remove_prefix(2);
    const int width = TakeNumber(text);
    const int height = TakeNumber(text);
    const int white = TakeNumber(text);
    const bool sane =
        width > 0 && width <= kMostPixelsOfSide && height > 0 && height <= kMostPixelsOfSide;
    // One space ends the header; what follows is a sample, whatever it looks like.
    if (!sane || white != 255 || text.empty() || !IsSpace(text[0])) return {};
    return PpmHeader{channels, width, height, whole.size() - text.size() + 1};
}

// An open file of samples.
class PlainPpmInput : public OIIO::ImageInput {
  public:
    PlainPpmInput(int openFile, const PpmHeader& header)
        : file(openFile), firstSample(static_cast<off_t>(header.bytes)) {
        m_spec =
            OIIO::ImageSpec(header.width, header.height, header.channels, OIIO::TypeDesc::UINT8);
        m_spec.attribute("pnm:binary", 1);
        m_spec.attribute("oiio:BitsPerSample", 8);
        m_spec.attribute("oiio:ColorSpace", "Rec709");
    }
    ~PlainPpmInput() override { ::close(file); }

    const char* format_name() const override { return "pnm"; }
    bool open(const std::string&, OIIO::ImageSpec&) override { return false; }
    bool close() override { return true; }
    bool read_native_scanline(int subimage, int level, int y, int z, void* samples) override {
        return read_native_scanlines(subimage, level, y, y + 1, z, samples);
    }
    bool read_native_scanlines(int /*subimage*/, int /*level*/, int begin, int end, int /*z*/,
                               void* samples) override {
        const auto row = static_cast<off_t>(m_spec.scanline_bytes());
        const off_t last = firstSample + end * row;
        auto* out = static_cast<char*>(samples);
        for (off_t at = firstSample + begin * row; at < last;) {
            const ssize_t now = pread(file, out, static_cast<std::size_t>(last - at), at);
            if (now < 0 && errno == EINTR) continue;
            if (now <= 0) {
                errorfmt("{}", now < 0 ? std::strerror(errno) : "Premature end of file");
                return false;
            }
            at += now;
            out += now;
        }
        return true;
    }

  private:
    int file;
    off_t firstSample;
};

}  // namespace

bool IsPpmName(const std::string& name) {
    const StillFormat* format = FindStillFormat(name);
    return format && format->extension == std::string_view("ppm");
}

std::unique_ptr<OIIO::ImageInput> OpenPlainPpm(const std::string& name) {
    if (!IsPpmName(name)) return nullptr;
    const int file = open(name.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) return nullptr;
    char start[64];
    const ssize_t had = pread(file, start, sizeof start, 0);
    const auto header =
        ParseHeader(std::string_view(start, had > 0 ? static_cast<std::size_t>(had) : 0));
    if (header) {
        auto input = std::make_unique<PlainPpmInput>(file, *header);
        const auto samples = static_cast<off_t>(input->spec().image_bytes());
        if (lseek(file, 0, SEEK_END) >= static_cast<off_t>(header->bytes) + samples) return input;
    } else {
        close(file);
    }
    return nullptr;
}

std::string PlainPpmHeader(const OIIO::ImageSpec& layout) {
    return (layout.nchannels == 1 ? "P5\n" : "P6\n") + std::to_string(layout.width) + " " +
           std::to_string(layout.height) + "\n255\n";
}

}  // namespace velorin
