#pragma once

#include "media/source.h"

#include <QString>
#include <QStringList>

// The files of the corpus, made with the installed ffmpeg and kept beside the build folders until a
// recipe or ffmpeg changes.

// ffmpeg's arguments before the output, with what the $words of the recipe stand for.
QStringList recipeArguments(const Source &source);

// The folder that holds the themes' folders.
QByteArray corpusFolder();

// Makes the corpus unless it is there; gives what went wrong, one text a source.
QStringList makeCorpus();
