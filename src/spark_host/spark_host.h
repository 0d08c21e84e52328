#pragma once

#include <memory>
#include <string>

#include "spark_host/spark_session.h"

namespace velorin {

// Loads a plug-in and calls it as its host would: one at a time, on one thread. The plug-in finds
// the host's calls in the program, which links this library and so shows them.
class SparkHost {
  public:
    // Throws SparkHostError when the file is no plug-in of this kind, naming what is missing.
    explicit SparkHost(const std::string& fileName);
    // Ends the setup, if one was begun, and unloads the plug-in.
    ~SparkHost();
    SparkHost(const SparkHost&) = delete;
    SparkHost& operator=(const SparkHost&) = delete;

    const SparkPanel& Panel() const { return panel; }
    // The name by which the plug-in shows a callback; empty for none.
    static std::string NameOf(SparkCallback callback);

    // Makes buffers for such frames, black, and has the plug-in work on so many threads. At any
    // time between calls.
    void SetFrames(const SparkFrames& frames);
    bool Supports(int sparkFormat);

    // Begins and ends a setup. Both throw SparkHostError when its file cannot be read or written.
    void Begin();
    void End();

    // A frame of the output, from 0. Start answers how many times Process is to be called.
    int Start(int frame);
    // Whether the plug-in answered with the result; that one may be black for a failure.
    bool Process(int frame);
    // Sets a control, or leaves its value, and tells the plug-in with the code. Answers what the
    // callback did.
    bool Edit(const SparkControl& control, int frame, int code = kSparkControlChanged);
    bool Edit(const SparkSetting& setting, int frame);

    const std::byte* Result() const { return session.buffers.at(kSparkResult).data(); }

    SparkSession session;

  private:
    struct Library;
    struct EntryPoints;

    spark_info_struct InfoAt(int frame) const;
    void ShowCurvesAt(int frame);
    template <typename Call>
    auto Enter(const char* name, int frame, Call&& call);

    std::unique_ptr<Library> library;
    std::unique_ptr<EntryPoints> entry;
    SparkPanel panel;
    std::string name;
    bool begun = false;
};

}  // namespace velorin
