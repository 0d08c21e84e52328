#pragma once

namespace velorin {

// What the library throws, by value, and what calls that answer with a code answer (0 is success).
enum ZPErr : int {
    ZPErrNone = 0,
    ZPErrNoMemory = 1,     // an allocation failed, or a mutex could not be made
    ZPErrBadArgument = 5,  // a null or empty image, or a request that the operation does not know
    ZPErrInterrupted = 6,  // a progress report found that the render was asked to stop
};

}  // namespace velorin
