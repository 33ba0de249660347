// Every kind of source that people have, through the command as it is built.

#include "media/results_table.h"

#include <QFile>
#include <QRegularExpression>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <iostream>

namespace
{

constexpr double roundedTo = 0.001; // seconds, of instants in JSON

// "16:9"; 0 for anything else
double ratioOf(const QString &text)
{
    const QStringList parts = text.split(u':');
    const double divisor = parts.value(1).toDouble();
    return divisor > 0 ? parts.first().toDouble() / divisor : 0;
}

Sources walkedSources()
{
    Sources walked;
    for (const Source &source : allSources()) {
        if (!source.companion) {
            walked.push_back(source);
        }
    }
    return walked;
}

// "v1_width" as `v*_width` or `v0_width`.
bool isDocumented(const QString &key)
{
    static const QByteArray document = [] {
        QFile file(QStringLiteral(QV_RECORD_DOCUMENT));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }();
    static const QRegularExpression number(QStringLiteral("^([vas])\\d+_"));
    const QString any = QString(key).replace(number, "\\1*_");
    const QString first = QString(key).replace(number, "\\1"
                                                       "0_");
    return document.contains('`' + any.toLatin1() + '`') ||
           document.contains('`' + first.toLatin1() + '`');
}

// Letters and digits of the title, all else as "_".
std::string testName(const testing::TestParamInfo<Source> &info)
{
    std::string name = titleOf(info.param).toStdString();
    for (char &c : name) {
        c = std::isalnum(static_cast<unsigned char>(c)) != 0 && (c & 0x80) == 0 ? c : '_';
    }
    return name;
}

// Whether a test that is to run is of the theme.
bool isWanted(const QByteArray &theme)
{
    const testing::UnitTest &tests = *testing::UnitTest::GetInstance();
    const std::string prefix = '/' + theme.toStdString() + '_';
    for (int i = 0; i < tests.total_test_suite_count(); ++i) {
        const testing::TestSuite &suite = *tests.GetTestSuite(i);
        for (int j = 0; j < suite.total_test_count(); ++j) {
            const testing::TestInfo &test = *suite.GetTestInfo(j);
            if (test.should_run() && std::string(test.name()).find(prefix) != std::string::npos) {
                return true;
            }
        }
    }
    return false;
}

} // namespace

const Walk &theWalk()
{
    static const Walk walk([] {
        QStringList themes;
        for (const Source &source : allSources()) {
            const QString theme = QString::fromUtf8(themeOf(source));
            if (!themes.contains(theme) && isWanted(themeOf(source))) {
                themes.append(theme);
            }
        }
        return themes;
    }());
    return walk;
}

namespace
{

std::string textOf(const Seen &seen, const char *key)
{
    return seen.record.value(QLatin1String(key)).toString().toStdString();
}

} // namespace

class MediaCorpus : public testing::TestWithParam<Source>
{
protected:
    void expectRefusal() const
    {
        EXPECT_FALSE(m_seen.isRow());
        EXPECT_THAT(m_seen.reason.toStdString(), testing::HasSubstr(m_expect.refusal));
    }

    void expectRecord() const
    {
        const std::string size = textOf(m_seen, "v0_width") + 'x' + textOf(m_seen, "v0_height");
        EXPECT_EQ(size, m_expect.size != nullptr ? m_expect.size : m_source.picture.size);
        const double seconds = m_expect.seconds < 0 ? m_source.picture.seconds : m_expect.seconds;
        EXPECT_NEAR(m_seen.record.value("w_duration").toDouble(), seconds, 1.01);
        EXPECT_EQ(m_seen.hasWrongColours, m_seen.record.contains("v0_noBase"));
        EXPECT_NEAR(m_seen.duration, m_seen.record.value("w_duration").toDouble(), 1);
        for (auto it = m_seen.record.begin(); it != m_seen.record.end(); ++it) {
            EXPECT_TRUE(isDocumented(it.key())) << it.key().toStdString();
        }
        if (m_expect.dar != nullptr) {
            const double dar = ratioOf(m_seen.record.value("v0_dar").toString());
            EXPECT_NEAR(dar / ratioOf(QLatin1String(m_expect.dar)), 1, 0.01)
                << textOf(m_seen, "v0_dar");
        }
        if (m_expect.fields != nullptr) {
            EXPECT_EQ(textOf(m_seen, "v0_fields"), m_expect.fields);
        }
        for (const QString &key :
             QString::fromLatin1(m_expect.keys).split(u' ', Qt::SkipEmptyParts)) {
            EXPECT_TRUE(m_seen.record.contains(key)) << key.toStdString();
        }
    }

    void expectCells()
    {
        EXPECT_GE(m_seen.drawn, m_expect.cells);
        if (m_source.picture.clock) {
            expectClocks(m_seen, m_expect.within);
        }
    }

