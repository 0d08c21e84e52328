#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

#include "cli/program.h"
#include "cli/version_text.h"

// The program as it is called. Loading the libraries for movies and pictures takes longer than many
// an answer does: what needs none of them is answered here, and for all the rest this process
// becomes the full program, which lies in a folder of its own.

namespace velorin {

namespace {

namespace fs = std::filesystem;

// From this file's folder, as it was built and as it is installed.
constexpr const char* kFullPrograms[] = {"libexec/velorin", VELORIN_INSTALLED_PROGRAM};

[[noreturn]] void BecomeFullProgram(char** words) {
    std::error_code hidden;
    const fs::path folder = fs::read_symlink("/proc/self/exe", hidden).parent_path();
    if (hidden) {
        throw std::runtime_error("/proc is not there, by which the program finds its other file (" +
                                 hidden.message() + "); mount it");
    }
    fs::path tried;
    int reason = 0;
    for (const char* name : kFullPrograms) {
        tried = (folder / name).lexically_normal();
        execv(tried.c_str(), words);
        reason = errno;
        if (reason != ENOENT && reason != ENOTDIR && reason != EACCES) break;
    }
    throw std::runtime_error(tried.string() + ": the program's other file cannot be started (" +
                             std::generic_category().message(reason) + "); install it anew");
}

int Answer(int count, char** words) {
    if (count > 1 && words[1] == std::string_view("--version")) return Tell(VersionText());
    BecomeFullProgram(words);
}

}  // namespace

}  // namespace velorin

int main(int count, char** words) {
    return velorin::RunProgram(velorin::Answer, count, words);
}
