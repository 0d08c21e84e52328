#include "media/still_file.h"

#include <OpenImageIO/filesystem.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <string_view>

#include "media/plain_ppm.h"
#include "media/safe_file.h"
#include "media/still_format.h"

namespace velorin {
namespace {

// Hands what a format writes to an open file and remembers the first failure: not every format
// reports a full disk by itself.
class DescriptorProxy : public OIIO::Filesystem::IOProxy {
  public:
    DescriptorProxy(const std::string& name, int openFile) : IOProxy(name, Write), file(openFile) {}

    const char* proxytype() const override { return "descriptor"; }
    std::size_t read(void* bytes, std::size_t count) override {
        const std::size_t done = pread(bytes, count, m_pos);
        m_pos += static_cast<std::int64_t>(done);
        return done;
    }
    std::size_t write(const void* bytes, std::size_t count) override {
        const std::size_t done = pwrite(bytes, count, m_pos);
        m_pos += static_cast<std::int64_t>(done);
        return done;
    }
    std::size_t pread(void* bytes, std::size_t count, std::int64_t offset) override {
        std::size_t done = 0;
        while (done < count) {
            const ssize_t now = ::pread(file, static_cast<char*>(bytes) + done, count - done,
                                        offset + static_cast<std::int64_t>(done));
            if (now < 0 && errno == EINTR) continue;
            if (now <= 0) break;
            done += static_cast<std::size_t>(now);
        }
        return done;
    }
    std::size_t pwrite(const void* bytes, std::size_t count, std::int64_t offset) override {
        std::size_t done = 0;
        while (done < count) {
            const ssize_t now = ::pwrite(file, static_cast<const char*>(bytes) + done, count - done,
                                         offset + static_cast<std::int64_t>(done));
            if (now < 0 && errno == EINTR) continue;
            if (now < 0) {
                if (failure == 0) failure = errno;
                break;
            }
            done += static_cast<std::size_t>(now);
        }
        return done;
    }
    std::size_t size() const override {
        const off_t end = lseek(file, 0, SEEK_END);
        return end < 0 ? 0 : static_cast<std::size_t>(end);
    }
    // An errno value, 0 while all is well.
    int Failure() const { return failure; }

  private:
    int file;
    int failure = 0;
};

// What the library would choose otherwise than a picture out of this program needs.
void AddFormatSettings(const std::string& target, OIIO::ImageSpec& layout) {
    const StillFormat* format = FindStillFormat(target);
    const std::string_view extension = format ? format->extension : "";
    if (extension == "jpg" || extension == "jpeg") {
        layout.attribute("Compression", "jpeg:100");
        layout.attribute("jpeg:subsampling", "4:4:4");
    }
    // The library would write the time of day, and equal renders would give unequal files.
    const bool dated = extension == "exr" || extension == "tif" || extension == "tiff";
    if (dated && !layout.find_attribute("DateTime")) layout.attribute("DateTime", "");
}

// A DPX tells its own name, and the library knows the temporary one.
void NameInHeader(const std::string& target, int file) {
    constexpr off_t kNamePlace = 36;
    std::array<char, 100> name{};
    const std::string given = std::filesystem::path(target).filename().string();
    given.copy(name.data(), name.size() - 1);
    if (pwrite(file, name.data(), name.size(), kNamePlace) != static_cast<ssize_t>(name.size())) {
        throw WriteFailure(target, errno);
    }
}

// What the library has against it; empty when the picture is written.
std::string WriteByLibrary(const std::string& target, const SafeFile& file, DescriptorProxy& proxy,
                           const OIIO::ImageSpec& layout, OIIO::TypeDesc type, const void* pixels) {
    const auto output = OIIO::ImageOutput::create(file.TemporaryName(), &proxy);
    if (!output) return OIIO::geterror();
    const bool written =
        output->open(file.TemporaryName(), layout) && output->write_image(type, pixels);
    const bool closed = output->close();
    if (!written || !closed) return "cannot be written: " + output->geterror();
    if (std::string_view(output->format_name()) == "dpx") NameInHeader(target, file.Descriptor());
    return "";
}

void WritePpm(DescriptorProxy& proxy, const OIIO::ImageSpec& layout, const void* pixels) {
    const std::string header = PlainPpmHeader(layout);
    proxy.write(header.data(), header.size());
    proxy.write(pixels, layout.image_bytes());
}

}  // namespace

void WriteStill(const std::string& target, bool overwrite, OIIO::ImageSpec layout,
                OIIO::TypeDesc type, const void* pixels, const std::string& named,
                const std::function<void()>& whenWhole) {
    AddFormatSettings(target, layout);
    SafeFile file(target, overwrite);
    DescriptorProxy proxy(file.TemporaryName(), file.Descriptor());
    std::string problem;
    if (IsPpmName(target)) {
        WritePpm(proxy, layout, pixels);
    } else {
        problem = WriteByLibrary(target, file, proxy, layout, type, pixels);
    }
    if (proxy.Failure() != 0) throw WriteFailure(named, proxy.Failure());
    if (!problem.empty()) {
        throw MediaError(MediaError::Kind::kFailure, named + ": " + problem);
    }
    if (whenWhole) whenWhole();
    file.Commit();
}

}  // namespace velorin
