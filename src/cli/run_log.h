#pragma once

#include <string>

namespace velorin {

// A file to which a run adds what happens, a line at a time, each with the time (UTC) and the
// process in front: several runs may share one. What cannot be written is lost: no render ends for
// its log.
class RunLog {
  public:
    // Without a name nothing is written. Throws MediaError where the file cannot be opened
    // or is there and is no log.
    explicit RunLog(const std::string& newName);
    ~RunLog();
    RunLog(const RunLog&) = delete;
    RunLog& operator=(const RunLog&) = delete;

    // Each line of the text becomes one of the file.
    void Add(const std::string& text);

  private:
    int file = -1;
};

}  // namespace velorin
