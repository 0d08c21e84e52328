#!/usr/bin/python3
"""Makes the frame half-way between each two of a folder by OpenCV's DIS flow, on one thread.

    dis_flow.py SOURCES OUTPUTS [--copy]

SOURCES/0000.ppm and so on become OUTPUTS/0000.ppm, a source frame and a computed one by turns. With
--copy only the source frames are read and written.
"""

import pathlib
import sys

import cv2
import numpy


def move_half_way(picture, flow, grid):
    return cv2.remap(picture, grid - 0.5 * flow, None, cv2.INTER_LINEAR,
                     borderMode=cv2.BORDER_REPLICATE)


def halfway(estimator, before, after, grid):
    grays = [cv2.cvtColor(picture, cv2.COLOR_BGR2GRAY) for picture in (before, after)]
    forward = estimator.calc(grays[0], grays[1], None)
    back = estimator.calc(grays[1], grays[0], None)
    return cv2.addWeighted(move_half_way(before, forward, grid), 0.5,
                           move_half_way(after, back, grid), 0.5, 0.0)


def main(sources, outputs, copies=False):
    cv2.setNumThreads(1)
    estimator = cv2.DISOpticalFlow_create(cv2.DISOPTICAL_FLOW_PRESET_FAST)
    before = grid = None
    number = 0

    def write(picture):
        nonlocal number
        cv2.imwrite(f"{outputs}/{number:04d}.ppm", picture)
        number += 1

    for name in sorted(pathlib.Path(sources).glob("*.ppm")):
        picture = cv2.imread(str(name))
        if grid is None:
            rows, columns = numpy.indices(picture.shape[:2], dtype=numpy.float32)
            grid = numpy.dstack((columns, rows))
        if before is not None and not copies:
            write(halfway(estimator, before, picture, grid))
        write(picture)
        before = picture


if __name__ == "__main__":
    main(*sys.argv[1:3], copies="--copy" in sys.argv[3:])
