#pragma once

#include <cstdint>
#include <string>

namespace velorin {

// The sound stream of a movie that goes with its pictures.
struct SoundInfo {
    int stream = 0;     // its number in the file
    std::string codec;  // "aac"
    int rate = 0;       // samples a second of each channel
    int channels = 0;
    std::string layout;    // "5.1(side)"
    int bits = 0;          // of a whole-numbered sample; 0 where the codec has none of its own
    bool isFloat = false;  // samples are stored as floating point
    std::string language;  // "eng"; empty where nothing is known
    int leftOut = 0;       // further sound streams of the file
};

// Sound on its way into a movie: one sample after the other from the first picture on.
class SoundSource {
  public:
    virtual ~SoundSource() = default;
    // What it comes from; codec, bits, layout and language of the output follow it.
    virtual const SoundInfo& Info() const = 0;
    virtual int Rate() const = 0;  // of the output
    // The next `count` samples of all channels, these side by side, from -1 to 1. Throws
    // MediaError.
    virtual void Read(std::int64_t count, double* samples) = 0;
    // Whether some of what was read could not be decoded, and is silent.
    virtual bool IsDamaged() const { return false; }
};

// The rate at which movies of that name, for which IsMovieName holds, keep sound of `rate`: the
// same, or the nearest above that the codec knows, or else its highest.
int SoundRateFor(const std::string& movieName, int rate);

}  // namespace velorin
