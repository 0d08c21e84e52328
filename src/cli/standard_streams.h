#pragma once

namespace velorin {

// To be called before anything is opened. Where the program was started with a standard stream
// closed, the next file that is opened would get its number, and messages would be written into
// that file: takes the number up.
void OccupyStandardStreams();

// Writes out what is still held back for standard output. Throws MediaError if not all of what was
// printed arrived.
void FinishStandardOutput();

}  // namespace velorin
