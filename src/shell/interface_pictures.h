#pragma once

#include <QIcon>
#include <QString>

// The interface's own pictures, by name, from the bundle's resources ("dndApp.svg").
namespace qv
{

// Sharp at every size and scale. What is drawn in `currentColor` follows the palette, also when it
// changes. An empty icon when there is no such picture.
QIcon interfacePicture(const QString &name);

} // namespace qv
