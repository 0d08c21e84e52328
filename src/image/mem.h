#pragma once

#include <cstddef>

namespace velorin {

// Hooks of a host that wants to own all memory. Null, the default, means malloc and free.
using KQAllocHook = void* (*)(void* context, std::size_t size);
using KQFreeHook = void (*)(void* context, void* pointer);

void KQSetAllocator(void* context, KQAllocHook allocate, KQFreeHook release);

void* KQAlloc(std::size_t size);         // may answer null
void KQFree(void* pointer);              // hands a null pointer on, as free does
void KQFreeChecked(void* pointer);       // leaves a null pointer alone
void* KQAllocOrThrow(std::size_t size);  // throws ZPErrNoMemory

// Root of every class of the image library and the engine: allocates through the calls above.
class KQMem {
  public:
    static void* operator new(std::size_t size) { return KQAllocOrThrow(size); }
    static void* operator new(std::size_t size, int /*line*/) { return KQAllocOrThrow(size); }
    static void* operator new(std::size_t, void* place) noexcept { return place; }
    static void operator delete(void* pointer) { KQFreeChecked(pointer); }
    static void operator delete(void* pointer, int /*line*/) { KQFreeChecked(pointer); }
    static void operator delete(void*, void*) noexcept {}
};

}  // namespace velorin
