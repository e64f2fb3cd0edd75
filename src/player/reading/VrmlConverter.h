#pragma once

#include "player/reading/TextBuffer.h"

namespace Zelvan::play {

/// X3D XML of ClassicVRML or VRML 2.0, by the program `tovrmlx3d`. Throws Failure, without the file's name.
TextBuffer convertedVrml(TextBuffer&& text);

} // namespace Zelvan::play
