#include "host/panel.h"

// Columns of numbers: value, lowest, highest, step, flags; flag 16 marks a control with a curve. Of
// menus: value and count of entries.

extern "C" {

SparkPush SparkPush6 = {"Display", nullptr};
SparkPush SparkPush7 = {"Mark Segments", nullptr};
SparkInt SparkInt8 = {1, 1, 5, 1, 0, "BurnId %0d", sparkCallback};
SparkPush SparkPush9 = {"Input Fields", nullptr};
SparkPush SparkPush10 = {"Output Fields", nullptr};
SparkPup SparkPup13 = {
    1, 4, sparkTimeCallback, {"Source Time", "Output Time", "Background Only", "Foregrond Only"}};
SparkPup SparkPup14 = {0,
                       6,
                       sparkSceneCutCallback,
                       {"Set Cut", "Cut A (1)", "Cut B (2)", "Cut C (3)", "No MV:Use Nearest (4)",
                        "No MV:Frame Blend (5)"}};
SparkInt SparkInt15 = {0, 0, 5, 1, 16, "Menu Anim %0d", sparkCallback};
SparkPup SparkPup16 = {
    0, 3, sparkCallback, {"None", "Lower Field (2) First", "Upper Field (1) First"}};
SparkPup SparkPup17 = {
    0, 3, sparkCallback, {"None", "Lower Field (2) First", "Upper Field (1) First"}};
SparkBoolean SparkBoolean18 = {0, 0, "Use ALT Motion (Back)", sparkAltMotionCallback};
SparkBoolean SparkBoolean19 = {1, 0, "Cache Intermediate Results", sparkCallback};
SparkPush SparkPush20 = {"Interp Method", nullptr};
SparkPush SparkPush21 = {"Vector Quality", nullptr};
SparkPush SparkPush22 = {"Warping Method", nullptr};
SparkPush SparkPush23 = {"Image Prep", nullptr};
SparkPush SparkPush24 = {"Stretch Method", nullptr};
SparkFloat SparkFloat25 = {1.0f, 1.0f, 30000.0f, 0.5f, 0, "Frame %7.2f", sparkCallback};
SparkFloat SparkFloat26 = {70.0f,        0.0f, 100.0f, 0.05f, 0, "Motion Sensitivity %6.2f",
                           sparkCallback};
SparkPup SparkPup27 = {1, 3, sparkCallback, {"Nearest", "Blend", "Weighted Energy Blend"}};
SparkPup SparkPup28 = {
    4, 5, sparkCallback, {"No Motion Vectors", "Sloppy", "Medium", "High", "Best"}};
SparkPup SparkPup29 = {0, 3, sparkCallback, {"Inverse", "Inverse + Smart Blend", "Forward"}};
SparkPup SparkPup30 = {0, 2, sparkCallback, {"None", "Enhance Edge + Contrast"}};
SparkPup SparkPup31 = {1, 2, sparkFrameSpeedInteract, {"Key-Framed Stretch", "Speed Stretch"}};
SparkFloat SparkFloat32 = {1.0f, 0.0f, 10.0f, 0.005f, 0, "Speed Factor %6.3f", sparkCallback};
SparkPush SparkPush34 = {"Reset", sparkResetCallback};
SparkPush SparkPush35 = {"Motion Blur", nullptr};
SparkBoolean SparkBoolean36 = {0, 0, "Use FG Matte", sparkFGMaskCallback};
SparkFloat SparkFloat42 = {0.0f, 0.0f, 5.0f, 0.005f, 0, "Compensate %5.3f", sparkCallback};
SparkPup SparkPup43 = {0, 3, sparkCallback, {"FG Matte Red", "FG Matte Green", "FG Matte Blue"}};
SparkFloat SparkFloat44 = {70.0f,        0.0f, 100.0f, 0.05f, 0, "FG Motion Sensitivity %6.2f",
                           sparkCallback};
SparkFloat SparkFloat45 = {0.0f, 0.0f, 4.0f, 0.01f, 0, "FG Inv Matte Shrink %4.2f", sparkCallback};
}
