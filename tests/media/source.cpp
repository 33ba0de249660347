#include "media/source.h"

#include <ostream>

const Sources &allSources()
{
    static const Sources all = [] {
        Sources sources;
        for (const auto &theme : {containerSources, codecSources, geometrySources, timeSources,
                                  streamSources, damageSources, nameSources}) {
            for (Source &source : theme()) {
                sources.push_back(std::move(source));
            }
        }
        return sources;
    }();
    return all;
}

QByteArray themeOf(const Source &source)
{
    return source.name.left(source.name.indexOf('/'));
}

QByteArray titleOf(const Source &source)
{
    return source.title != nullptr ? themeOf(source) + '/' + source.title : source.name;
}

void PrintTo(const Source &source, std::ostream *stream)
{
    *stream << titleOf(source).constData();
}
