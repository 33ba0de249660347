#pragma once

#include "quick_thumbs/film.h"
#include "thumbs/arguments.h"

namespace qv
{

// Makes the pictures and prints of which instants they are and how far it has come. What could not
// be made is told on standard error and costs no other picture. True when all were made. `film` is
// the source if it is open already.
bool makePictures(const PicturesRequest &request, std::unique_ptr<Film> film = nullptr);

} // namespace qv
