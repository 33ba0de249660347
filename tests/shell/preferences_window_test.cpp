#include "shell/preferences_window.h"

#include "common/folder_test.h"
#include "common/test_bundle.h"
#include "common/wait_until.h"
#include "process/tool_environment.h"
#include "support/files.h"
#include "support/localized_strings.h"

#include <QAbstractItemView>
#include <QColorDialog>
#include <QScrollBar>
#include <QTest>

using namespace qv;

namespace
{

const QString destination = QStringLiteral("prefDefautDstPathStr");

class PreferencesWindowTest : public FolderTest
{
protected:
    PreferencesWindowTest()
    {
        setTemporaryFolder(path("tmp"));
        QDir().mkpath(path("films"));
        m_store.prefsWriteAll(stored());
        m_window.showStored(m_store.prefsSnapshot());
        m_window.checkForUpdates = [this] { ++m_checks; };
        QObject::connect(&m_window, &PreferencesWindow::saved, [this] { ++m_saves; });
    }
    ~PreferencesWindowTest() override { setTemporaryFolder(QString()); }

    // Different from the default in every setting.
    QVariantMap stored() const
    {
        return {{"prefColor", 0},
                {"prefCheckMatrix", 2},
                {"prefDpi", 1},
                {"pageBkgColor", "0.10,0.20,0.30,0.50"},
                {"prefBorderColor", "0.00,0.50,1.00,0.25"},
                {"prefBorderSize", 2.3},
                {"prefLimitBig", 10},
                {"prefLimitMed", 21},
                {"prefLimitMin", 60},
                {"prefLimitMix", 18},
                {"prefTimecode", 0},
                {"pageName", 0},
                {"pageLocation", 1},
                {"pageDate", 1},
                {"pageDuration", 0},
                {"pageVIdentity", 0},
                {"pagePoids", 0},
                {"pageEssence", 0},
                {"update", 1},
                {"prefRefuseDamaged", 1},
                {destination, path("films")}};
    }

    QVariantMap values() { return prefs2GuiAppky(m_window, std::nullopt); }
    const PreferencesControls &controls() const { return m_window.controls(); }

    void open()
    {
        m_main.show();
        m_window.iba_menuPref();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&m_window));
    }
    static void click(SegmentedControl *control, int segment)
    {
        QTest::mouseClick(control->findChildren<QAbstractButton *>().at(segment), Qt::LeftButton);
    }
    void clickSegment(const QString &key, int segment)
    {
        click(controls().segments.value(key), segment);
    }
    void clickBox(const QString &key)
    {
        QTest::keyClick(controls().switches.value(key), Qt::Key_Space);
    }
    // Another value in every control, as a user gives it.
    void changeAll()
    {
        controls().destination->setText(path("gone"));
        clickSegment("prefColor", 1);
        clickSegment("prefCheckMatrix", 0);
        clickSegment("prefDpi", 0);
        controls().borderSlider->setValue(4);
        for (QComboBox *menu : controls().counts) {
            QTest::keyClick(menu, Qt::Key_Down);
        }
        clickBox("update");
    }

    TestBundle m_bundle{TestBundle::Ffmpeg::None};
    PreferencesStore m_store;
    QWidget m_main;
    PreferencesWindow m_window{m_store, &m_main};
    int m_saves = 0;
    int m_checks = 0;
};

} // namespace

TEST_F(PreferencesWindowTest, ShowsEveryStoredValueAndReadsItBack)
{
    EXPECT_EQ(values(), stored());
    m_window.showStored(std::nullopt);
    EXPECT_EQ(values(), PreferencesStore::prefsDefaults());
}

