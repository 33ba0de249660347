#include "updater/update_reply.h"

#include <gtest/gtest.h>

using namespace qv;

TEST(UpdateReply, IsReadAsTheServerMeantIt)
{
    const struct {
        const char *what;
        QString reply;
        QVariantMap records;
    } cases[] = {
        {"two records and noise between",
         "<html><key>version</key> \n<value>2.0</value>, "
         "<key>dlPath</key><value>a.zip</value></html>",
         {{"version", "2.0"}, {"dlPath", "a.zip"}}},
        {"the last of one name",
         "<key>v</key><value>1</value><key>v</key><value>2</value>",
         {{"v", "2"}}},
        {"a value that never ends",
         "<key>v</key><value>1 <key>w</key><value>2</value>",
         {{"v", "1 "}, {"w", "2"}}},
        {"a name that never ends",
         "<key>v<value>1</value><key>w</key><value>2</value>",
         {{"w", "2"}}},
        {"no value", "<key>v</key><key>w</key><value></value>", {{"w", ""}}},
        {"a value before its name", "<key><value>1</value>v</key>", {{"<value>1</value>v", "1"}}},
        {"two values", "<key>v</key><value>1</value><value>2</value>", {{"v", "1"}}},
        {"before the first record",
         "w</key><value>0</value><key>v</key><value>1</value>",
         {{"w", "0"}, {"v", "1"}}},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(parseUpdateReply(c.reply), c.records) << c.what;
    }
}

TEST(UpdateReply, OffersWhatIsNewerAndRunsHere)
{
    const struct {
        QVariantMap reply;
        const char *running;
        float system;
        bool offered;
    } cases[] = {
        {{{"version", "1.1"}}, "1.0", 6.1F, true},
        {{{"version", "1.0"}}, "1.0", 6.1F, false},
        {{{"version", "1.0"}}, "1.0.0", 6.1F, false},
        {{{"version", "0.9"}}, "1.0", 6.1F, false},
        {{{"version", "1.10"}}, "1.9", 6.1F, false},
        {{{"version", "2.0"}, {"systemVersionMin", "6.01"}}, "1.0", 6.01F, true},
        {{{"version", "2.0"}, {"systemVersionMin", "6.02"}}, "1.0", 6.01F, false},
        {{{"version", "soon"}}, "1.0", 6.1F, false},
        {{{"version", "nan"}}, "1.0", 6.1F, false},
        {{}, "1.0", 6.1F, false},
        {{{"version", "0.1"}}, "", 6.1F, true},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(offersNewerVersion(c.reply, c.running, c.system), c.offered)
            << qPrintable(c.reply.value("version").toString()) << " for " << c.running;
    }
    EXPECT_EQ(shownVersionNumber("1.0.0"), "1.0");
    EXPECT_EQ(shownVersionNumber("2.31"), "2.31");
}
