#include "media/changes.h"

#include <QtEndian>

#include <random>

namespace
{

qsizetype place(const QByteArray &bytes, double share)
{
    return static_cast<qsizetype>(static_cast<double>(bytes.size()) * share);
}

QByteArray between(const char *what, double from, double to)
{
    return QByteArray(what) + ' ' + QByteArray::number(from) + ' ' + QByteArray::number(to);
}

qsizetype boxLength(const QByteArray &bytes, qsizetype type)
{
    return type < 4 ? 0 : qFromBigEndian<quint32>(bytes.constData() + type - 4);
}

} // namespace

Change text(const QByteArray &contents)
{
    return {contents, [contents](const QByteArray &) { return contents; }};
}

Change noise(int bytes)
{
    return {"noise " + QByteArray::number(bytes), [bytes](const QByteArray &) {
                std::mt19937 generator(2009);
                QByteArray contents(bytes, '\0');
                for (char &byte : contents) {
                    byte = static_cast<char>(generator());
                }
                return contents;
            }};
}

Change zeros(int bytes)
{
    return {"zeros " + QByteArray::number(bytes),
            [bytes](const QByteArray &) { return QByteArray(bytes, '\0'); }};
}

Change cut(double from, double to)
{
    return {between("cut", from, to), [from, to](const QByteArray &bytes) {
                return bytes.mid(place(bytes, from), place(bytes, to) - place(bytes, from));
            }};
}

Change flips(double from, double to, int count)
{
    return {between("flips", from, to) + ' ' + QByteArray::number(count),
            [from, to, count](QByteArray bytes) {
                std::mt19937 generator(1859);
                std::uniform_int_distribution<qsizetype> where(place(bytes, from),
                                                               place(bytes, to) - 1);
                for (int i = 0; i < count; ++i) {
                    char &byte = bytes[where(generator)];
                    byte = static_cast<char>(byte ^ (1 << (generator() % 8)));
                }
                return bytes;
            }};
}

Change hole(double from, double to)
{
    return {between("hole", from, to), [from, to](QByteArray bytes) {
                const qsizetype start = place(bytes, from);
                const qsizetype length = place(bytes, to) - start;
                return bytes.replace(start, length, QByteArray(length, '\0'));
            }};
}

Change replaced(const QByteArray &before, const QByteArray &after)
{
    return {before + " by " + after, [before, after](QByteArray bytes) {
                const qsizetype at = bytes.indexOf(before);
                return at < 0 ? QByteArray() : bytes.replace(at, before.size(), after);
            }};
}

Change coverFirst()
{
    return {"cover first", [](QByteArray bytes) {
                const qsizetype moov = bytes.lastIndexOf("moov");
                const qsizetype track = bytes.indexOf("trak", moov);
                const qsizetype user = bytes.lastIndexOf("udta");
                const qsizetype length = boxLength(bytes, user);
                if (moov < 0 || track < 0 || user < track || length < 8) {
                    return QByteArray();
                }
                const QByteArray box = bytes.mid(user - 4, length);
                return bytes.remove(user - 4, length).insert(track - 4, box);
            }};
}
