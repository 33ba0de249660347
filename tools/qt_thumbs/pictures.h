#pragma once

#include "thumbs/arguments.h"

namespace qv
{

// Makes the pictures and prints how far it has come. What could not be made is told on standard
// error and costs no other picture. True when all were made.
bool makePictures(const PicturesRequest &request);

} // namespace qv
