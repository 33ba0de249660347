#include "shell/reason_text.h"

#include "common/test_bundle.h"
#include "support/localized_strings.h"
#include "support/property_list.h"

#include <QVariantMap>

#include <gtest/gtest.h>

using namespace qv;

TEST(ReasonText, SpeaksTheUsersLanguage)
{
    const TestBundle bundle(TestBundle::Ffmpeg::None);
    const QString unknown = "moov: something new";
    setLanguage("en");
    EXPECT_EQ(reasonText("no video"), "no video");
    setLanguage("fr");
    EXPECT_EQ(reasonText("no video"), "pas de vidéo");
    EXPECT_EQ(reasonText(unknown), unknown);
    EXPECT_EQ(reasonText("ffmpeg ended with exit status 183 and printed nothing"),
              "ffmpeg s’est terminé avec le code 183 et n’a rien affiché");
    EXPECT_EQ(reasonText("the sheet can't be written: /a/%2 %1.jpg"),
              "la planche ne peut pas être écrite\u00a0: /a/%2 %1.jpg");
    EXPECT_EQ(reasonText("the server at v1.5.org did not answer for 1.5 s"),
              "le serveur v1.5.org n’a pas répondu pendant 1,5 s");
    setLanguage("en");
}

// A translation that loses a name or number would say less than the original.
TEST(ReasonText, EveryTranslationKeepsItsPlaces)
{
    const TestBundle bundle(TestBundle::Ffmpeg::None);
    const auto table =
        readPropertyList(Bundle::main().resourcePath() + "/fr.lproj/reasons.strings");
    ASSERT_TRUE(table);
    const QVariantMap reasons = table->toMap();
    ASSERT_GT(reasons.size(), 30);
    for (auto it = reasons.begin(); it != reasons.end(); ++it) {
        for (const char *place : {"%1", "%2", "%3"}) {
            EXPECT_EQ(it.key().count(place), it.value().toString().count(place))
                << qPrintable(it.key());
        }
    }
}
