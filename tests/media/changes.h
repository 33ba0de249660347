#pragma once

#include "media/source.h"

// What is done to the bytes of a file. Places are shares of its length; everything that looks
// random is the same in every run.
Change text(const QByteArray &contents);
Change noise(int bytes);
Change zeros(int bytes);
// Keeps what lies between.
Change cut(double from, double to);
// Turns single bits over.
Change flips(double from, double to, int count);
// Zeros instead of what lies between.
Change hole(double from, double to);
// Other bytes instead of the first ones that are these; none when they are not there.
Change replaced(const QByteArray &before, const QByteArray &after);
// Moves the box with the cover of an MP4 file (moov last) before its tracks, so that a reader meets
// the cover first. ISO/IEC 14496-12, 4.2: a box is its length, its type, its contents.
Change coverFirst();
