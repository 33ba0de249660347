#pragma once

#include "support/off_thread.h"

#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <QVariantMap>

#include <functional>
#include <optional>
#include <utility>
#include <vector>

// The user's settings and the working state of the batch, by key. Values are property-list values.
// "Nothing" is an invalid QVariant. An empty key reads as nothing and is not written.
namespace qv
{

// Of the setting prefBorderSize, in points: the limit for the window, the command and the sheet.
inline constexpr double largestBorderSize = 10;

class PreferencesStore : public QObject
{
    Q_OBJECT

public:
    enum class Saving { Written, ReadOnly };

    // In memory only: nothing is read and nothing is written.
    PreferencesStore();
    // Backed by this property-list file. A damaged file is put aside as "<name>.damaged" (only when
    // saving) and the store starts empty. ReadOnly never touches the disk after reading.
    PreferencesStore(const QString &path, Saving saving);
    ~PreferencesStore() override;

    // "~/Library/Preferences/<identifier>.plist", expanded.
    static QString userFile(const QString &bundleIdentifier);

    QVariant prefRead(const QString &key) const;
    // Text of any value (a number becomes its decimal text); empty when there is none.
    QString prefReadString(const QString &key) const;
    QVariant prefReadDico(const QString &key) const;
    // The operations that write give false, and change nothing, for an empty key or value.
    bool prefWrite(const QString &key, const QVariant &value);
    // Those that delete give true, whatever was there.
    bool prefDelete(const QString &key);
    bool prefWriteDico(const QString &key, const QVariantMap &dico);

    // Child dictionaries: stored whole under the parent; the stored object is replaced, never
    // changed in place, so a copy taken earlier stays as it was.
    QVariant prefReadChildDico(const QString &parent, const QString &child) const;
    bool prefWriteChildDico(const QString &parent, const QString &child, const QVariant &value);
    bool prefDeleteChildDico(const QString &parent, const QString &child);

    static QVariantMap prefsDefaults();
    bool prefsResetAll();
    void prefsFillMissingDefaults();
    // Sets back what no control could have stored: wrong types, numbers far off. Gives their keys.
    QStringList prefsMendImpossible();
    // Deletes every stored key that is no setting, which clears what a crash left behind; keys of
    // the system's panels ("NSNav...", "DRBurn...") stay.
    void prefsPurgeUnknownKeys();
    // Every stored key with its value; nothing when the store is empty.
    std::optional<QVariantMap> prefsSnapshot() const;
    // Writes each valid entry, then synchronises.
    void prefsWriteAll(const QVariantMap &values);

    // Where a damaged file was put when the store was read; empty when there was none.
    QString damagedFile() const { return m_damagedFile; }
    QString path() const { return m_path; }

    // Writes the file now, atomically, when something changed since the last time. False when it
    // could not be written (logged); the values stay in memory.
    bool synchronize();
    // The same without waiting for the disk; a failure is told by the signal.
    void save();
    // The same, and calls `then` from the event loop once what has changed until now is in the
    // file, or could not be written. Never when the context has gone by then.
    void saveThen(QObject *context, std::function<void()> then);

Q_SIGNALS:
    void notSaved();

private:
    void load();
    void tellWaiting();
    void changed();

    QString m_path;
    Saving m_saving = Saving::ReadOnly;
    QVariantMap m_values;
    QString m_damagedFile;
    bool m_unsaved = false;
    bool m_savesAgain = false; // as soon as the write in progress has ended
    QTimer m_saveSoon;
    std::vector<std::pair<QPointer<QObject>, std::function<void()>>> m_waiting; // for a save
    OffThread m_writing;
};

} // namespace qv
