#pragma once

#include <string>

namespace velorin {

// Calls `answer` with the program's words and answers with its exit code. Every failure that it
// throws becomes one line on standard error and a code here, and so does output that did not
// arrive.
int RunProgram(int (*answer)(int count, char** words), int count, char** words);

// Prints `text`. Answers the exit code.
int Tell(const std::string& text);

}  // namespace velorin
