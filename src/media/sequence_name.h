#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velorin {

// The files of one image sequence: folder/prefix, the frame's number, suffix.
struct SequenceName {
    std::string folder;  // empty for the one the program runs in
    std::string prefix;
    std::string suffix;  // with the extension
    int digits = 1;      // fewer are filled up with zeros, more are written as they are

    std::string FileName(std::int64_t number) const;  // with the folder
    std::string Pattern() const;                      // with the folder, as in shot.%04d.png
};

// The frames of a sequence on disk: the numbers from `first` on, `count` of them.
struct FoundSequence {
    SequenceName name;
    int first = 0;
    int count = 0;
    std::vector<std::int64_t> missing;  // holes, ascending, counted from 0 for `first`
};

// Whether a number may be missing between two others of a sequence.
enum class Holes { kRefuse, kKeep };

// Reads %04d, %d or a run of # (the last one) in the file's name, not in its folder's. Empty if
// there is none of them.
std::optional<SequenceName> ParseSequenceName(const std::string& name);

// How the sequence that one of its files belongs to would be written: shot.%04d.png for
// shot.0012.png, and also for shot.png.
std::string SuggestedPattern(const std::string& fileName);

// Looks up which frames of a named sequence are there. Throws MediaError of kind kInput if there is
// no folder, no frame, or a hole in the numbers that is refused, which it names.
FoundSequence FindSequence(const std::string& name, Holes holes = Holes::kRefuse);

// The number that stands in a file's name, without its folder, if that is one of the sequence.
std::optional<int> NumberIn(std::string_view fileName, const SequenceName& sequence);

// Looks up the sequence that a pattern or a folder stands for, as the two operations around do.
// Empty where `name` is that of a file, or of nothing.
std::optional<FoundSequence> FindSequenceMeant(const std::string& name,
                                               Holes holes = Holes::kRefuse);

// Finds the one sequence of pictures in a folder. Hidden files and files of other kinds do not
// count, nor does a single numbered picture beside a longer sequence. Throws MediaError of kind
// kInput, naming the sequences if there are several.
FoundSequence FindSequenceInFolder(const std::string& folder, Holes holes = Holes::kRefuse);

}  // namespace velorin
