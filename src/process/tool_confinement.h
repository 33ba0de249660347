#pragma once

#include "process/child_process.h"

#include <QString>
#include <QStringList>

// Takes from a tool what it has no use for, so that a source that takes control of a decoder gains
// nothing: writing outside a few folders, opening sockets, signals to others, reaching for what the
// permissions and times of files say. Reading and running stay free, as sources, libraries and
// plug-ins lie anywhere. By Landlock and a system call filter, on Linux; each does its part where
// the other is not offered.
namespace qv
{

// On at first, unless QUORVANTEL_CONFINEMENT is "off".
bool isConfinementOn();
void setConfinementOn(bool on);

// What is done here, for the log: "landlock 7, no network", "off", "not offered by this system".
QString confinementText();
void logConfinement();

// One tool's confinement. Made by the application, entered by the tool's process.
class Confinement
{
public:
    // The ruleset for these folders, missing ones left out.
    static Confinement forFolders(const QStringList &writableFolders);
    // For the rest of the calling process's life. Nothing but system calls, so it may run between
    // clone and exec. False: errno says why.
    bool enter() const;

private:
    FileDescriptor m_ruleset;
};

// To be told of a failed enter(): some containers offer what they then refuse. No run is confined
// from then on (logged).
void giveUpConfinement(int error);

} // namespace qv
