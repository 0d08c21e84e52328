#pragma once

#include "image/progress.h"
#include "image/zp_image.h"

namespace velorin {

// Answers of KQVelorin4::UsesWhichWarping.
enum Warping { kInverse = 0, kInverseSmart = 1, kForward = 2, kForwardPlain = 3 };

// Whether the method looks at what a warp covered, and fills what nothing covers.
inline bool UsesCoverage(int warping) {
    return warping == kInverseSmart || warping == kForward;
}

// Two frames, the flows between them, and where between them the picture lies.
struct FramePair {
    const ZPImage& floorFrame;
    const ZPImage& ceilFrame;
    const ZPImage& forwardFlow;  // floor to ceil
    const ZPImage& backFlow;     // ceil to floor
    float floorWeight;           // 1.0 on the floor frame
    bool isYCbCr = false;
};

// Room to work in: pictures of the frames' form, and coverage images, one channel of bytes, which
// are only touched by methods that use coverage.
struct WarpRoom {
    ZPImage* floorPicture = nullptr;
    ZPImage* ceilPicture = nullptr;
    ZPImage* floorCoverage = nullptr;
    ZPImage* ceilCoverage = nullptr;
};

// How a picture between two frames comes about: one row of the matrix of methods each, with the
// warping method as its column. What a frame of another size leaves open is black; the inverse warp
// leaves all of it open, after its line on standard error. All throw what warps and fills throw.

// `dest` becomes `source` moved by `amount` of `flow`: by the inverse warp along the flow that
// leads to the frame, by the forward one along the flow that leaves it. `coverage` tells what was
// covered; null: the inverse warp extends the borders, the forward one leaves what it does not hit
// black.
void MoveFrame(ZPImage& dest, const ZPImage& source, const ZPImage& flow, float amount, int warping,
               ZPImage* coverage, KQIdleAndProgressClass& progress);

// The nearer frame alone, moved by `amount` of `flow`: the flow that leads to the frame for the
// inverse methods, the one that leaves it for the forward ones. `coverage` may be null where the
// method uses none.
void MoveNearest(ZPImage& target, const ZPImage& shown, const ZPImage& flow, float amount,
                 int warping, ZPImage* coverage, KQIdleAndProgressClass& progress);

// Both frames moved and cross-dissolved. Needs the pictures of `room`.
void MixBlend(ZPImage& target, const FramePair& pair, int warping, const WarpRoom& room,
              KQIdleAndProgressClass& progress);

// The same in one pass and without room, where the method has no other step between. False, and
// nothing done, where it has, or where `target` is one of the frames.
bool MixBlendAtOnce(ZPImage& target, const FramePair& pair, int warping,
                    KQIdleAndProgressClass& progress);

// Both frames moved, sharpened and mixed. The pictures of `room` may be null.
void MixEnergy(ZPImage& target, const FramePair& pair, int warping, const WarpRoom& room,
               KQIdleAndProgressClass& progress);

}  // namespace velorin
