#include "media/source.h"

#include <ostream>

Source made(const QByteArray &name, const char *recipe, Picture picture, Expectation expect)
{
    return remade(name, "", recipe, picture, expect);
}

Source remade(const QByteArray &name, const char *from, const char *recipe, Picture picture,
              Expectation expect)
{
    return {.name = name, .recipe = recipe, .from = from, .picture = picture, .expect = expect};
}

Source changed(const QByteArray &name, const char *from, const Change &change, Expectation expect,
               Picture picture)
{
    return {.name = name, .from = from, .change = change, .picture = picture, .expect = expect};
}

Source companion(Source source)
{
    source.companion = true;
    return source;
}

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
