#pragma once

#include "host/my_velorin.h"

namespace velorin {

// What lives from loading to unloading and is shared by the files of the plug-in. The host calls on
// one thread.
extern MyVelorin* gVelorin;                // null outside of a setup's life
extern spark_membuf_struct gResultBuffer;  // filled anew for each frame, as the next
extern spark_membuf_struct gTempBuffer;
extern std::int32_t gCombineArg;

}  // namespace velorin
