#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "host/spark_api.h"

namespace velorin {

// The host's calls, for the plug-in's files linked into this program: no more than a test asks for.
struct FakeSpark {
    std::vector<std::string> calls;  // name and arguments of each
    std::map<int, spark_membuf_struct> buffers;
    std::function<int(int clip, int frame, void* destination)> frame;
    std::function<float(int control, float frame)> curve;
    int environment = 0;
    std::string program = "interactive";
    int threads = 1;
    int failingArray = 0;  // the array allocation that gets no memory, from 1; 0 for none

    int CallsOf(const std::string& start) const;
};

// A new one for each test: FakeSpark& fake = UseFakeSpark();
FakeSpark& UseFakeSpark();

}  // namespace velorin
