#pragma once

#include "host/spark_api.h"

// The panel: what a control shows and holds, and what happens when it is edited. A control's number
// is the end of its name. The host looks the names up, sets the values and keeps them with its
// setups.

#pragma GCC visibility push(default)

extern "C" {

extern SparkPush SparkPush6;
extern SparkPush SparkPush7;
extern SparkInt SparkInt8;
extern SparkPush SparkPush9;
extern SparkPush SparkPush10;
extern SparkPup SparkPup13;
extern SparkPup SparkPup14;
extern SparkInt SparkInt15;
extern SparkPup SparkPup16;
extern SparkPup SparkPup17;
extern SparkBoolean SparkBoolean18;
extern SparkBoolean SparkBoolean19;
extern SparkPush SparkPush20;
extern SparkPush SparkPush21;
extern SparkPush SparkPush22;
extern SparkPush SparkPush23;
extern SparkPush SparkPush24;
extern SparkFloat SparkFloat25;
extern SparkFloat SparkFloat26;
extern SparkPup SparkPup27;
extern SparkPup SparkPup28;
extern SparkPup SparkPup29;
extern SparkPup SparkPup30;
extern SparkPup SparkPup31;
extern SparkFloat SparkFloat32;
extern SparkPush SparkPush34;
extern SparkPush SparkPush35;
extern SparkBoolean SparkBoolean36;
extern SparkFloat SparkFloat42;
extern SparkPup SparkPup43;
extern SparkFloat SparkFloat44;
extern SparkFloat SparkFloat45;

// Callbacks: on the code of a change they do what the edit asks for and answer with what
// SparkProcess did, null where nothing was rendered. Other codes do nothing where none is said.

// Renders the view again.
void* sparkCallback(int code, spark_info_struct info);
void* sparkAltMotionCallback(int code, spark_info_struct info);

// Grey out what the edited menu or switch rules out, then render the view again.
void* sparkTimeCallback(int code, spark_info_struct info);
void* sparkFGMaskCallback(int code, spark_info_struct info);
void* sparkFrameSpeedInteract(int code, spark_info_struct info);  // greys on any code

// Gives the run of frames of one scene, from the current frame to the next cut, the scene that the
// menu was set to, and sets the menu back. Renders nothing; does nothing on the render node.
void* sparkSceneCutCallback(int code, spark_info_struct info);

// Sets the controls but for two menus to what they are at first, and removes all cuts; on any code.
// Renders the view again.
void* sparkResetCallback(int code, spark_info_struct info);
}

#pragma GCC visibility pop

namespace velorin {

inline constexpr int kPage = 1;

// Controls that calls of the host name by number.
inline constexpr int kBurnIdControl = 8;
inline constexpr int kCutMenuControl = 14;
inline constexpr int kSceneControl = 15;  // its curve holds the scene of each frame, 1 to 5
inline constexpr int kFrameControl = 25;  // its curve holds source frames, from 1
inline constexpr int kSpeedControl = 32;  // its curve holds speeds

// Grey out, or make available, what depends on a control's value.
void setMaskControls();
void setSourceTimeControls();
void setFrameSpeed();

}  // namespace velorin
