#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "image/zp_image.h"

namespace velorin {

// The sizes of a frame and of the flow between two at half its size.
inline constexpr int kFrameWidth = 1920;
inline constexpr int kFrameHeight = 1080;
inline constexpr int kFlowWidth = 960;
inline constexpr int kFlowHeight = 540;

// What is timed: `run`, over so many pixels. `reset`, unless empty, restores before each run what
// the run before changed, and is not timed.
struct Operation {
    std::int64_t pixels;
    std::function<void()> run;
    std::function<void()> reset;
};

// Registers an operation for timing; `prepare` is called before each measurement.
void Time(const std::string& name, std::function<Operation()> prepare);

std::int64_t CountPixels(const ZPImage& image);

// An image of repeatable noise, or its exact copy.
std::shared_ptr<ZPImage> CreateNoise(int width, int height, int channels, int pixelType);
std::shared_ptr<ZPImage> CreateCopy(const ZPImage& image);

// Frame `number` of a textured clip that drifts by two and a half pixels a frame: RGBA, full HD,
// drawn once.
const ZPImage& DrawnFrame(int pixelType, int number);

// "8-bit", "16-bit" or "float".
const char* TypeName(int pixelType);

}  // namespace velorin
