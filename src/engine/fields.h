#pragma once

#include "image/zp_image.h"

namespace velorin {

// Rows are told by their distance from the last logical row, which is the picture's top line: the
// upper field has the even ones, the lower field the odd ones.

// Modes of ExtractField: which rows it replaces.
enum ExtractMode { kReplaceNothing = 1, kReplaceOddRows = 2, kReplaceEvenRows = 3 };

// Modes of WeaveFields: which rows it takes.
enum WeaveMode { kTakeNothing = 1, kTakeEvenRows = 2, kTakeOddRows = 3 };

// The mode that leaves field number `field` of a clip in its frame. Fields count from 0, two to a
// frame; `inputFields` is 1 where the upper one comes first, 2 where the lower one does.
ExtractMode ExtractModeOf(int field, int inputFields);

// The mode that takes the second field of a frame.
WeaveMode WeaveModeOf(int outputFields);

// Makes a whole picture of one field, in place: each replaced row becomes the mean of the rows
// above and below it, or at a border its one neighbour. All channels alike, integers rounded.
// Images that are no picture or have less than two rows stay as they are.
void ExtractField(ZPImage& image, int mode);

// Copies rows of `second` into `first`. Does nothing unless both have one size, channel count and
// pixel type.
void WeaveFields(ZPImage& first, const ZPImage& second, int mode);

}  // namespace velorin
