#pragma once

#include <string>
#include <string_view>

#include "cli/curve.h"

namespace velorin {

// What a curve holds: speeds are 0 to 10, source frames any number.
enum class CurveKind { kSpeed, kSourceFrame };

// Reads keys such as `0:1,24:0.5~,48:1`: ~ is a smooth way on to the next key, | one that holds.
// Throws KeyError.
Curve ParseCurve(std::string_view text, CurveKind kind);

// Reads the text of a file with two columns, the output frame and the source frame, each line a
// key. Blank lines, what follows a # and a line of titles at the top do not count. Numbers may have
// an exponent, and their digits past the ninth behind the point are rounded off. Throws MediaError
// of kind kInput with the file's `name` and the line.
Curve ParseCurveFile(std::string_view text, const std::string& name);
Curve ReadCurveFile(const std::string& name);

}  // namespace velorin
