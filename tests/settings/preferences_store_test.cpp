#include "settings/preferences_store.h"

#include "common/log_capture.h"
#include "support/property_list.h"

#include <QDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace qv;
using Saving = PreferencesStore::Saving;

namespace
{

const QString parent = QStringLiteral("processEncDico");

class PreferencesFileTest : public testing::Test
{
protected:
    QString path() const { return m_folder.filePath(QStringLiteral("Library/p.plist")); }
    QVariantMap onDisk() const { return readPropertyList(path()).value_or(QVariant()).toMap(); }
    void writeFile(const QByteArray &bytes) const
    {
        QDir().mkpath(QFileInfo(path()).path());
        QFile file(path());
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(bytes);
    }

    QTemporaryDir m_folder;
    LogCapture m_log;
};

} // namespace

TEST(PreferencesStore, ReadsWhatWasWrittenAndNothingForMissingOrEmptyKeys)
{
    PreferencesStore store;
    EXPECT_TRUE(store.prefWrite(QStringLiteral("n"), 0)) << "zero is a value";
    EXPECT_TRUE(store.prefWrite(QStringLiteral("t"), QStringLiteral(""))) << "an empty text too";
    EXPECT_FALSE(store.prefWrite(QString(), 1));
    EXPECT_FALSE(store.prefWrite(QStringLiteral("n"), QVariant()));
    EXPECT_EQ(store.prefRead(QStringLiteral("n")), QVariant(0));
    EXPECT_TRUE(store.prefRead(QStringLiteral("t")).isValid());
    EXPECT_FALSE(store.prefRead(QStringLiteral("absent")).isValid());
    EXPECT_FALSE(store.prefRead(QString()).isValid());
    EXPECT_TRUE(store.prefDelete(QStringLiteral("n")));
    EXPECT_TRUE(store.prefDelete(QString()));
    EXPECT_FALSE(store.prefReadDico(QStringLiteral("n")).isValid());
}

TEST(PreferencesStore, GivesTheTextOfAnyValue)
{
    PreferencesStore store;
    const QString longText(5000, QLatin1Char('x'));
    const QList<QPair<QVariant, QString>> cases = {
        {32, "32"},           {qlonglong{-7}, "-7"}, {0.8, "0.8"},
        {1.0, "1"},           {true, "1"},           {QStringLiteral("é"), QStringLiteral("é")},
        {longText, longText},
    };
    for (const auto &[value, text] : cases) {
        store.prefWrite(QStringLiteral("k"), value);
        EXPECT_EQ(store.prefReadString(QStringLiteral("k")), text);
    }
    EXPECT_EQ(store.prefReadString(QStringLiteral("absent")), QString());
}

TEST(PreferencesStore, WritesWholeDictionaries)
{
    PreferencesStore store;
    EXPECT_TRUE(store.prefWriteDico(parent, {{"a", 1}}));
    EXPECT_TRUE(store.prefWriteDico(parent, {{"b", 2}}));
    EXPECT_FALSE(store.prefWriteDico(parent, {}));
    EXPECT_FALSE(store.prefWriteDico(QString(), {{"a", 1}}));
    EXPECT_EQ(store.prefReadDico(parent).toMap(), QVariantMap({{"b", 2}}));
}

TEST(ChildDictionaries, AreMadeChangedAndDeletedEntryByEntry)
{
    PreferencesStore store;
    const QString a = QStringLiteral("a");
    const QString b = QStringLiteral("b");
    EXPECT_TRUE(store.prefDeleteChildDico(parent, a)) << "an absent parent is no failure";
    EXPECT_FALSE(store.prefsSnapshot().has_value());
    EXPECT_TRUE(store.prefWriteChildDico(parent, a, 1));
    EXPECT_EQ(store.prefRead(parent).toMap(), QVariantMap({{"a", 1}}));
    const QVariantMap before = store.prefRead(parent).toMap();
    EXPECT_TRUE(store.prefWriteChildDico(parent, b, QStringLiteral("x")));
    EXPECT_TRUE(store.prefWriteChildDico(parent, a, 2));
    EXPECT_EQ(before, QVariantMap({{"a", 1}})) << "copies taken earlier stay as they were";
    EXPECT_EQ(store.prefReadChildDico(parent, a), QVariant(2));
    EXPECT_TRUE(store.prefDeleteChildDico(parent, a));
    EXPECT_TRUE(store.prefDeleteChildDico(parent, QStringLiteral("absent")));
    EXPECT_EQ(store.prefRead(parent).toMap(), QVariantMap({{"b", "x"}}));
    EXPECT_FALSE(store.prefWriteChildDico(parent, a, QVariant()));
    EXPECT_FALSE(store.prefWriteChildDico(parent, QString(), 1));
    EXPECT_FALSE(store.prefWriteChildDico(QString(), a, 1));
}

TEST(ChildDictionaries, ReplaceAParentThatIsNone)
{
    PreferencesStore store;
    store.prefWrite(parent, QStringLiteral("text"));
    EXPECT_FALSE(store.prefReadChildDico(parent, QStringLiteral("a")).isValid());
    EXPECT_TRUE(store.prefDeleteChildDico(parent, QStringLiteral("a")));
    EXPECT_TRUE(store.prefWriteChildDico(parent, QStringLiteral("a"), 1));
    EXPECT_EQ(store.prefRead(parent).toMap(), QVariantMap({{"a", 1}}));
}

