#include "settings/preferences_store.h"

#include "common/wait_until.h"
#include "settings/color_text.h"
#include "support/files_fixture.h"
#include "support/property_list.h"

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
    for (const QVariant &nothing : {QVariant(), QVariant(""), QVariant(QString())}) {
        EXPECT_FALSE(store.prefWriteChildDico(parent, a, nothing));
        EXPECT_FALSE(store.prefWrite(b, nothing));
    }
    store.prefWrite(parent, "text");
    EXPECT_TRUE(store.prefWriteChildDico(parent, a, 1)) << "over a parent that is none";
    EXPECT_EQ(store.prefRead(parent).toMap(), QVariantMap({{"a", 1}}));
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
            EXPECT_EQ(reader.damagedFile(), path());
        }
        const PreferencesStore store(path(), Saving::Written);
        EXPECT_FALSE(store.prefsSnapshot().has_value());
        EXPECT_FALSE(fileExists(path()));
        EXPECT_EQ(QFileInfo(path() + ".damaged").size(), bytes.size());
    }
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
