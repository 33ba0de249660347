#include "updater/web_kept_file.h"

#include "support/platform.h"

#include <QDir>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSaveFile>

#include <algorithm>
#include <cstdio>

namespace qv
{
namespace
{

constexpr qint64 mostFactsBytes = 64 << 10;
constexpr qsizetype mostValidatorBytes = 1024;

// It goes back to the server as a header's value.
bool isHeaderValue(const QByteArray &value)
{
    return value.size() <= mostValidatorBytes &&
           std::all_of(value.begin(), value.end(), [](char c) { return c >= ' ' && c < 0x7f; });
}

QString writingReason(const QString &path, const QString &why)
{
    return QStringLiteral("the download can't be written to %1: %2").arg(path, why);
}

} // namespace

QString KeptFile::path() const
{
    return m_folder + QStringLiteral("/download");
}

QString KeptFile::factsPath() const
{
    return m_folder + QStringLiteral("/download.json");
}

QString KeptFile::open(const QString &folder)
{
    m_folder = folder;
    QDir().mkpath(folder);
    const platform::LockedFile locked = platform::lockFile(path());
    if (locked.state == platform::LockedFile::State::HeldByAnother) {
        return QStringLiteral("another copy of the application is downloading already");
    }
    m_bytes = std::make_unique<QFile>();
    if (locked.descriptor < 0 ||
        !m_bytes->open(locked.descriptor, QIODevice::ReadWrite | QIODevice::Unbuffered,
                       QFileDevice::AutoCloseHandle)) {
        close();
        return QStringLiteral("the download can't be kept in %1").arg(folder);
    }
    return {};
}

void KeptFile::close()
{
    m_bytes.reset();
}

bool KeptFile::resume(const QUrl &address, qint64 mostBytes)
{
    m_facts = readFacts();
    const qint64 good = std::min(m_bytes->size(), m_facts.length - 1);
    const bool fits = m_facts.address == address && !m_facts.validator.isEmpty() &&
                      m_facts.length <= mostBytes && good > 0;
    if (!fits || !cutTo(good)) {
        forget();
        return false;
    }
    return true;
}

QString KeptFile::beginAnew(const Facts &facts)
{
    forget();
    m_facts = facts;
    return m_bytes->size() == 0 ? writeFacts() : writingReason(path(), m_bytes->errorString());
}

// The facts go first: bytes without facts are nobody's.
void KeptFile::forget()
{
    QFile::remove(factsPath());
    m_facts = {};
    cutTo(0);
}

bool KeptFile::cutTo(qint64 size)
{
    m_size = size;
    return m_bytes->resize(size) && m_bytes->seek(size);
}

QString KeptFile::append(const QByteArray &bytes)
{
    // What could be written only in part tells why at the next try.
    for (qint64 done = 0; done < bytes.size();) {
        const qint64 written = m_bytes->write(bytes.constData() + done, bytes.size() - done);
        if (written <= 0) {
            return writingReason(path(), m_bytes->errorString());
        }
        done += written;
        m_size += written;
    }
    return {};
}

bool KeptFile::moveTo(const QString &path) const
{
    if (std::rename(QFile::encodeName(this->path()).constData(),
                    QFile::encodeName(path).constData()) != 0) {
        return false;
    }
    QFile::remove(factsPath());
    return true;
}

void KeptFile::remove() const
{
    QFile::remove(factsPath());
    QFile::remove(path());
}

KeptFile::Facts KeptFile::readFacts() const
{
    QFile file(factsPath());
    if (!QFileInfo(file).isFile() || !file.open(QIODevice::ReadOnly)) {
        return {};
    }
    const QJsonObject object = QJsonDocument::fromJson(file.read(mostFactsBytes)).object();
    const QByteArray validator = object.value(QStringLiteral("validator")).toString().toLatin1();
    return {QUrl(object.value(QStringLiteral("address")).toString()),
            isHeaderValue(validator) ? validator : QByteArray(),
            object.value(QStringLiteral("length")).toInteger(-1)};
}

QString KeptFile::writeFacts() const
{
    QJsonObject object;
    object.insert(QStringLiteral("address"), m_facts.address.toString(QUrl::FullyEncoded));
    object.insert(QStringLiteral("validator"), QString::fromLatin1(m_facts.validator));
    object.insert(QStringLiteral("length"), m_facts.length);
    QSaveFile file(factsPath());
    if (!file.open(QIODevice::WriteOnly) || file.write(QJsonDocument(object).toJson()) < 0 ||
        !file.commit()) {
        return writingReason(factsPath(), file.errorString());
    }
    return {};
}

} // namespace qv
