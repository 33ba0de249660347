#include "common/test_bundle.h"
#include "shell/bug_report.h"
#include "support/localized_strings.h"

#include <QUrlQuery>

#include <gtest/gtest.h>

using namespace qv;

namespace
{

class BugReport : public testing::Test
{
protected:
    BugReport()
    {
        setLocalizationBundle(Bundle::main());
        setLocalizationTable("Localized");
    }
    ~BugReport() override { setLanguage(QString()); }
    TestBundle m_bundle{TestBundle::Ffmpeg::None};
};

QString bodyOf(const QUrl &mail)
{
    return QUrlQuery(mail).queryItemValue("body", QUrl::FullyDecoded);
}

} // namespace

TEST_F(BugReport, TellsTheFactsInTheUsersLanguage)
{
    for (const char *code : {"en", "fr"}) {
        setLanguage(code);
        const BugReportFacts facts{
            "Quorvantel 1.0",         "ffmpeg version 5.1", 5.1F, "Debian & Co", 4,
            "/home/a b/Library/Logs", {"ICOD", "APCH"}};
        const QUrl mail = bugReportMail(facts);
        EXPECT_EQ(mail.scheme(), "mailto");
        EXPECT_EQ(mail.path(), "support@quorvantel.example");
        EXPECT_TRUE(mail.toEncoded().contains("%0D%0A"));
        for (const char *fact : {"Quorvantel 1.0", "ffmpeg version 5.1", "ffRevision 5.1",
                                 "Debian & Co, 4", "/home/a b/Library/Logs", "ICOD, APCH"}) {
            EXPECT_TRUE(bodyOf(mail).contains(fact)) << bodyOf(mail).toStdString();
        }
        EXPECT_FALSE(bodyOf(mail).contains("bug")) << "a key without words";
    }
}

TEST_F(BugReport, StaysShortAndWholeWhateverTheFacts)
{
    const QString long1 = QString::fromUtf8("é&=?#%\n漢\U0001F3AC").repeated(500);
    for (const char *code : {"en", "fr"}) {
        setLanguage(code);
        const QUrl mail = bugReportMail({long1, long1, 1e30F, long1, 1'000'000, long1, {long1}});
        EXPECT_TRUE(mail.isValid());
        EXPECT_LT(mail.toEncoded().size(), 2000) << code;
        EXPECT_EQ(QUrlQuery(mail).queryItems().size(), 2);
        EXPECT_FALSE(bodyOf(mail).contains(QChar::ReplacementCharacter));
    }
}
