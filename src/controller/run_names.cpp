#include "controller/run_names.h"

#include "controller/sheet_names.h"
#include "controller/sheet_owner.h"
#include "support/files.h"
#include "support/platform.h"
#include "support/twin_names.h"

#include <QFile>
#include <QHash>
#include <QSet>

#include <algorithm>
#include <numeric>

namespace qv
{
namespace
{

std::size_t keyOf(const QString &name)
{
    return qHash(twinKey(name.toUtf8()), 0);
}

QString fileOf(const QString &base, const QString &extension)
{
    return base + QLatin1Char('.') + extension;
}

} // namespace

// Sources that may want the same name, directly or through others. Only their names depend on each
// other.
class RunNames::Namesakes
{
public:
    explicit Namesakes(qsizetype count) : m_parents(static_cast<std::size_t>(count))
    {
        std::iota(m_parents.begin(), m_parents.end(), 0U);
    }

    void add(quint32 number, const QStringList &names)
    {
        for (const QString &name : names) {
            m_wishes.emplace_back(keyOf(name), number);
        }
    }

    void group()
    {
        std::sort(m_wishes.begin(), m_wishes.end());
        for (std::size_t i = 1; i < m_wishes.size(); ++i) {
            if (m_wishes[i - 1].first == m_wishes[i].first) {
                m_parents[rootOf(m_wishes[i].second)] = rootOf(m_wishes[i - 1].second);
            }
        }
        m_wishes = {};
        m_grouped.resize(m_parents.size());
        std::iota(m_grouped.begin(), m_grouped.end(), 0U);
        for (quint32 &parent : m_parents) {
            parent = rootOf(parent);
        }
        std::stable_sort(m_grouped.begin(), m_grouped.end(),
                         [this](quint32 a, quint32 b) { return m_parents[a] < m_parents[b]; });
    }

    // In the order of the run.
    std::vector<qsizetype> of(qsizetype number) const
    {
        const quint32 root = m_parents[static_cast<std::size_t>(number)];
        const auto begin = std::lower_bound(
            m_grouped.begin(), m_grouped.end(), root,
            [this](quint32 member, quint32 wanted) { return m_parents[member] < wanted; });
        const auto end = std::find_if(begin, m_grouped.end(),
                                      [&](quint32 member) { return m_parents[member] != root; });
        return {begin, end};
    }

private:
    quint32 rootOf(quint32 number)
    {
        while (m_parents[number] != number) {
            m_parents[number] = m_parents[m_parents[number]];
            number = m_parents[number];
        }
        return number;
    }

    std::vector<quint32> m_parents;
    std::vector<std::pair<std::size_t, quint32>> m_wishes;
    std::vector<quint32> m_grouped; // all numbers, by their roots
};

// Gives namesakes their names: each keeps its own sheet, then the others take what is free, in the
// order of the run.
class RunNames::Naming
{
public:
    explicit Naming(RunNames &run) : m_run(run) {}

    void name(const std::vector<qsizetype> &members)
    {
        for (const qsizetype member : members) {
            findOwn(member);
        }
        for (const auto &[member, base] : m_moved) {
            if (!m_bases.contains(base)) {
                takeOwn(member, base);
            }
        }
        for (const qsizetype member : members) {
            if (!isPlaced(member)) {
                takeFree(member);
            }
        }
    }

private:
    const QString &source(qsizetype number) const { return m_run.m_sources.at(number); }
    bool isPlaced(qsizetype number) const { return !m_run.place(number).base.isNull(); }
    QString baseOf(const QString &name) const { return appendPath(m_run.m_folder, name); }

    void take(qsizetype number, const SheetPlace &place)
    {
        m_run.place(number) = place;
        m_bases.insert(place.base);
        m_holders.insert(keyOf(place.base), number);
    }

    void takeOwn(qsizetype number, const QString &base)
    {
        const PlaceContent content = contentOf(fileOf(base, m_run.m_extension));
        take(number, {base, {}, claimOn(content, source(number)) != Claim::None});
    }

    PlaceContent contentOf(const QString &file)
    {
        if (!m_run.mayBeThere(file)) {
            return {};
        }
        auto known = m_contents.constFind(file);
        if (known == m_contents.cend()) {
            known = m_contents.insert(file, placeContent(file));
        }
        return *known;
    }