    // What the pictures show, against their instants.
    void expectClocks(const Seen &seen, double within)
    {
        int strays = 0;
        std::string told;
        for (const SeenCell &cell : cellsOf(seen, m_source.picture.tick)) {
            const double due = cell.stamp + m_expect.clockStart;
            told += std::to_string(due) + " -> " +
                    (cell.clock ? std::to_string(*cell.clock) : "unreadable") + '\n';
            const double distance = cell.clock ? std::abs(*cell.clock - due) : INFINITY;
            strays += distance > within ? 1 : 0;
            if (cell.clock) {
                m_farthest = std::max(m_farthest.value_or(0), distance);
            }
        }
        EXPECT_LE(strays, m_expect.strays) << told;
    }

    // How far the pictures are from the frames that their instants name, seconds.
    double offFrame(const Seen &seen) const
    {
        const double tick = m_source.picture.tick;
        double off = 0;
        for (const SeenCell &cell : cellsOf(seen, tick)) {
            const double into = cell.stamp + m_expect.clockStart - cell.clock.value_or(0);
            off = cell.clock ? std::max({off, -into, into - tick}) : off;
        }
        return off;
    }

    // The blocks as they were drawn, and the same on both roads.
    void expectColours(const Seen &quick) const
    {
        const std::vector<SeenCell> exactCells = cellsOf(m_seen, m_source.picture.tick);
        const std::vector<SeenCell> quickCells = cellsOf(quick, m_source.picture.tick);
        for (std::size_t i = 0; i < std::min(exactCells.size(), quickCells.size()); ++i) {
            const SeenColours &exact = exactCells[i].colours;
            const SeenColours &other = quickCells[i].colours;
            expectNear(exact.red, other.red, 4);
            expectNear(exact.grey, other.grey, 4);
            expectNear(exact.red, QColor("#ff0000"), 8);
            expectNear(exact.grey, QColor(m_expect.grey), 8);
        }
    }

    static void expectNear(const QColor &seen, const QColor &expected, int off)
    {
        const int distance = std::max({std::abs(seen.red() - expected.red()),
                                       std::abs(seen.green() - expected.green()),
                                       std::abs(seen.blue() - expected.blue())});
        EXPECT_LE(distance, off) << seen.name().toStdString() << " instead of "
                                 << expected.name().toStdString();
    }

    void TearDown() override
    {
        if (m_isListed) {
            ResultsTable::instance().add(m_source, m_seen, m_farthest, !HasFailure());
        }
    }

    const Source &m_source = GetParam();
    const Expectation &m_expect = m_source.expect;
    Seen m_seen = theWalk().of(m_source);
    std::optional<double> m_farthest;
    bool m_isListed = false; // in the table
};

TEST_P(MediaCorpus, BecomesWhatItShould)
{
    m_isListed = true;
    ASSERT_TRUE(m_seen.isTold) << "the command said nothing of it";
    if (m_expect.refusal != nullptr) {
        expectRefusal();
        return;
    }
    ASSERT_EQ(m_seen.status.toStdString(), "made") << m_seen.reason.toStdString();
    expectRecord();
    expectCells();
}

TEST_P(MediaCorpus, IsTheSameToTheQuickToolAndItsPicturesAreOfTheirStamps)
{
    const Seen quick = theWalk().quickOf(m_source);
    EXPECT_EQ(quick.status.toStdString(), m_seen.status.toStdString())
        << quick.reason.toStdString();
    EXPECT_EQ(quick.record, m_seen.record);
    EXPECT_EQ(quick.duration, m_seen.duration);
    EXPECT_EQ(quick.damage.toStdString(), m_seen.damage.toStdString());
    if (quick.isRow()) {
        EXPECT_GE(quick.drawn, m_seen.drawn);
        if (m_source.picture.clock) {
            expectClocks(quick, m_expect.within);
            if (m_expect.strays == 0) {
                expectColours(quick);
            }
            if (m_expect.strays == 0 && quick.road == "quick") {
                EXPECT_LE(offFrame(quick), m_expect.offFrame + roundedTo);
            }
            if (m_expect.strays == 0) {
                constexpr double twoFrames =
                    0.08; // container times are coarse, seeks in hundredths
                EXPECT_LE(offFrame(m_seen), std::max(m_expect.offFrame, twoFrames) + roundedTo);
            }
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Sources, MediaCorpus, testing::ValuesIn(walkedSources()), testName);

// The files are made and the command runs to its end over every theme.
TEST(MediaWalk, RunsToItsEnd)
{
    EXPECT_EQ(theWalk().problems().join(u'\n').toStdString(), "");
}

namespace
{

class WrittenTable : public testing::Environment
{
public:
    void TearDown() override
    {
        const QString path = QStringLiteral(QV_MEDIA_RESULTS);
        EXPECT_TRUE(ResultsTable::instance().write(path));
        std::cout << "table of results: " << path.toStdString() << std::endl;
    }
};

const testing::Environment *const writtenTable =
    testing::AddGlobalTestEnvironment(new WrittenTable);

} // namespace
