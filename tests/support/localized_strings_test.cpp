#include "support/localized_strings.h"

#include "support/property_list.h"

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
        setLanguage("en");
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

TEST_F(LocalizedStrings, EveryLanguageHasEveryWordWithItsPlaceholders)
{
    for (const char *name : {"Localized", "fields"}) {
        const QVariantMap english = table("en", name);
        const QVariantMap french = table("fr", name);
        EXPECT_FALSE(english.isEmpty());
        EXPECT_EQ(english.keys(), french.keys());
        for (const QString &key : english.keys()) {
            const QString word = english.value(key).toString();
            const QString translated = french.value(key).toString();
            EXPECT_FALSE(word.trimmed().isEmpty()) << key.toStdString();
            EXPECT_FALSE(translated.trimmed().isEmpty()) << key.toStdString();
            EXPECT_EQ(word.count(u'%'), translated.count(u'%')) << key.toStdString();
        }
    }
}

TEST_F(LocalizedStrings, LookUpFollowsTheLanguage)
{
    EXPECT_EQ(localized("D_Annuler"), "Cancel");
    EXPECT_EQ(localized("TFF", "fields"), "top field first");
    setLanguage("fr");
    EXPECT_EQ(localized("D_Annuler"), "Annuler");
    setLanguage("eo");
    EXPECT_TRUE(language() == "en" || language() == "fr") << "one that has tables";
}

TEST_F(LocalizedStrings, AMissingKeyShowsItself)
{
    EXPECT_EQ(localized("noSuchKey"), "noSuchKey");
    EXPECT_EQ(localized("width", "no/such/table"), "width");
    Bundle::setMain(Bundle("/nowhere/Other.app"));
    EXPECT_EQ(localized("D_Annuler"), "D_Annuler");
}

} // namespace
