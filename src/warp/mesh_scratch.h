#pragma once

#include <cstddef>

#include "image/mem.h"
#include "warp/raster.h"

namespace velorin {

// Two rows of a mesh for each of several workers, whose vertices carry N floats.
template <int N>
class MeshScratch {
  public:
    // Throws ZPErrNoMemory.
    MeshScratch(int workers, int newColumns)
        : columns(newColumns),
          vertices(static_cast<RasterVertex<N>*>(
              KQAllocOrThrow(sizeof(RasterVertex<N>) * 2 * static_cast<std::size_t>(columns) *
                             static_cast<std::size_t>(workers)))) {}
    ~MeshScratch() { KQFree(vertices); }
    MeshScratch(const MeshScratch&) = delete;
    MeshScratch& operator=(const MeshScratch&) = delete;

    RasterVertex<N>* Upper(int worker) {
        return vertices + 2 * static_cast<std::size_t>(worker) * columns;
    }
    RasterVertex<N>* Lower(int worker) { return Upper(worker) + columns; }

  private:
    const int columns;
    RasterVertex<N>* vertices;
};

}  // namespace velorin
