#include "support/localized_strings.h"

#include "support/property_list.h"

#include <QDir>

#include <gtest/gtest.h>

using namespace qv;

namespace
{

const QString bundlePath = QStringLiteral(QV_TEST_BUNDLE);

class LocalizedStrings : public testing::Test
{
protected:
    void SetUp() override
    {
        Bundle::setMain(Bundle(bundlePath));
        setLanguage(QStringLiteral("en"));
    }
    void TearDown() override { setLanguage({}); }
};

QVariantMap table(const QString &language, const QString &name)
{
    const auto content =
        readPropertyList(QStringLiteral("%1/Contents/Resources/%2.lproj/%3.strings")
                             .arg(bundlePath, language, name));
    return content ? content->toMap() : QVariantMap();
}

TEST_F(LocalizedStrings, EveryLanguageHasEveryWord)
{
    for (const QString &name : {QStringLiteral("Localized"), QStringLiteral("fields")}) {
        const QVariantMap english = table(QStringLiteral("en"), name);
        const QVariantMap french = table(QStringLiteral("fr"), name);
        EXPECT_FALSE(english.isEmpty());
        EXPECT_EQ(english.keys(), french.keys());
        for (const QVariantMap &words : {english, french}) {
            for (auto it = words.begin(); it != words.end(); ++it) {
                EXPECT_FALSE(it.value().toString().trimmed().isEmpty()) << it.key().toStdString();
            }
        }
    }
}

TEST_F(LocalizedStrings, PlaceholdersAreTheSameInEveryLanguage)
{
    const QVariantMap english = table(QStringLiteral("en"), QStringLiteral("Localized"));
    const QVariantMap french = table(QStringLiteral("fr"), QStringLiteral("Localized"));
    for (auto it = english.begin(); it != english.end(); ++it) {
        EXPECT_EQ(it.value().toString().count(u'%'), french.value(it.key()).toString().count(u'%'))
            << it.key().toStdString();
    }
}

TEST_F(LocalizedStrings, LookUpFollowsTheLanguage)
{
    EXPECT_EQ(localized(QStringLiteral("D_Annuler")), QStringLiteral("Cancel"));
    EXPECT_EQ(localized(QStringLiteral("TFF"), QStringLiteral("fields")),
              QStringLiteral("top field first"));
    setLanguage(QStringLiteral("fr"));
    EXPECT_EQ(localized(QStringLiteral("D_Annuler")), QStringLiteral("Annuler"));
    EXPECT_EQ(localized(QStringLiteral("D_Langue")), language());
}

TEST_F(LocalizedStrings, AMissingKeyShowsItself)
{
    EXPECT_EQ(localized(QStringLiteral("noSuchKey")), QStringLiteral("noSuchKey"));
    EXPECT_EQ(localized(QStringLiteral("width"), QStringLiteral("no/such/table")),
              QStringLiteral("width"));
    Bundle::setMain(Bundle(QStringLiteral("/nowhere/Other.app")));
    EXPECT_EQ(localized(QStringLiteral("D_Annuler")), QStringLiteral("D_Annuler"));
}

TEST_F(LocalizedStrings, OnlyTextsThatBeginWithTheMarkerAreReplaced)
{
    setLocalizationBundle(Bundle(bundlePath));
    setLocalizationTable(QStringLiteral("Localized"));
    struct {
        const char *text;
        const char *expected;
        bool replaced;
    } const cases[] = {{"@@menuQuit", "Quit", true},
                       {"menuQuit", "menuQuit", false},
                       {" @@menuQuit", " @@menuQuit", false},
                       {"@@noSuchKey", "noSuchKey", true},
                       {"@@", "", true}};
    for (const auto &[text, expected, replaced] : cases) {
        const LocalizedText result = localizeText(QString::fromLatin1(text));
        EXPECT_EQ(result.text, QString::fromLatin1(expected));
        EXPECT_EQ(result.replaced, replaced) << text;
    }
}

TEST_F(LocalizedStrings, CapitalizesEachWordAndLeavesTheRest)
{
    EXPECT_EQ(capitalized(QStringLiteral("top field  FIRST")), QStringLiteral("Top Field  FIRST"));
    EXPECT_EQ(capitalized(QStringLiteral("éléments")), QStringLiteral("Éléments"));
    EXPECT_EQ(capitalized(QString()), QString());
    EXPECT_EQ(localizedCapitalized(QStringLiteral("width")), QStringLiteral("Width"));
}

TEST_F(LocalizedStrings, AnUnknownLanguageFallsBackToOneThatHasTables)
{
    setLanguage(QStringLiteral("eo"));
    EXPECT_TRUE(language() == QStringLiteral("en") || language() == QStringLiteral("fr"));
}

} // namespace