// Copying the parent at each change took minutes for a drop of that size.
TEST(ChildDictionaries, OfManyEntriesEmptyOneByOneInNoTime)
{
    constexpr int count = 30000;
    PreferencesStore store;
    QElapsedTimer clock;
    clock.start();
    for (int i = 0; i < count; ++i) {
        store.prefWriteChildDico(parent, QString::number(i), QStringLiteral("path"));
    }
    for (int i = 0; i < count; ++i) {
        store.prefDeleteChildDico(parent, QString::number(i));
    }
    EXPECT_TRUE(store.prefRead(parent).toMap().isEmpty());
    EXPECT_LT(clock.elapsed(), 5000);
}

TEST(Defaults, FillWhatIsMissingAndKeepWhatIsSet)
{
    PreferencesStore store;
    store.prefWrite(QStringLiteral("prefLimitBig"), 99);
    store.prefsFillMissingDefaults();
    EXPECT_EQ(store.prefReadString(QStringLiteral("prefLimitBig")), QStringLiteral("99"));
    EXPECT_EQ(store.prefReadString(QStringLiteral("prefLimitMin")), QStringLiteral("48"));
    EXPECT_EQ(store.prefReadString(QStringLiteral("prefDefautDstPathStr")),
              QDir::homePath() + QStringLiteral("/Movies/"));
    EXPECT_EQ(store.prefsSnapshot()->size(), PreferencesStore::prefsDefaults().size());
    EXPECT_TRUE(store.prefsResetAll());
    EXPECT_EQ(*store.prefsSnapshot(), PreferencesStore::prefsDefaults());
}

TEST(Defaults, DecideWhichKeysSurviveAStart)
{
    PreferencesStore store;
    for (const char *key :
         {"NSNavLastRoot", "DRBurnSpeed", "processEncDico", "xNSNav", "prefColor"}) {
        store.prefWrite(QString::fromLatin1(key), QVariantMap{{"a", 1}});
    }
    store.prefsPurgeUnknownKeys();
    EXPECT_EQ(store.prefsSnapshot()->keys(),
              QStringList({"DRBurnSpeed", "NSNavLastRoot", "prefColor"}));
}

TEST_F(PreferencesFileTest, KeepsValuesFromOneRunToTheNext)
{
    {
        PreferencesStore store(path(), Saving::Written);
        store.prefsWriteAll({{"n", 32}, {"none", QVariant()}});
        EXPECT_EQ(onDisk(), QVariantMap({{"n", qlonglong{32}}}));
        store.prefWriteChildDico(parent, QStringLiteral("d"), 2.5);
    }
    const PreferencesStore store(path(), Saving::ReadOnly);
    EXPECT_EQ(store.prefReadString(QStringLiteral("n")), QStringLiteral("32"));
    EXPECT_EQ(store.prefReadChildDico(parent, QStringLiteral("d")), QVariant(2.5));
}

TEST_F(PreferencesFileTest, IsSavedShortlyAfterTheLastChange)
{
    PreferencesStore store(path(), Saving::Written);
    QTimer bound;
    QEventLoop loop;
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
        if (QFileInfo::exists(path())) {
            loop.quit();
        }
    });
    QObject::connect(&bound, &QTimer::timeout, &loop, &QEventLoop::quit);
    store.prefWrite(QStringLiteral("n"), 1);
    EXPECT_FALSE(QFileInfo::exists(path()));
    bound.start(20000);
    poll.start(20);
    loop.exec();
    EXPECT_EQ(onDisk(), QVariantMap({{"n", qlonglong{1}}}));
}

TEST_F(PreferencesFileTest, IsPutAsideWhenDamaged)
{
    for (const QByteArray &bytes :
         {QByteArray("garbage"), QByteArray(), QByteArray("<plist><array/></plist>")}) {
        writeFile(bytes);
        {
            const PreferencesStore reader(path(), Saving::ReadOnly);
            EXPECT_FALSE(reader.prefsSnapshot().has_value());
            EXPECT_TRUE(QFileInfo::exists(path())) << "a reader leaves the disk alone";
        }
        const PreferencesStore store(path(), Saving::Written);
        EXPECT_FALSE(store.prefsSnapshot().has_value());
        EXPECT_FALSE(QFileInfo::exists(path()));
        EXPECT_EQ(QFileInfo(path() + QStringLiteral(".damaged")).size(), bytes.size());
    }
}

TEST_F(PreferencesFileTest, IsNotTouchedByAReader)
{
    {
        PreferencesStore store(path(), Saving::ReadOnly);
        store.prefWrite(QStringLiteral("n"), 1);
        EXPECT_TRUE(store.synchronize());
        EXPECT_EQ(store.prefReadString(QStringLiteral("n")), QStringLiteral("1"));
    }
    EXPECT_FALSE(QFileInfo::exists(path()));
}

TEST_F(PreferencesFileTest, ThatCannotBeWrittenLeavesTheValuesInMemory)
{
    QFile(m_folder.filePath(QStringLiteral("Library"))).open(QIODevice::WriteOnly);
    PreferencesStore store(path(), Saving::Written);
    store.prefWrite(QStringLiteral("n"), 1);
    EXPECT_FALSE(store.synchronize());
    EXPECT_TRUE(m_log.contains(QStringLiteral("synchronize         :-( ")));
    EXPECT_EQ(store.prefReadString(QStringLiteral("n")), QStringLiteral("1"));
}

TEST(ColorText, HasExactlyFourComponentsFromZeroToOne)
{
    const auto color = colorFromText(QStringLiteral("0.80,7,-1, x"));
    ASSERT_TRUE(color.has_value());
    EXPECT_EQ(colorText(*color), QStringLiteral("0.80,1.00,0.00,0.00"));
    for (const char *text : {"", "1,1,1", "1,1,1,1,1", "white"}) {
        EXPECT_FALSE(colorFromText(QString::fromLatin1(text)).has_value()) << text;
    }
}
