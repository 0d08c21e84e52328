#pragma once

#include <string>
#include <vector>

#include "cli/given_options.h"

namespace velorin {

// A setup file that makes `verb` do what it does with these options: a key for each option that a
// setup may hold, under its description. Defaults are keys too where they change nothing; other
// options that are not given are comments. Throws UsageError for text that such a file cannot hold.
std::string SetupText(Verb verb, const std::vector<GivenOption>& given);

// Writes the setup that the options ask for, if they do. Throws MediaError, of kind kOutputExists
// for a file that may not be overwritten.
void WriteSetup(const Options& options);

// Such a text with the scenes that were found, as keys, in place of the word auto.
std::string WithFoundScenes(std::string text, const std::string& keys);

}  // namespace velorin
