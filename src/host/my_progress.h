#pragma once

#include "host/spark_api.h"
#include "image/progress.h"

namespace velorin {

// The end of the chain of progress reports. The host is neither told nor asked: a render runs to
// its end.
class MyProgress final : public KQIdleAndProgressClass {
  public:
    explicit MyProgress(const spark_info_struct* newInfo)
        : KQIdleAndProgressClass(nullptr), info(newInfo) {}

    virtual void ZPIdleProgressRoutine(float /*fraction*/) {}

    const spark_info_struct* info;
};

}  // namespace velorin
