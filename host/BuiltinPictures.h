// The two pictures used when no clips are given: drawn in code at any size, so
// nothing ships as a file. Both are colourful and full of edges and gradients,
// so that every effect has something to show.
#pragma once

#include "host/Common.h"

namespace halcyra::host {

constexpr int kBuiltinWidth = 1280;
constexpr int kBuiltinHeight = 720;

// which = 0: a landscape at sunset marked "A"; which = 1: a colour study marked "B".
Frame MakeBuiltinPicture(int which, int width, int height);

}  // namespace halcyra::host
