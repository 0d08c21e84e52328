#pragma once

#include <cstdint>
#include <vector>

namespace velorin {

// Sound between its samples: a windowed sinc, at whichever place and speed.
//
// Up to speed 1 it passes all that the samples hold, and gives a sample itself at its own place.
// Above, it passes what stays below half the output's rate. What should not pass is 100 dB down,
// but for a twentieth of the band around the edge up to speed 1.
class SoundKernel {
  public:
    SoundKernel();

    // How many samples on each side of a place it takes in.
    static int Reach(double speed);

    // The value at `fraction` samples behind `sample`, 0 to below 1, for each of the channels, that
    // stand side by side. Reach(speed) samples on both sides are read. `speed`: in samples of the
    // source a sample of the output, not negative.
    void At(const double* sample, double fraction, double speed, int channels, double* value) const;

  private:
    double Weight(double distance) const;

    std::vector<double> table;
};

}  // namespace velorin
