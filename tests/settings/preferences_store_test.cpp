#include "settings/preferences_store.h"

#include "common/wait_until.h"
#include "settings/color_text.h"
#include "support/files_fixture.h"
#include "support/property_list.h"

#include <QElapsedTimer>

using namespace qv;
using Saving = PreferencesStore::Saving;

namespace
{

const QString parent = QStringLiteral("processEncDico");

class PreferencesFileTest : public FilesTest
{
protected:
    QString path() const { return at("Library/p.plist"); }
    QVariantMap onDisk() const { return readPropertyList(path()).value_or(QVariant()).toMap(); }
};

} // namespace

TEST(PreferencesStore, ReadsWhatWasWrittenAndNothingForMissingKeys)
{
    PreferencesStore store;
    EXPECT_TRUE(store.prefWrite("n", 0)) << "zero is a value";
    EXPECT_TRUE(store.prefWrite("t", "")) << "an empty text too";
    EXPECT_FALSE(store.prefWrite(QString(), 1));
    EXPECT_FALSE(store.prefWrite("n", QVariant()));
    EXPECT_EQ(store.prefRead("n"), QVariant(0));
    EXPECT_TRUE(store.prefRead("t").isValid());
    EXPECT_FALSE(store.prefRead("absent").isValid());
    EXPECT_TRUE(store.prefDelete("n"));
    EXPECT_FALSE(store.prefRead("n").isValid());
}

TEST(PreferencesStore, GivesTheTextOfAnyValue)
{
    PreferencesStore store;
    const QList<QPair<QVariant, QString>> cases = {{0.8, "0.8"}, {1.0, "1"}, {true, "1"}};
    for (const auto &[value, text] : cases) {
        store.prefWrite("k", value);
        EXPECT_EQ(store.prefReadString("k"), text);
    }
}

TEST(ChildDictionaries, AreMadeChangedAndDeletedEntryByEntry)
{
    PreferencesStore store;
    const QString a = "a";
    const QString b = "b";
    EXPECT_TRUE(store.prefDeleteChildDico(parent, a)) << "an absent parent is no failure";
    EXPECT_FALSE(store.prefsSnapshot().has_value());
    EXPECT_TRUE(store.prefWriteChildDico(parent, a, 1));
    const QVariantMap before = store.prefRead(parent).toMap();
    EXPECT_TRUE(store.prefWriteChildDico(parent, b, "x"));
    EXPECT_TRUE(store.prefWriteChildDico(parent, a, 2));
    EXPECT_EQ(before, QVariantMap({{"a", 1}})) << "copies taken earlier stay as they were";
    EXPECT_EQ(store.prefReadChildDico(parent, a), QVariant(2));
    EXPECT_TRUE(store.prefDeleteChildDico(parent, a));
    EXPECT_EQ(store.prefRead(parent).toMap(), QVariantMap({{"b", "x"}}));
    EXPECT_FALSE(store.prefWriteChildDico(parent, a, QVariant()));
    store.prefWrite(parent, "text");
    EXPECT_TRUE(store.prefWriteChildDico(parent, a, 1)) << "over a parent that is none";
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
        store.prefWriteChildDico(parent, QString::number(i), "path");
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
    store.prefWrite("prefLimitBig", 99);
    store.prefsFillMissingDefaults();
    EXPECT_EQ(store.prefReadString("prefLimitBig"), "99");
    EXPECT_EQ(store.prefReadString("prefDefautDstPathStr"), QDir::homePath() + "/Movies/");
    EXPECT_EQ(store.prefsSnapshot()->size(), PreferencesStore::prefsDefaults().size());
}

TEST(Defaults, DecideWhichKeysSurviveAStart)
{
    PreferencesStore store;
    for (const char *key :
         {"NSNavLastRoot", "DRBurnSpeed", "processEncDico", "xNSNav", "prefColor"}) {
        store.prefWrite(key, QVariantMap{{"a", 1}});
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
        store.prefWriteChildDico(parent, "d", 2.5);
    }
    const PreferencesStore store(path(), Saving::ReadOnly);
    EXPECT_EQ(store.prefReadString("n"), "32");
    EXPECT_EQ(store.prefReadChildDico(parent, "d"), QVariant(2.5));
}

TEST_F(PreferencesFileTest, IsSavedShortlyAfterTheLastChange)
{
    PreferencesStore store(path(), Saving::Written);
    store.prefWrite("n", 1);
    EXPECT_FALSE(fileExists(path()));
    EXPECT_TRUE(waitUntil([&] { return fileExists(path()); }));
    EXPECT_EQ(onDisk(), QVariantMap({{"n", qlonglong{1}}}));
}

TEST_F(PreferencesFileTest, IsPutAsideWhenDamaged)
{
    for (const QByteArray &bytes :
         {QByteArray("garbage"), QByteArray(), QByteArray("<plist><array/></plist>")}) {
        write(path(), bytes);
        {
            const PreferencesStore reader(path(), Saving::ReadOnly);
            EXPECT_FALSE(reader.prefsSnapshot().has_value());
            EXPECT_TRUE(fileExists(path())) << "a reader leaves the disk alone";
        }
        const PreferencesStore store(path(), Saving::Written);
        EXPECT_FALSE(store.prefsSnapshot().has_value());
        EXPECT_FALSE(fileExists(path()));
        EXPECT_EQ(QFileInfo(path() + ".damaged").size(), bytes.size());
    }
}

TEST_F(PreferencesFileTest, ThatCannotBeWrittenLeavesTheValuesInMemory)
{
    make("Library");
    PreferencesStore store(path(), Saving::Written);
    store.prefWrite("n", 1);
    EXPECT_FALSE(store.synchronize());
    EXPECT_EQ(store.prefReadString("n"), "1");
}

TEST(ColorText, HasExactlyFourComponentsFromZeroToOne)
{
    const auto color = colorFromText("0.80,7,-1, x");
    ASSERT_TRUE(color.has_value());
    EXPECT_EQ(colorText(*color), "0.80,1.00,0.00,0.00");
    for (const char *text : {"", "1,1,1", "1,1,1,1,1", "white"}) {
        EXPECT_FALSE(colorFromText(text).has_value()) << text;
    }
}

TEST(PreferencesStore, ResettingPutsEveryDefaultBackAndKeepsTheRest)
{
    PreferencesStore store;
    store.prefWrite("prefLimitMed", 3);
    store.prefWrite("NSNavPanel", 1);
    EXPECT_TRUE(store.prefsResetAll());
    EXPECT_EQ(store.prefRead("prefLimitMed"), PreferencesStore::prefsDefaults()["prefLimitMed"]);
    EXPECT_EQ(store.prefRead("NSNavPanel"), QVariant(1));
}
