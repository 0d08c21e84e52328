#pragma once

#include <cstddef>
#include <string>

#include "media/clip.h"

namespace velorin {

// Throws MediaError if `target` cannot be written: no folder, no right to write there, something
// there that is no plain file, or (kind kOutputExists) a file while `overwrite` is false.
void CheckTarget(const std::string& target, bool overwrite);

// A file that gets its name when it is whole. Until Commit it stands under a temporary name of this
// process beside the target, with the target's extension; it is removed if there is no Commit.
class SafeFile {
  public:
    // Throws what CheckTarget does, and MediaError if the file cannot be made.
    SafeFile(const std::string& targetName, bool mayOverwrite);
    ~SafeFile();
    SafeFile(const SafeFile&) = delete;
    SafeFile& operator=(const SafeFile&) = delete;

    const std::string& TemporaryName() const { return temporary; }
    // Open for reading and writing.
    int Descriptor() const { return descriptor; }
    // Brings the bytes to the disk and gives the file its name. Throws MediaError, of kind
    // kOutputExists if a file of that name has come up meanwhile and may not be overwritten.
    void Commit();

  private:
    void GiveName();

    std::string target;
    std::string temporary;
    bool overwrite;
    int descriptor = -1;
};

// A MediaError of kind kFailure for a failed write to `target`, with what helps against `reason`,
// an errno value.
MediaError WriteFailure(const std::string& target, int reason);

}  // namespace velorin
