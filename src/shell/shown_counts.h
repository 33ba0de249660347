#pragma once

#include <QString>

namespace qv
{

// "1 video" by the word for the key, or "1,250 videos" by the one for the key with an "s".
QString countText(const QString &key, int count);

} // namespace qv
