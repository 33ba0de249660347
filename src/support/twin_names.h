#pragma once

#include <QByteArray>

namespace qv
{

// The same for names that some volume takes for one: those that differ in case, or in how their
// characters are composed. Names are bytes.
QByteArray twinKey(const QByteArray &name);

} // namespace qv