TEST_F(PreferencesWindowTest, MakesSenseOfValuesThatNoControlHas)
{
    const struct {
        const char *key;
        QVariant stored;
        QVariant shown;
    } rows[] = {
        {"prefColor", 9, 0},         {"prefColor", -1, 0},        {"prefCheckMatrix", 7, 1},
        {"prefDpi", 5, 1},           {"prefDpi", -3, 1},          {"prefBorderSize", 1e9, 10.0},
        {"prefBorderSize", -2, 0.0}, {"prefLimitMin", 47, 47},    {"prefLimitMin", 0, 48},
        {"prefLimitMin", 2e9, 48},   {"prefLimitMin", "many", 48}};
    for (const auto &row : rows) {
        m_window.showStored(QVariantMap{{row.key, row.stored}});
        EXPECT_EQ(values().value(row.key), row.shown)
            << row.key << row.stored.toString().toStdString();
    }
    m_window.showStored(stored());
    for (const QVariant &broken :
         {QVariant("0.5,0.5,0.5"), QVariant(""), QVariant(3), QVariant(QVariantMap())}) {
        m_window.showStored(QVariantMap{{"prefBorderColor", broken}});
        EXPECT_EQ(values().value("prefBorderColor"), "0.00,0.50,1.00,0.25") << "as it was";
    }
    m_window.showStored(QVariantMap{{"prefLimitMin", 47}});
    const QComboBox *menu = controls().counts.value("prefLimitMin");
    EXPECT_EQ(menu->itemText(menu->findText("47") + 1), "48") << "in its place";
}

TEST_F(PreferencesWindowTest, ShowsTheFolderThatHoldsOurOwn)
{
    const QString standard = PreferencesStore::prefsDefaults().value(destination).toString();
    QDir().mkpath(path("films/Quorvantel"));
    ASSERT_TRUE(ecritureFichier(path("file"), "x"));
    const QList<QPair<QVariant, QString>> rows{
        {path("films"), path("films")},
        {path("films/"), path("films/")},
        {path("films/Quorvantel"), path("films")},
        {path("films/ofQuorvantel"), path("films")},
        {path("gone"), standard},
        {path("gone/Quorvantel"), standard},
        {path("file"), standard},
        {"/Quorvantel", "/"},
        {"Quorvantel", standard},
        {"", standard},
        {"~", "~"},
        {12, standard},
    };
    for (const auto &[stored, expected] : rows) {
        m_window.showStored(QVariantMap{{destination, stored}});
        EXPECT_EQ(m_window.destinationText(), expected) << stored.toString().toStdString();
    }
}

TEST_F(PreferencesWindowTest, EachButtonEndsTheSheetInItsOwnWay)
{
    open();
    changeAll();
    const QVariantMap changed = values();

    constexpr int cancel = PreferencesWindow::cancelSegment;
    constexpr int reset = PreferencesWindow::resetSegment;
    constexpr int save = PreferencesWindow::saveSegment;
    const struct {
        QList<int> segments;
        bool changed;
        QVariantMap expected;
        int saves;
    } rows[] = {{{cancel}, true, stored(), 0},
                {{save}, false, stored(), 1},
                {{save}, true, changed, 1},
                {{reset, cancel}, true, stored(), 0},
                {{reset, save}, true, PreferencesStore::prefsDefaults(), 1}};
    for (const auto &row : rows) {
        m_window.showStored(stored());
        m_store.prefsWriteAll(stored());
        m_saves = m_checks = 0;
        m_window.iba_menuPref();
        if (row.changed) {
            changeAll();
        }
        for (const int segment : row.segments) {
            EXPECT_TRUE(m_window.isVisible());
            click(controls().buttons, segment);
        }
        EXPECT_EQ(values(), row.expected) << row.segments.last();
        EXPECT_EQ(m_store.prefsSnapshot(), row.expected) << row.segments.last();
        EXPECT_EQ(m_saves, row.saves);
        EXPECT_EQ(m_checks, row.saves);
        EXPECT_FALSE(m_window.isVisible());
    }
}

