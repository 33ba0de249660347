#pragma once

#include "thumbs/picture.h"

#include <string>

namespace qv
{

// Writes the picture as the path's extension says, PNG or else JPEG of the best quality. Gives why
// it could not; an empty text when it is there.
std::string writePicture(const Picture &picture, const std::string &path, bool overwrite);

} // namespace qv
