#pragma once

#include <QByteArray>

#include <functional>
#include <iosfwd>
#include <vector>

// What a source shows. A clock picture has a red block at the upper left and sixteen blocks that
// are black or white: the number of ticks since the start, in binary (media/clock.h).
struct Picture {
    const char *size = "320x180";
    const char *rate = "25";
    double seconds = 12;
    double tick = 0.04; // seconds; of most sources a frame
    bool clock = true;  // plain grey otherwise
};

// What the command should make of it.
struct Expectation {
    const char *refusal = nullptr; // words of the reason; nothing: a sheet
    const char *size = nullptr;    // of the record; nothing: as drawn
    double seconds = -1;           // of the record, within one; negative: as drawn
    const char *dar = nullptr;     // "16:9", by value; nothing: not looked at
    const char *fields = "progressive";
    const char *keys = ""; // further keys that the record must have
    int cells = 6;         // at least so many of the six pictures
    double clockStart = 0; // what the clock shows at the very start of the file, seconds
    double within = 1.25;  // how far a cell may be from its stamp, seconds
    int strays = 0;        // cells that may be farther, or unreadable
    double offFrame = 0;   // how far a key picture may be from the frame of its instant, seconds
    const char *grey = "#808080"; // the level of the grey blocks
};

// What is done to a file's bytes after ffmpeg, or without it.
struct Change {
    QByteArray says;
    std::function<QByteArray(QByteArray)> apply;
};

// One file of the corpus. The recipe is ffmpeg's arguments between the options that are always
// given and the output, where these stand for others:
//   $clock   the picture as an input      $sound  a tone of the same length as an input
//   $from    the file `from` as an input  $x264   H.264 with a key frame a second at 25 a second
// Without a recipe the file is `from` (or nothing) after the change.
struct Source {
    QByteArray name; // with its folder; need not be UTF-8
    const char *recipe = "";
    const char *from = "";
    bool pipe = false; // written through a pipe, where no muxer can go back to its header
    Change change = {};
    Picture picture = {};
    Expectation expect = {};
    bool companion = false;      // a file that another needs; the command doesn't get it
    const char *title = nullptr; // for names that say nothing; else the name
};
void PrintTo(const Source &source, std::ostream *stream);

// By ffmpeg, out of nothing or another file, and by a change of another file's bytes.
Source made(const QByteArray &name, const char *recipe, Picture picture = {},
            Expectation expect = {});
Source remade(const QByteArray &name, const char *from, const char *recipe, Picture picture = {},
              Expectation expect = {});
Source changed(const QByteArray &name, const char *from, const Change &change,
               Expectation expect = {}, Picture picture = {});
Source companion(Source source);

using Sources = std::vector<Source>;

// By theme; each theme is a folder of the corpus.
Sources containerSources();
Sources codecSources();
Sources geometrySources();
Sources timeSources();
Sources streamSources();
Sources damageSources();
Sources nameSources();

const Sources &allSources();
// "containers/h264.mp4" is of the theme "containers".
QByteArray themeOf(const Source &source);
QByteArray titleOf(const Source &source);
