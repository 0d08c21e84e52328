#pragma once

#include "image/progress.h"
#include "warp/raster.h"
#include "warp/warp_job.h"

namespace velorin {

// One row of the mesh, indexed by source column.
using MeshRow = RasterVertex<4>*;

// Which vertices move into the picture: without a coverage request only those around pixels that
// are not transparent, so that a mostly empty layer costs nothing. False when there are none.
bool BoundMesh(ZPWarpJob& job);

// Draws the rows of cells firstRow to lastRow - 1 of the mesh, each cell between four vertices as
// two triangles, with `upper` and `lower` as scratch. Throws ZPErrInterrupted.
void DrawMeshRows(const ZPWarpJob& job, int firstRow, int lastRow, MeshRow upper, MeshRow lower,
                  KQIdleAndProgressClass& progress);

// Draws all that BoundMesh left, on the workers.
void DrawMesh(ZPWarpJob& job, KQIdleAndProgressClass& progress);

}  // namespace velorin