TEST_F(PreferencesWindowTest, EscapeAndClosingCancelAndReturnSaves)
{
    const auto changeAndLeave = [&](const std::function<void()> &leave) {
        open();
        controls().borderSlider->setValue(8);
        leave();
        EXPECT_FALSE(m_window.isVisible());
        return m_store.prefRead("prefBorderSize").toDouble();
    };
    QWidget *field = controls().destination->edit();
    EXPECT_EQ(changeAndLeave([&] { QTest::keyClick(field, Qt::Key_Escape); }), 2.3);
    EXPECT_EQ(m_window.borderSize(), 2.3);
    EXPECT_EQ(changeAndLeave([&] { m_window.close(); }), 2.3);
    EXPECT_EQ(changeAndLeave([&] {
                  QWidget *cancel = controls().buttons->findChild<QAbstractButton *>();
                  cancel->setFocus();
                  QTest::keyClick(cancel, Qt::Key_Return);
              }),
              2.3)
        << "of the button that has the focus";
    EXPECT_EQ(changeAndLeave([&] { QTest::keyClick(field, Qt::Key_Return); }), 4.0);
}

TEST_F(PreferencesWindowTest, ReturnInAnOpenMenuOnlyChooses)
{
    open();
    QComboBox *menu = controls().counts.value("prefLimitBig");
    menu->showPopup();
    QTest::keyClick(menu->view(), Qt::Key_Down);
    QTest::keyClick(menu->view(), Qt::Key_Return);
    EXPECT_EQ(menu->currentText(), "12");
    EXPECT_TRUE(m_window.isVisible());
}

TEST_F(PreferencesWindowTest, ClosingWritesWhatMayNotBeLost)
{
    changeAll();
    m_window.iba_menuPrefClose();
    EXPECT_EQ(m_store.prefReadString(destination), path("gone"));
    EXPECT_EQ(m_store.prefRead("prefCheckMatrix"), 0);
    EXPECT_EQ(m_store.prefRead("prefColor"), 1);
    EXPECT_EQ(m_store.prefRead("update"), 0);
    EXPECT_EQ(m_store.prefRead("prefDpi"), 1) << "is for saving";
    EXPECT_EQ(m_checks, 1);
}

TEST_F(PreferencesWindowTest, AMissingDestinationStaysStoredUntilAnotherIsEntered)
{
    const QString standard = PreferencesStore::prefsDefaults().value(destination).toString();
    const struct {
        const char *name;
        std::function<void()> leave;
        QString stored;
    } rows[] = {{"save", [&] { m_window.iba_menuPrefSegmentClose(PreferencesWindow::saveSegment); },
                 path("gone")},
                {"close", [&] { m_window.iba_menuPrefClose(); }, path("gone")},
                {"cancel, then save",
                 [&] {
                     m_window.setDestinationText(path("films"));
                     m_window.iba_menuPrefSegmentClose(PreferencesWindow::cancelSegment);
                     m_window.iba_menuPrefSegmentClose(PreferencesWindow::saveSegment);
                 },
                 path("gone")},
                {"another, then the default",
                 [&] {
                     m_window.setDestinationText(path("films"));
                     m_window.iba_menuPrefClose();
                     m_window.setDestinationText(standard);
                     m_window.iba_menuPrefSegmentClose(PreferencesWindow::saveSegment);
                 },
                 standard},
                {"reset",
                 [&] {
                     m_window.iba_menuPrefSegmentClose(PreferencesWindow::resetSegment);
                     m_window.iba_menuPrefSegmentClose(PreferencesWindow::saveSegment);
                 },
                 standard}};
    for (const auto &row : rows) {
        m_store.prefWrite(destination, path("gone"));
        m_window.showStored(m_store.prefsSnapshot());
        EXPECT_EQ(m_window.destinationText(), standard);
        EXPECT_EQ(controls().destination->warning(), localized("prefFolderSavedMissing"));
        EXPECT_EQ(controls().destination->repeated()->wholeText(), path("gone"));
        row.leave();
        EXPECT_EQ(m_store.prefReadString(destination), row.stored) << row.name;
    }
}

