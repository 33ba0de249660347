// When the clips of a camcorder card were recorded, one line a clip.
#include "support/camcorder_playlist.h"

#include <QFile>

#include <cstdio>

int main(int argc, char **argv)
{
    if (argc != 2) {
        std::fputs("usage: gettimestamps FOLDER\nFOLDER holds a camcorder's playlists (.MPL).\n",
                   stderr);
        return 2;
    }
    return qv::playlistTimestamps(QFile::decodeName(argv[1])) ? 0 : 1;
}
