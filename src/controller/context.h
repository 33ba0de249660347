#pragma once

#include "analysis/movie_framework.h"
#include "controller/batch_table.h"
#include "controller/face.h"
#include "controller/task_slots.h"
#include "controller/window_state.h"
#include "settings/preferences_store.h"

#include <QDateTime>

#include <functional>

// What the controller's parts work on together.
namespace qv
{

// Where sheets and stills are made.
struct Placement {
    // The sheets go into the sub-folder "Quorvantel" of the destination, or straight into it.
    bool ownSubfolder = true;
    // Stills and the growing sheet live in the temporary folder, and only the whole sheet appears
    // at its place; otherwise they are made beside it.
    bool stillsInTemporaryFolder = false;
    // Where a file of others has a sheet's name, the sheet gets another one without a question.
    bool yieldsToOthers = false;
    // A row's key pictures are taken as soon as its source is analysed.
    bool quickPicturesFollow = false;
    // How many tools may take a row's pictures at once.
    int toolsPerRow = 1;
};

struct ControllerContext {
    PreferencesStore &preferences;
    Face &face;
    MovieFramework &movies;
    BatchTable &table;
    WindowState &window;
    TaskSlots &taskSlots;
    Placement placement;
    std::function<QDateTime()> now;

    // The admission gate: closed while a drop is admitted and analysed, so that a second one can't
    // come in between.
    bool gateOpen = true;
    // Admitted sources are being analysed; a batch that ends meanwhile leaves the gate closed.
    bool analysing = false;

    void windowChanged() { face.windowChanged(window); }
    void setGate(bool open)
    {
        gateOpen = open;
        face.gateChanged(open);
    }
};

} // namespace qv
