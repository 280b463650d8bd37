// Placeholder: filled in with the picture operations of this group.
#pragma once

#include "picture/Picture.h"

namespace halcyra::PictureOps {}
