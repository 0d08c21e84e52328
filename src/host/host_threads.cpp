#include "image/host_threads.h"

#include "host/spark_api.h"

namespace velorin {

// The host shares out the pixels of the frame that it wants.
int KQMPSparkGetNumberOfFramePixels() {
    return Width * Height;
}

}  // namespace velorin
