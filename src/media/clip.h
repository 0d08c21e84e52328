#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "image/pixel_type.h"
#include "media/sound.h"

namespace velorin {

// An exact ratio, such as 24000/1001 frames a second. 0/1 means that nothing is known.
struct Rational {
    std::int64_t numerator = 0;
    std::int64_t denominator = 1;
};

// How a file stores one sample. Half is worked on as float.
enum class SampleDepth { kByte, kWord, kHalf, kFloat };

// The type in which the engine works on samples of that depth.
int PixelTypeOf(SampleDepth depth);

// What went wrong with a file. The text names the file or frame and says what would be right.
class MediaError : public std::runtime_error {
  public:
    // kStopped: somebody asked for the end before there was anything to tell.
    enum class Kind { kInput, kOutputExists, kFailure, kStopped };
    MediaError(Kind errorKind, const std::string& text)
        : std::runtime_error(text), kind(errorKind) {}
    Kind kind;
};

// Stands as a clip's name for standard input, and as an output's for standard output.
inline constexpr const char* kPipeName = "-";
enum class PipeFormat { kY4m, kNut };

// More than any clip has: the number of frames of one that is read from a pipe, whose end shows
// when it comes.
inline constexpr std::int64_t kFramesUnknown = std::int64_t{1} << 40;

// A picture as the engine works on it: RGBA, interleaved, the top line first in memory, without a
// gap between rows. Values are the file's own: 0 to 255, 0 to 65535, or float as stored. A matte
// is a picture of one channel.
struct Picture {
    int width = 0;
    int height = 0;
    int pixelType = ZPPixUChar;
    int channels = 4;
    std::vector<std::byte> pixels;

    void SetShape(int newWidth, int newHeight, int newPixelType, int newChannels = 4);
    int RowBytes() const { return width * channels * ChannelBytes(pixelType); }
};

// A rectangle on the plane in which a still format places its picture; y counts downwards.
struct Window {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    bool operator==(const Window&) const = default;
};

// A time of day that counts frames, as film and video carry it.
struct Timecode {
    int hours = 0;
    int minutes = 0;
    int seconds = 0;
    int frames = 0;
    bool dropFrame = false;  // leaves numbers out, so that 30000/1001 keeps to the clock
    bool operator==(const Timecode&) const = default;
};

// Which field of a frame comes first, as far as a file tells. The upper field holds the top line.
enum class FieldOrder { kUnknown, kProgressive, kUpperFirst, kLowerFirst };

struct PictureTimes;

struct ClipInfo {
    std::string name;  // as the user wrote it
    bool isMovie = false;
    int width = 0;  // as shown: a movie's rotation is already applied
    int height = 0;
    int channels = 0;     // as stored: 1 gray, 2 gray and alpha, 3 RGB, 4 RGB and alpha
    std::string content;  // of a sequence: "RGB", or the names of two channels; else empty
    SampleDepth depth = SampleDepth::kByte;
    std::int64_t frames = 0;
    std::vector<std::int64_t> missing;  // of these: holes of a sequence, ascending
    int firstNumber = 0;                // that of a sequence's first file; 0 for a movie
    Rational rate;                      // frames a second; nominal at uneven times
    // Of a movie whose pictures stand at uneven times; null: they are even, or not told.
    std::shared_ptr<const PictureTimes> times;
    Rational pixelAspect;  // width over height of one pixel
    FieldOrder fieldOrder = FieldOrder::kUnknown;

    // What an output of the same format keeps.
    int storedBits = 0;  // of a sample, where fewer than the depth's, as in 10-bit DPX; else 0
    std::optional<PipeFormat> pipe;  // that it comes through; nothing: a file
    std::string pixelFormat;         // of a movie, as the libraries call it
    bool straightAlpha = true;       // false: colours are stored multiplied by alpha
    int primaries = 2;       // of a movie, as ITU-T H.273 numbers them; 2 where nothing is known
    int transfer = 2;        // of a movie, likewise
    int matrix = 2;          // of a movie in Y'CbCr, likewise; never 2 there
    bool fullRange = false;  // of a movie in Y'CbCr: black is code 0
    Window window;           // the part of the plane that the picture covers
    Window display;          // the part that is shown; the same but in EXR
    std::vector<std::string> channelNames;  // of an EXR: those that are read, as many as `channels`
    std::optional<Timecode> timecode;       // of the first frame
    int timecodeRate = 24;                  // frames a second that it counts

    std::vector<std::string> channelsLeftOut;  // of an EXR: those that are not read
    bool sceneLinear = false;                  // samples are proportional to light