    Claim claimOnBase(const QString &base, qsizetype number)
    {
        Claim best = Claim::None;
        for (const QString &extension : sheetExtensions()) {
            best = std::max(best, claimOn(contentOf(fileOf(base, extension)), source(number)));
        }
        return best;
    }

    // Its own sheet keeps its name even if another one differs from it in case only: this disk has
    // both.
    void findOwn(qsizetype number)
    {
        QString moved;
        for (const QString &name : sheetNames(source(number))) {
            const QString base = baseOf(name);
            const Claim claim = claimOnBase(base, number);
            if (claim == Claim::Own && !m_bases.contains(base)) {
                takeOwn(number, base);
                return;
            }
            moved = claim == Claim::Moved && moved.isNull() ? base : moved;
        }
        if (!moved.isNull()) {
            m_moved.emplace_back(number, moved);
        }
    }

    // Why a base is not free, for people; null when it is.
    QString obstacleAt(const QString &base)
    {
        if (m_holders.contains(keyOf(base))) {
            return QStringLiteral("another source of this run has the plain name");
        }
        for (const QString &extension : sheetExtensions()) {
            const QString file = fileOf(base, extension);
            const PlaceContent content = contentOf(file);
            const bool isWanted = extension == m_run.m_extension;
            if (content.isSheet() || (isWanted && !content.isNothing())) {
                return QStringLiteral("%1 is %2")
                    .arg(lastPathComponent(file), contentText(content));
            }
            if (isWanted && m_run.hasTwin(file)) {
                return QStringLiteral("a file there has a name that differs in case only");
            }
        }
        return {};
    }

    // The source that has the base, of the run or not; null when unknown.
    QString holderOf(const QString &base)
    {
        if (const auto holder = m_holders.constFind(keyOf(base)); holder != m_holders.cend()) {
            return source(*holder);
        }
        const PlaceContent content = contentOf(fileOf(base, m_run.m_extension));
        return QString::fromUtf8(content.source.path);
    }

    void takeFree(qsizetype number)
    {
        const QString plain = baseOf(sheetNames(source(number)).constFirst());
        const QString why = obstacleAt(plain);
        if (why.isNull()) {
            take(number, {plain, {}});
            return;
        }
        for (const QString &name : sheetNames(source(number), holderOf(plain))) {
            const QString base = baseOf(name);
            if (obstacleAt(base).isNull()) {
                take(number, {base, why});
                return;
            }
        }
        m_run.place(number) = {QLatin1String(""), why};
    }

    RunNames &m_run;
    std::vector<std::pair<qsizetype, QString>> m_moved;
    QSet<QString> m_bases;
    QHash<std::size_t, qsizetype> m_holders;
    QHash<QString, PlaceContent> m_contents;
};

RunNames::RunNames(QStringList sources, const QString &folder, const QString &extension,
                   const std::function<bool()> &isStopped)
    : m_sources(std::move(sources)), m_folder(folder), m_extension(extension),
      m_places(static_cast<std::size_t>(m_sources.size())),
      m_namesakes(std::make_unique<Namesakes>(m_sources.size()))
{
    for (qsizetype i = 0; i < m_sources.size() && !(isStopped && isStopped()); ++i) {
        if (!m_sources.at(i).isNull()) {
            m_namesakes->add(static_cast<quint32>(i), sheetNames(m_sources.at(i)));
        }
    }
    m_namesakes->group();
    listFolder();
}

RunNames::~RunNames() = default;

const SheetPlace &RunNames::placeOf(qsizetype number)
{
    if (place(number).base.isNull()) {
        Naming(*this).name(m_namesakes->of(number));
    }
    return place(number);
}

// Ten thousand names that nobody has are not asked for one by one.
void RunNames::listFolder()
{
    const auto entries = platform::readDirectory(QFile::encodeName(m_folder), &m_isListed);
    m_isListed = m_isListed && entries;
    if (!m_isListed) {
        return;
    }
    m_names.reserve(entries->size());
    for (const platform::DirectoryEntry &entry : *entries) {
        m_names.push_back(qHash(twinKey(entry.name), 0));
    }
    std::sort(m_names.begin(), m_names.end());
}

bool RunNames::mayBeThere(const QString &file) const
{
    return !m_isListed || hasTwin(file);
}

bool RunNames::hasTwin(const QString &file) const
{
    return std::binary_search(m_names.begin(), m_names.end(), keyOf(lastPathComponent(file)));
}

} // namespace qv
