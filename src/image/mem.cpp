#include "image/mem.h"

#include <cstdlib>

#include "image/err.h"

namespace velorin {

namespace {

void* gAllocatorContext = nullptr;
KQAllocHook gAllocate = nullptr;
KQFreeHook gRelease = nullptr;

}  // namespace

void KQSetAllocator(void* context, KQAllocHook allocate, KQFreeHook release) {
    gAllocatorContext = context;
    gAllocate = allocate;
    gRelease = release;
}

void* KQAlloc(std::size_t size) {
    return gAllocate ? gAllocate(gAllocatorContext, size) : std::malloc(size);
}

void KQFree(void* pointer) {
    if (gRelease) {
        gRelease(gAllocatorContext, pointer);
    } else {
        std::free(pointer);
    }
}

void KQFreeChecked(void* pointer) {
    if (pointer) KQFree(pointer);
}

void* KQAllocOrThrow(std::size_t size) {
    void* pointer = KQAlloc(size);
    if (!pointer) throw ZPErrNoMemory;
    return pointer;
}

}  // namespace velorin
