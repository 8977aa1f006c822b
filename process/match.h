// How pixels are matched to the colours of a palette.
#pragma once

namespace orn32 {

// The modes of matchcolorimageex.
enum MatchMode : int { byOctree, byOctreeDiffused, bySortedAxis, bySortedAxisDiffused };

inline bool isMatchMode(int mode) {
    return mode >= byOctree && mode <= bySortedAxisDiffused;
}
inline bool usesOctree(int mode) {
    return mode <= byOctreeDiffused;
}
inline bool diffusesErrors(int mode) {
    return mode & 1;
}

}  // namespace orn32
