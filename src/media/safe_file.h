#pragma once

#include <cstddef>
#include <functional>
#include <string>

#include "media/clip.h"

namespace velorin {

// Throws MediaError if `target` cannot be written: no folder, no right to write there, something
// there that is no plain file, or (kind kOutputExists) a file while `overwrite` is false.
void CheckTarget(const std::string& target, bool overwrite);

// A file that gets its name when it is whole. Until Commit it stands under a temporary name of this
// process beside the target, with the target's extension; it is removed if there is no Commit. It
// is locked as long: what a killed process left can be told from what is being written.
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
    bool Open(int attempt);
    void GiveName();

    std::string target;
    std::string temporary;
    bool overwrite;
    int descriptor = -1;
};

// Removes the temporary files of killed processes in a folder, of those targets for which `isOurs`
// answers yes; it is given the target's name without the folder. What is being written stays, on
// other machines too where the folder's file system tells them of locks. Answers how many went.
int RemoveAbandoned(const std::string& folder,
                    const std::function<bool(const std::string& targetName)>& isOurs);

// A MediaError of kind kFailure for a failed write to `target`, with what helps against `reason`,
// an errno value.
MediaError WriteFailure(const std::string& target, int reason);

}  // namespace velorin
