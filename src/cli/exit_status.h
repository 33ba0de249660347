#pragma once

// What the command's exit status tells a script.
namespace qv
{

enum ExitStatus {
    AllDone = 0,      // everything made, or kept as it was
    SomeFailed = 1,   // some source skipped or failed
    WrongUsage = 2,   // the command line can't be understood
    CannotWork = 3,   // no ffmpeg, or nowhere to write sheets or results
    SignalBase = 128, // plus the signal's number when stopped by one
};

} // namespace qv
