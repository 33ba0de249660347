#include "settings/preferences_store.h"

#include "settings/value_description.h"
#include "support/files.h"
#include "support/log.h"
#include "support/property_list.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

#include <memory>
#include <utility>

namespace qv
{
namespace
{

constexpr int saveDelayMs = 500;

bool isNothing(const QVariant &value)
{
    const bool isText = value.typeId() == QMetaType::QString;
    return !value.isValid() || value.isNull() || (isText && value.toString().isEmpty());
}

bool isDictionary(const QVariant &value)
{
    return value.typeId() == QMetaType::QVariantMap;
}

// The dictionary inside the value, by move: unless somebody else holds it too, a change to it then
// copies nothing, however many entries it has.
QVariantMap takeDictionary(QVariant &value)
{
    QVariantMap dictionary;
    if (isDictionary(value)) {
        std::swap(dictionary, *static_cast<QVariantMap *>(value.data()));
    }
    return dictionary;
}

// Gives where it is now.
QString putAside(const QString &path)
{
    const QString aside = path + QStringLiteral(".damaged");
    QFile::remove(aside);
    if (!QFile::rename(path, aside)) {
        logLine(QStringLiteral("plist               :-( not put aside: %1").arg(aside));
        return path;
    }
    return aside;
}

bool writeAtomically(const QString &path, const QByteArray &bytes, QString &error)
{
    QDir().mkpath(QFileInfo(path).path());
    QSaveFile file(path);
    const bool written =
        file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && file.commit();
    error = written ? QString() : file.errorString();
    return written;
}

bool writeValues(const QString &path, const QVariantMap &values)
{
    const auto xml = propertyListXml(values);
    QString error = xml ? QString() : xml.error();
    if (!xml || !writeAtomically(path, *xml, error)) {
        logLine(QStringLiteral("synchronize         :-( %1: %2").arg(path, error));
        return false;
    }
    return true;
}

} // namespace

PreferencesStore::PreferencesStore() : PreferencesStore(QString(), Saving::ReadOnly) {}

PreferencesStore::PreferencesStore(const QString &path, Saving saving)
    : m_path(expandTilde(path)), m_saving(saving)
{
    m_saveSoon.setSingleShot(true);
    m_saveSoon.setInterval(saveDelayMs);
    connect(&m_saveSoon, &QTimer::timeout, this, &PreferencesStore::save);
    load();
}

PreferencesStore::~PreferencesStore()
{
    synchronize();
}

QString PreferencesStore::userFile(const QString &bundleIdentifier)
{
    return expandTilde(QStringLiteral("~/Library/Preferences/%1.plist").arg(bundleIdentifier));
}

// --- values --------------------------------------------------------------------------------------

QVariant PreferencesStore::prefRead(const QString &key) const
{
    const QVariant value = prefReadDico(key);
    logDebug([&] { return QStringLiteral("prefRead            : ") + describeValue(value); });
    return value;
}

QString PreferencesStore::prefReadString(const QString &key) const
{
    const QVariant value = prefReadDico(key);
    if (value.typeId() == QMetaType::Bool) {
        return value.toBool() ? QStringLiteral("1") : QStringLiteral("0");
    }
    return value.isValid() ? value.toString() : QStringLiteral("");
}

QVariant PreferencesStore::prefReadDico(const QString &key) const
{
    return key.isEmpty() ? QVariant() : m_values.value(key);
}

bool PreferencesStore::prefWrite(const QString &key, const QVariant &value)
{
    if (key.isEmpty() || isNothing(value)) {
        return false;
    }
    logDebug([&] {
        return QStringLiteral("prefWrite           - old ? ") + describeValue(m_values.value(key));
    });
    m_values.insert(key, value);
    changed();
    logDebug([&] { return QStringLiteral("prefWrite           - def : ") + describeValue(value); });
    return true;
}

bool PreferencesStore::prefDelete(const QString &key)
{
    if (m_values.remove(key) > 0) {
        changed();
    }
    return true;
}

bool PreferencesStore::prefWriteDico(const QString &key, const QVariantMap &dico)
{
    if (key.isEmpty() || dico.isEmpty()) {
        return false;
    }
    const QVariant old = m_values.take(key);
    logDebug([&] {
        return old.isValid()
                   ? QStringLiteral("prefWriteDico       - old existe : ") + describeValue(old)
                   : QStringLiteral("prefWriteDico       - existe pas ;-)");
    });
    if (old.isValid()) {
        logDebug([] { return QStringLiteral("prefWriteDico       - old n'existe plus :-)"); });
    }
    m_values.insert(key, dico);
    changed();
    logDebug(
        [&] { return QStringLiteral("prefWriteDico       - existe : ") + describeValue(dico); });
    return true;
}

// --- child dictionaries --------------------------------------------------------------------------

QVariant PreferencesStore::prefReadChildDico(const QString &parent, const QString &child) const
{
    if (parent.isEmpty() || child.isEmpty()) {
        return {};
    }
    const auto stored = m_values.constFind(parent);
    return stored != m_values.cend() && isDictionary(*stored) ? stored->toMap().value(child)
                                                              : QVariant();
}

bool PreferencesStore::prefWriteChildDico(const QString &parent, const QString &child,
                                          const QVariant &value)
{
    if (parent.isEmpty() || child.isEmpty() || isNothing(value)) {
        return false;
    }
    QVariant stored = m_values.take(parent);
    logDebug([&] {
        return stored.isValid()
                   ? QStringLiteral("prefWriteChildDico  : key=%1,            old dico: %2")
                         .arg(parent, describeValue(stored))
                   : QStringLiteral("prefWriteChildDico  : key=%1,           new value='%2'")
                         .arg(parent, describeValue(value));
    });
    QVariantMap dictionary = takeDictionary(stored);
    dictionary.insert(child, value);
    logDebug([&] {
        return QStringLiteral("newMDico 1          : key=%1, resulting tmp value='%2'")
            .arg(parent, describeValue(dictionary));
    });
    m_values.insert(parent, dictionary);
    changed();
    logDebug([&] {
        return QStringLiteral("prefWriteChildDico  : key=%1, resulting def value='%2'")
            .arg(parent, describeValue(m_values.value(parent)));
    });
    return true;
}

bool PreferencesStore::prefDeleteChildDico(const QString &parent, const QString &child)
{
    if (!prefReadChildDico(parent, child).isValid()) {
        return true;
    }
    QVariant stored = m_values.take(parent);
    logDebug([&] {
        return QStringLiteral("prefDeleteChildDico 0 : key=%1 : %2")
            .arg(parent, describeValue(stored));
    });
    QVariantMap dictionary = takeDictionary(stored);
    logDebug([&] {
        return QStringLiteral("newMDico 0 : key=%1 : %2").arg(parent, describeValue(dictionary));
    });
    dictionary.remove(child);
    logDebug([&] {
        return QStringLiteral("newMDico 1 : key=%1 : %2").arg(parent, describeValue(dictionary));
    });
    m_values.insert(parent, dictionary);
    changed();
    return true;
}

// --- the whole store -----------------------------------------------------------------------------

std::optional<QVariantMap> PreferencesStore::prefsSnapshot() const
{
    return m_values.isEmpty() ? std::nullopt : std::optional(m_values);
}

void PreferencesStore::prefsWriteAll(const QVariantMap &values)
{
    for (auto it = values.cbegin(); it != values.cend(); ++it) {
        prefWrite(it.key(), it.value());
    }
    synchronize();
}

bool PreferencesStore::synchronize()
{
    m_saveSoon.stop();
    if (m_writing.isRunning()) {
        m_writing.abandon();
        m_unsaved = true; // whether it was written, nobody has told
    }
    if (m_saving == Saving::ReadOnly || !m_unsaved) {
        return true;
    }
    m_unsaved = !writeValues(m_path, m_values);
    if (m_unsaved) {
        Q_EMIT notSaved();
    }
    return !m_unsaved;
}

// A busy disk takes its time until a file is safe, so nobody waits for it.
void PreferencesStore::save()
{
    if (m_saving == Saving::ReadOnly || !m_unsaved) {
        return;
    }
    if (m_writing.isRunning()) {
        m_savesAgain = true;
        return;
    }
    m_unsaved = false;
    const auto written = std::make_shared<bool>(false);
    m_writing.run(
        [written, path = m_path, values = m_values] { *written = writeValues(path, values); },
        [this, written] {
            m_unsaved = m_unsaved || !*written;
            if (!*written) {
                Q_EMIT notSaved();
            }
            if (std::exchange(m_savesAgain, false)) {
                save();
            }
            tellWaiting();
        });
}

void PreferencesStore::saveThen(QObject *context, std::function<void()> then)
{
    m_waiting.emplace_back(context, std::move(then));
    save();
    QMetaObject::invokeMethod(this, &PreferencesStore::tellWaiting, Qt::QueuedConnection);
}

void PreferencesStore::tellWaiting()
{
    if (m_writing.isRunning()) {
        return;
    }
    for (const auto &[context, then] : std::exchange(m_waiting, {})) {
        if (context) {
            then();
        }
    }
}

void PreferencesStore::load()
{
    if (m_path.isEmpty() || !QFileInfo::exists(m_path)) {
        return;
    }
    const auto content = readPropertyList(m_path);
    if (content && isDictionary(*content)) {
        m_values = content->toMap();
    } else {
        const QString why = content ? QStringLiteral("no dictionary") : content.error();
        logLine(QStringLiteral("plist               :-( %1: %2").arg(m_path, why));
        m_damagedFile = m_saving == Saving::Written ? putAside(m_path) : m_path;
    }
}

void PreferencesStore::changed()
{
    m_unsaved = true;
    if (m_saving == Saving::Written && QCoreApplication::instance() != nullptr) {
        m_saveSoon.start();
    }
}

} // namespace qv