TEST_F(PreferencesWindowTest, ASwatchSetsTheWellAndTheWellLeavesTheSwatch)
{
    ColorWell *well = controls().wells.value("pageBkgColor");
    clickSegment("prefColor", 1);
    EXPECT_EQ(values().value("pageBkgColor"), "0.00,0.00,0.00,1.00");
    EXPECT_EQ(controls().colorName->text(), localized("prefSwatch1"));
    clickSegment("prefColor", 0);
    EXPECT_EQ(values().value("pageBkgColor"), "0.00,0.00,0.00,1.00") << "its own colour";
    clickSegment("prefColor", 5);
    open();

    QTest::mouseClick(well, Qt::LeftButton);
    auto *dialog = well->findChild<QColorDialog *>();
    ASSERT_NE(dialog, nullptr);
    dialog->setCurrentColor(QColor(255, 0, 0, 51));
    EXPECT_EQ(values().value("pageBkgColor"), "1.00,0.00,0.00,0.20");
    EXPECT_EQ(values().value("prefColor"), 0);
    dialog->reject();
    EXPECT_EQ(values().value("pageBkgColor"), "0.98,0.95,0.88,1.00");
    EXPECT_EQ(values().value("prefColor"), 5) << "nothing was chosen";
}

TEST_F(PreferencesWindowTest, APresetTicksOnlyWhenItIsChosenByHand)
{
    EXPECT_EQ(controls().captionText->text(), localized("prefCaptionOwn"))
        << "stored boxes that are not the preset's stay as they are";
    const QVariantMap defaults = PreferencesStore::prefsDefaults();
    for (const int preset : {0, 1, 2}) {
        clickSegment("prefCheckMatrix", preset);
        EXPECT_EQ(controls().captionText->text(),
                  localized(QStringLiteral("prefCaption%1").arg(preset)));
        for (const char *key : {"pageName", "pageLocation", "pageDate", "prefTimecode"}) {
            const int expected = preset == 1 ? defaults.value(key).toInt() : preset / 2;
            EXPECT_EQ(values().value(key), expected) << key << preset;
        }
    }
    EXPECT_EQ(values().value("update"), 1) << "is no caption";
    clickBox("pageDate");
    EXPECT_EQ(values().value("prefCheckMatrix"), 2);
    EXPECT_EQ(controls().captionText->text(), localized("prefCaptionOwn"));
    clickBox("pageDate");
    EXPECT_EQ(controls().captionText->text(), localized("prefCaption2"));
}

TEST_F(PreferencesWindowTest, SaysWhatIsWrongWithTheFolder)
{
    ASSERT_TRUE(ecritureFichier(path("file"), "x"));
    const QString named = path(QStringLiteral("<b>50%1 &\nשלום"));
    QDir().mkpath(named);
    const QString standard = PreferencesStore::prefsDefaults().value(destination).toString();
    const struct {
        QString text;
        QString warning;
        QString folder; // the sheets go to, or that is wrong
    } rows[] = {{path("films"), QString(), path("films/Quorvantel")},
                {named, QString(), named + "/Quorvantel"},
                {"file://" + path("films"), QString(), path("films/Quorvantel")},
                {standard, QString(), standard + "Quorvantel"},
                {path("gone"), localized("prefFolderMissing"), path("gone")},
                {QString(), localized("prefFolderMissing"), QString()},
                {path("file"), localized("prefFolderIsNone"), path("file")}};
    for (const auto &[text, warning, folder] : rows) {
        m_window.setDestinationText(text);
        EXPECT_EQ(controls().destination->warning(), warning) << text.toStdString();
        EXPECT_EQ(controls().destination->repeated()->wholeText(), folder);
    }
    m_window.setDestinationText(path("films"));
    QDir(path("films")).removeRecursively();
    open();
    EXPECT_EQ(controls().destination->warning(), localized("prefFolderMissing"));
    QTest::keyClick(&m_window, Qt::Key_Escape);
    EXPECT_EQ(m_window.destinationText(), path("films")) << "is the user's to change";
}

