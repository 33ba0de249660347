#include "common/test_bundle.h"
#include "shell/bug_report.h"
#include "support/localized_strings.h"

#include <QUrlQuery>

#include <gtest/gtest.h>

using namespace qv;

namespace
{

QString bodyOf(const QUrl &mail)
{
    return QUrlQuery(mail).queryItemValue("body", QUrl::FullyDecoded);
}

} // namespace

TEST(BugReport, TellsTheFactsInTheUsersLanguageAndStaysShortWhateverTheyAre)
{
    const TestBundle bundle(TestBundle::Ffmpeg::None);
    const QString endless = QString::fromUtf8("é&=?#%\n漢\U0001F3AC").repeated(500);
    for (const char *code : {"en", "fr"}) {
        setLanguage(code);
        const QUrl mail = bugReportMail({"Quorvantel 1.0",
                                         "ffmpeg version 5.1",
                                         5.1F,
                                         "Debian & Co",
                                         4,
                                         "/home/a b/Logs",
                                         {"ICOD", "APCH"}});
        EXPECT_TRUE(mail.toEncoded().startsWith("mailto:support@quorvantel.example?subject="));
        EXPECT_TRUE(mail.toEncoded().contains("%0D%0A"));
        for (const char *fact : {"Quorvantel 1.0", "ffmpeg version 5.1", "ffRevision 5.1",
                                 "Debian & Co, 4", "/home/a b/Logs", "ICOD, APCH"}) {
            EXPECT_TRUE(bodyOf(mail).contains(fact)) << bodyOf(mail).toStdString();
        }
        EXPECT_FALSE(bodyOf(mail).contains("bug")) << "a key without words";
        const QUrl full =
            bugReportMail({endless, endless, 1e30F, endless, 1'000'000, endless, {endless}});
        EXPECT_LT(full.toEncoded().size(), 2000) << code;
        EXPECT_EQ(QUrlQuery(full).queryItems().size(), 2);
        EXPECT_FALSE(bodyOf(full).contains(QChar::ReplacementCharacter));
    }
}