    std::optional<SoundInfo> sound;  // of a movie
    double firstPicture = 0.0;       // of a movie: seconds on its clock, where sound may begin else
};

// "R, G, B, A"
std::string ListOf(const std::vector<std::string>& names);

// A clip that can be read at any frame. Frames count from 0. One thread at a time.
class ClipReader {
  public:
    virtual ~ClipReader() = default;
    virtual const ClipInfo& Info() const = 0;
    // Reads frame `frame`, 0 to frames - 1, exactly, also after any other. Gray is spread over
    // three channels; a picture without alpha gets a full one. Throws MediaError.
    virtual void Read(std::int64_t frame, Picture& picture) = 0;
    // As Read, for one who only looks at the picture: it may be one that others look at, too. Takes
    // over the memory of what is there, unless that is null or shared.
    virtual void ReadShared(std::int64_t frame, std::shared_ptr<Picture>& picture) {
        if (picture.use_count() != 1) picture = std::make_shared<Picture>();
        Read(frame, *picture);
    }
    // Before the first Read, where each field will be looked at by itself: keeps colours of one
    // field out of the other in pictures that a movie marks as interlaced.
    virtual void KeepFieldsApart() {}
    // Before the first Read, where alpha says which pixels count: what an EXR does not store of its
    // picture is clear also in a clip without alpha.
    virtual void KeepUnstoredClear() {}
};

// Opens a movie, an image sequence (shot.%04d.png or shot.####.png) or a folder that holds exactly
// one sequence. `mayHaveHoles`: numbers that a sequence lacks are told by its ClipInfo, and reading
// one of them fails; without it they are refused. Throws MediaError of kind kInput.
std::unique_ptr<ClipReader> OpenClip(const std::string& name, bool mayHaveHoles = false);

// What a finished file says of how it was made.
struct Stamp {
    std::string program;      // with its version
    std::int64_t frame = 0;   // output frame
    std::int64_t frames = 0;  // of the whole output
    std::string job;          // 16 hexadecimal digits, the same for all frames of one output
    std::string picture;      // 32 of them, for all that this frame's pixels depend on
};

// The source frames that an output frame lies between; the same one where it is a source frame.
struct SourceFrames {
    std::int64_t earlier = 0;
    std::int64_t later = 0;
};

struct OutputSettings {
    ClipInfo source;                               // rate, aspect and channels follow it
    std::vector<ClipInfo> alsoRead;                // like the source never overwritten
    SampleDepth depth = SampleDepth::kByte;        // of the pictures that will be written
    int firstNumber = 0;                           // of output frame 0 in a sequence's names
    FieldOrder fieldOrder = FieldOrder::kUnknown;  // a movie is marked with upper or lower first
    bool overwrite = false;
    PipeFormat pipe = PipeFormat::kY4m;  // of standard output
    // Whose headers an output frame's follows; called on the thread that writes. Without it all
    // follow that of the source's first frame.
    std::function<SourceFrames(std::int64_t outputFrame)> madeOf;
    // That of each output frame, or of a movie as a whole for any; null: none. Called on whichever
    // thread writes.
    std::function<Stamp(std::int64_t frame)> stamp;
    // That goes into a movie with its pictures; null: none. Read on the thread that writes.
    std::shared_ptr<SoundSource> sound;
};

// Writes output frames, in ascending order and possibly with gaps (sequences only). Nothing stands
// under a final name before it is whole.
class ClipWriter {
  public:
    virtual ~ClipWriter() = default;  // without Finish: unfinished files are removed
    // The picture's type is that of the settings' depth. Alpha is dropped where the source has
    // none.
    virtual void Write(std::int64_t frame, const Picture& picture) = 0;
    // As Write, and may keep the picture's memory: it has the same shape then and any content.
    virtual void WriteTaken(std::int64_t frame, Picture& picture) { Write(frame, picture); }
    // Makes a movie whole and gives it its name. Throws MediaError, as Write does.
    virtual void Finish() = 0;
};

// Whether standard output can hold alpha in that format, and can mark pictures as interlaced.
inline bool PipeCanHoldAlpha(PipeFormat format) {
    return format == PipeFormat::kNut;
}
inline bool PipeCanMarkFields(PipeFormat format) {
    return format == PipeFormat::kY4m;
}

// The depth in which `name`'s format can hold samples of `wanted`: itself, or the nearest that
// loses nothing, or else the best it has. Throws MediaError of kind kFailure for an unknown
// extension.
SampleDepth DepthForOutput(const std::string& name, SampleDepth wanted);

// Whether that name's format can mark pictures of so many lines as interlaced. Sequences have no
// marks.
bool CanMarkFields(const std::string& name, int height);

// Whether name's format can hold alpha.
bool CanHoldAlpha(const std::string& name);

// Makes a writer for a movie or a sequence pattern. `frames` are the output frames that will be
// written: an existing one of them is refused with kOutputExists unless `overwrite`. Checks that
// the folder is there and can be written to.
std::unique_ptr<ClipWriter> CreateClip(const std::string& name, const OutputSettings& settings,
                                       const std::vector<std::int64_t>& frames);

// Reads ahead of its user on a thread of its own. `next` answers the frames in the order in which
// they will be asked for, -1 when there are no more; it is called on that thread only. A frame
// asked for out of that order is read on the spot. At most `depth` pictures wait.
std::unique_ptr<ClipReader> ReadAhead(std::unique_ptr<ClipReader> clip,
                                      std::function<std::int64_t()> next, int depth);

// Writes behind its user, with a thread for each of the writers, which all write the same clip: a
// frame goes to the first that is free. At most `depth` pictures wait for one. A failure is thrown
// by a later Write or by Finish; what other writers have in hand then is still written.
std::unique_ptr<ClipWriter> WriteBehind(std::vector<std::unique_ptr<ClipWriter>> writers,
                                        int depth);
std::unique_ptr<ClipWriter> WriteBehind(std::unique_ptr<ClipWriter> writer, int depth);

}  // namespace velorin