TEST_F(PreferencesWindowTest, LeadsTheKeyboardFromTopToBottom)
{
    open();
    const QStringList order{
        destination,       "prefColor",    "pageBkgColor", "prefBorderColor", "prefBorderSize",
        "prefLimitBig",    "prefLimitMed", "prefLimitMin", "prefLimitMix",    "prefDpi",
        "prefCheckMatrix", "pageName",     "prefTimecode", "previewLayout",   "prefRefuseDamaged",
        "update",          "buttons"};
    QStringList visited;
    for (QWidget *widget = controls().destination->edit();
         !visited.contains("buttons") && visited.size() < 200;
         widget = widget->nextInFocusChain()) {
        visited.append(widget->objectName());
    }
    visited.removeIf([&](const QString &name) { return !order.contains(name); });
    EXPECT_EQ(visited, order);
    SegmentedControl *presets = controls().segments.value("prefCheckMatrix");
    presets->setFocus(Qt::ShortcutFocusReason);
    EXPECT_EQ(m_window.focusWidget(), presets->segments().at(2)) << "its label's letter";
}

// ---- the preview

class SheetPreviewTest : public PreferencesWindowTest
{
protected:
    SheetPreview &preview() { return *controls().preview; }
    // The next drawing that follows the action.
    void drawnAfter(const std::function<void()> &action)
    {
        bool updated = false;
        const auto watch =
            QObject::connect(&preview(), &SheetPreview::updated, [&] { updated = true; });
        action();
        EXPECT_TRUE(waitUntil([&] { return updated; }));
        QObject::disconnect(watch);
    }
};

TEST_F(SheetPreviewTest, DrawsTheSheetThatTheControlsGive)
{
    drawnAfter([&] { open(); });
    EXPECT_EQ(preview().message(), QString());
    EXPECT_EQ(preview().stills(), 21) << "of the medium layout";
    EXPECT_EQ(preview().sheetSize().width(), 1920) << "of a PNG sheet";

    drawnAfter([&] { clickSegment("prefDpi", 0); });
    EXPECT_EQ(preview().sheetSize().width(), 960);
    drawnAfter([&] { clickSegment("prefColor", 1); });
    EXPECT_EQ(preview().picture().pixelColor(0, 0), QColor(Qt::black));
    drawnAfter([&] { controls().counts.value("prefLimitMed")->setCurrentIndex(0); });
    EXPECT_EQ(preview().stills(), 3);
    const int high = preview().sheetSize().height();
    drawnAfter([&] { clickBox("pageEssence"); });
    EXPECT_EQ(preview().sheetSize().height(), high + 18) << "one caption line more";
    drawnAfter([&] { click(controls().layouts, 3); });
    EXPECT_EQ(preview().stills(), 18);
    EXPECT_TRUE(controls().sheetText->text().contains("960")) << "said below it";
}

TEST_F(SheetPreviewTest, SurvivesTheLossOfItsStillsAndSaysWhenTheyCannotBeMade)
{
    drawnAfter([&] { open(); });
    QDir(path("tmp")).removeRecursively();
    drawnAfter([&] { clickSegment("prefColor", 1); });
    EXPECT_EQ(preview().stills(), 21) << "made anew";

    QDir(path("tmp")).removeRecursively();
    ASSERT_TRUE(ecritureFichier(path("tmp"), "in the way"));
    drawnAfter([&] { clickSegment("prefColor", 2); });
    EXPECT_TRUE(preview().picture().isNull());
    EXPECT_EQ(preview().message(), localized("prefPreviewFailed"));

    QFile::remove(path("tmp"));
    drawnAfter([&] { clickSegment("prefColor", 3); });
    EXPECT_EQ(preview().message(), QString());
}
