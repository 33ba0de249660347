#include "settings/panel_mapping.h"

#include "support/files_fixture.h"
#include "support/log.h"

#include <QMap>

using namespace qv;

namespace
{

const QString destination = QStringLiteral("prefDefautDstPathStr");

// Remembers what it was set to and in which order it was asked.
class RecordingPanel : public PreferencesPanel
{
public:
    QString destinationText() const override { return read(destination).toString(); }
    void setDestinationText(const QString &text) override { write(destination, text); }
    int selectedSegment(const QString &key) const override { return read(key).toInt(); }
    void selectSegment(const QString &key, int segment) override { write(key, segment); }
    QString selectedCount(const QString &key) const override { return read(key).toString(); }
    void selectCount(const QString &key, const QString &title) override { write(key, title); }
    ColorComponents wellColor(const QString &key) const override
    {
        read(key);
        return colors.value(key);
    }
    void setWellColor(const QString &key, const ColorComponents &color) override
    {
        visited.append(key);
        colors[key] = color;
    }
    double borderSize() const override { return read("prefBorderSize").toDouble(); }
    void setBorderSize(double points) override { write("prefBorderSize", points); }
    bool isChecked(const QString &key) const override { return read(key).toBool(); }
    void setChecked(const QString &key, bool checked) override { write(key, checked); }

    QVariantMap values;
    QMap<QString, ColorComponents> colors;
    mutable QStringList visited;

private:
    QVariant read(const QString &key) const
    {
        visited.append(key);
        return values.value(key);
    }
    void write(const QString &key, const QVariant &value)
    {
        visited.append(key);
        values.insert(key, value);
    }
};

class PanelMappingTest : public FilesTest
{
protected:
    QVariantMap shown(const QVariantMap &stored)
    {
        prefs2GuiAppky(m_panel, stored);
        return prefs2GuiAppky(m_panel, std::nullopt);
    }
    QString shownFolder(const QVariant &stored)
    {
        prefs2GuiAppky(m_panel, QVariantMap{{destination, stored}});
        return m_panel.values.value(destination).toString();
    }

    RecordingPanel m_panel;
};

} // namespace

TEST_F(PanelMappingTest, VisitsEverySettingOnceInOneOrder)
{
    const QStringList order{"prefDefautDstPathStr",
                            "prefColor",
                            "prefCheckMatrix",
                            "prefDpi",
                            "prefLimitMix",
                            "prefLimitMin",
                            "prefLimitMed",
                            "prefLimitBig",
                            "prefBorderColor",
                            "pageBkgColor",
                            "prefBorderSize",
                            "pageEssence",
                            "pagePoids",
                            "pageVIdentity",
                            "pageDuration",
                            "pageDate",
                            "pageLocation",
                            "pageName",
                            "prefTimecode",
                            "update"};
    prefs2GuiAppky(m_panel, QVariantMap());
    EXPECT_EQ(m_panel.visited, order);
    m_panel.visited.clear();
    const QVariantMap read = prefs2GuiAppky(m_panel, std::nullopt);
    EXPECT_EQ(m_panel.visited, order);
    EXPECT_EQ(read.keys(), PreferencesStore::prefsDefaults().keys());
}

TEST_F(PanelMappingTest, ShowsTheDefaultOfWhatIsMissingAndReadsItBack)
{
    EXPECT_EQ(shown({}), PreferencesStore::prefsDefaults());
}

TEST_F(PanelMappingTest, ReadsBackWhatWasStored)
{
    struct Row {
        const char *key;
        QVariant stored;
        QVariant read;
    };
    const QList<Row> rows{
        {"prefColor", 2, 2},
        {"prefColor", "3", 3},
        {"prefCheckMatrix", 0, 0},
        {"prefDpi", 1, 1},
        {"prefLimitMin", 48, 48},
        {"prefLimitMin", "54", 54},
        {"prefBorderSize", 2.5, 2.5},
        {"prefBorderSize", QVariantList{1}, 0.0},
        {"pageDate", 7, 1},
        {"pageName", 0, 0},
        {"pageName", "no", 0},
        {"update", 1, 1},
        {"update", 2, 0},
        {"prefBorderColor", "0.10,0.20,0.30,0.40", "0.10,0.20,0.30,0.40"},
    };
    for (const Row &row : rows) {
        EXPECT_EQ(shown({{row.key, row.stored}}).value(row.key), row.read)
            << row.key << " " << row.stored.toString().toStdString();
    }
}

TEST_F(PanelMappingTest, LeavesTheWellAloneWhenTheTextIsNoColour)
{
    m_panel.colors["prefBorderColor"] = {0.5, 0.25, 0, 1};
    for (const QVariant &broken :
         {QVariant("0.5,0.5,0.5"), QVariant(""), QVariant(3), QVariant(QVariantMap())}) {
        EXPECT_EQ(shown({{"prefBorderColor", broken}}).value("prefBorderColor"),
                  "0.50,0.25,0.00,1.00");
    }
}

TEST_F(PanelMappingTest, ShowsTheFolderThatHoldsOurOwn)
{
    const QString standard =
        PreferencesStore::prefsDefaults().value("prefDefautDstPathStr").toString();
    QDir().mkpath(at("films/Quorvantel"));
    make("file");
    const QList<QPair<QVariant, QString>> rows{
        {at("films"), at("films")},
        {at("films/"), at("films/")},
        {at("films/Quorvantel"), at("films")},
        {at("films/ofQuorvantel"), at("films")},
        {at("gone"), standard},
        {at("gone/Quorvantel"), standard},
        {at("file"), standard},
        {"/Quorvantel", "/"},
        {"Quorvantel", standard},
        {"", standard},
        {"~", "~"},
        {12, standard},
    };
    for (const auto &[stored, expected] : rows) {
        EXPECT_EQ(shownFolder(stored), expected) << stored.toString().toStdString();
    }
}

TEST_F(PanelMappingTest, TracesColoursAndBorderWhenDebugging)
{
    setDebug(true);
    shown({{"prefBorderSize", 3.0}});
    setDebug(false);
    EXPECT_TRUE(m_log.contains("set Color prefBorderColor : 0.80,0.80,0.80,1.00"));
    EXPECT_TRUE(m_log.contains("get Color pageBkgColor : 1.00,1.00,1.00,1.00"));
    EXPECT_TRUE(m_log.contains("prefBorderSize      : 3"));
}
