#pragma once

#include <string>
#include <string_view>

namespace velorin {

// The bytes of a file that a user or another program wrote as text. `what` says in messages what it
// is wanted for: "a curve". Throws MediaError of kind kInput for a folder, for what cannot be read,
// for text in UTF-16 and for 256 MiB or more, which is a movie given by mistake.
std::string ReadTextFile(const std::string& name, const std::string& what);

std::string_view WithoutByteOrderMark(std::string_view text);

}  // namespace velorin
