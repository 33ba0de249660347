#include "shell/batch_model.h"

#include "shell/batch_fixture.h"
#include "shell/batch_row_delegate.h"

#include <QAbstractItemModelTester>
#include <QRandomGenerator>

using namespace qv;

namespace
{

class BatchModelTest : public BatchTest
{
protected:
    // What the model tells from now on: "+2-2" rows came, "-0-1" went, "~0-3" changed, "reset".
    void listen(BatchModel &model)
    {
        const auto note = [this](const char *what, int first, int last) {
            m_told << QString("%1%2-%3").arg(what).arg(first).arg(last);
        };
        QObject::connect(&model, &BatchModel::rowsInserted,
                         [=](const QModelIndex &, int a, int b) { note("+", a, b); });
        QObject::connect(&model, &BatchModel::rowsRemoved,
                         [=](const QModelIndex &, int a, int b) { note("-", a, b); });
        QObject::connect(
            &model, &BatchModel::dataChanged,
            [=](const QModelIndex &a, const QModelIndex &b) { note("~", a.row(), b.row()); });
        QObject::connect(&model, &BatchModel::modelReset, [this] { m_told << "reset"; });
    }
    QStringList told() { return std::exchange(m_told, {}); }

    QString text(const BatchModel &model, int row, int column, int role = Qt::DisplayRole)
    {
        return model.index(row, column).data(role).toString();
    }

    QStringList m_told;
};

} // namespace

TEST_F(BatchModelTest, TellsExactlyWhatChanged)
{
    addRows(3);
    BatchModel model(*m_controller);
    EXPECT_EQ(model.rowCount(), 3);
    listen(model);
    const auto change = [&](const std::function<void()> &how) {
        how();
        model.rowsChanged();
        return told();
    };
    EXPECT_EQ(change([&] { addRows(1); }), QStringList{"+3-3"});
    EXPECT_EQ(change([&] { addRows(4); }), QStringList{"+4-7"});
    EXPECT_EQ(change([] {}), QStringList{"~0-7"}) << "marks may have been set anew";
    EXPECT_EQ(change([&] { table().remove({1, 2, 5}); }), (QStringList{"-5-5", "-1-2", "~1-4"}));
    EXPECT_EQ(text(model, 1, BatchModel::Order), "2");
    EXPECT_EQ(change([&] { table().remove({4}); }), QStringList{"-4-4"});
    EXPECT_EQ(change([&] { table().clear(); }), QStringList{"-0-3"});
    EXPECT_EQ(change([&] { addRows(1); }), QStringList{"+0-0"});
    model.rowChanged(0);
    model.rowChanged(7);
    EXPECT_EQ(told(), QStringList{"~0-0"});
    addRows(199);
    model.rowsChanged();
    told();
    QSet<int> odd;
    for (int i = 1; i < 200; i += 2) {
        odd.insert(i);
    }
    EXPECT_EQ(change([&] { table().remove(odd); }).value(0), "reset") << "scattered removals";
    EXPECT_EQ(model.rowCount(), 100);
}

TEST_F(BatchModelTest, IndexesFollowTheirRowsThroughAnyChanges)
{
    BatchModel model(*m_controller);
    QAbstractItemModelTester tester(&model);
    QRandomGenerator random(7);
    QHash<QString, QPersistentModelIndex> indexes;
    int made = 0;
    for (int step = 0; step < 200; ++step) {
        if (table().isEmpty() || random.bounded(3) > 0) {
            addRow(QString::number(made++));
        } else {
            QSet<int> gone{random.bounded(table().count())};
            gone.insert(random.bounded(table().count()));
            table().remove(gone);
        }
        model.rowsChanged();
        ASSERT_EQ(model.rowCount(), table().count());
        for (int i = 0; i < table().count(); ++i) {
            const QPersistentModelIndex &known = indexes[row(i).sourcePath()];
            ASSERT_TRUE(!known.isValid() || known.row() == i);
            indexes[row(i).sourcePath()] = model.index(i, 0);
            ASSERT_EQ(model.item(i), &row(i));
        }
    }
}

TEST_F(BatchModelTest, RowsThatAreGoneBeforeItWasToldGiveNothing)
{
    addRows(2);
    BatchModel model(*m_controller);
    table().remove({0});
    EXPECT_EQ(model.index(0, 0).data(), QVariant());
    EXPECT_EQ(model.index(1, 0).data(), QVariant());
    EXPECT_FALSE(model.setData(model.index(0, BatchModel::Layout), 0, Qt::EditRole));
}

TEST_F(BatchModelTest, WritesChoicesIntoTheRowsButTheOneInProgress)
{
    addRows(3);
    BatchModel model(*m_controller);
    setInProgress(1);
    const struct {
        int row;
        int column;
        QVariant value;
        bool taken;
    } rows[] = {
        {0, BatchModel::Layout, 3, true},   {0, BatchModel::Picture, 1, true},
        {0, BatchModel::Layout, 4, false},  {0, BatchModel::Layout, -1, false},
        {0, BatchModel::Picture, 2, false}, {0, BatchModel::Layout, "x", false},
        {0, BatchModel::Caption, 1, false}, {1, BatchModel::Layout, 0, false},
    };
    for (const auto &r : rows) {
        EXPECT_EQ(model.setData(model.index(r.row, r.column), r.value, Qt::EditRole), r.taken);
    }
    EXPECT_EQ(row(0).out, 3);
    EXPECT_EQ(row(0).dpi, 1);
    EXPECT_EQ(row(1).out, 1);
    EXPECT_EQ(text(model, 0, BatchModel::Layout), localized("outMix"));
    EXPECT_FALSE(model.flags(model.index(1, BatchModel::Layout)).testFlag(Qt::ItemIsEditable));
    EXPECT_TRUE(model.flags(model.index(2, BatchModel::Layout)).testFlag(Qt::ItemIsEditable));
}

TEST_F(BatchModelTest, SaysInWordsWhatIsWithARow)
{
    addRow("<b>odd</b>.mp4");
    addRows(3);
    setFailed(0, "no <i>pictures</i>");
    setInProgress(1);
    setMade(2);
    setLanguage("en");
    const BatchModel model(*m_controller);
    EXPECT_EQ(text(model, 0, BatchModel::Mark, Qt::AccessibleTextRole),
              "Failed: no <i>pictures</i>");
    EXPECT_EQ(text(model, 1, BatchModel::Mark, Qt::AccessibleTextRole), "In progress");
    EXPECT_EQ(text(model, 2, BatchModel::Mark, Qt::AccessibleTextRole), "Done");
    EXPECT_EQ(text(model, 3, BatchModel::Mark, Qt::AccessibleTextRole), "Waiting");
    row(3).dico.insert("damaged", "no sound pictures");
    EXPECT_EQ(text(model, 3, BatchModel::Mark, Qt::AccessibleTextRole),
              "Waiting: no sound pictures");
    EXPECT_EQ(row(3).mark(), RowMark::PuceDamaged);
    row(3).resultat = RowMark::PuceStopped;
    EXPECT_EQ(text(model, 3, BatchModel::Mark, Qt::AccessibleTextRole), "Stopped");
    row(2).isQuick = true;
    EXPECT_TRUE(text(model, 2, BatchModel::Mark, Qt::ToolTipRole).contains("quick pictures"));
    for (int column = 0; column < BatchModel::ColumnCount; ++column) {
        const QString tip = text(model, 0, column, Qt::ToolTipRole);
        EXPECT_TRUE(tip.contains(path("<b>odd").toHtmlEscaped()));
        EXPECT_TRUE(tip.contains(QString("no <i>pictures</i>").toHtmlEscaped()));
    }
}

TEST_F(BatchModelTest, ASheetCountsOnlyWhileItIsThere)
{
    addRows(2);
    const QString sheet = setMade(0);
    const BatchModel model(*m_controller);
    EXPECT_EQ(model.sheet(0), sheet);
    EXPECT_EQ(model.sheet(1), "");
    EXPECT_EQ(model.sheet(-1), "");
    row(0).resultat = RowMark::Puce;
    EXPECT_EQ(model.sheet(0), "") << "it is being made anew";
    row(0).resultat = RowMark::PuceKept;
    EXPECT_EQ(model.sheet(0), sheet);
    QFile::remove(sheet);
    EXPECT_EQ(model.sheet(0), "");
}

TEST_F(BatchModelTest, PreviewsKeepTheirProportionsAndAreReadOnce)
{
    addRows(4);
    makePreview(0, {160, 90});
    makePreview(1, {160, 320});
    writeFile(path("film2.mp4.jpg"), "no picture at all");
    makePreview(3, {160, 1});
    BatchModel model(*m_controller);
    const QSize box(120, 80);
    EXPECT_EQ(model.preview(0, box, 1).size(), QSize(120, 67));
    EXPECT_EQ(model.preview(1, box, 1).size(), QSize(40, 80));
    EXPECT_TRUE(model.preview(2, box, 1).isNull());
    EXPECT_EQ(model.preview(3, box, 1).size(), QSize(120, 1));
    EXPECT_EQ(model.preview(1, box, 2).size(), QSize(80, 160));
    EXPECT_EQ(model.preview(1, box, 2).deviceIndependentSize(), QSizeF(40, 80));
    QFile::remove(path("film0.mp4.jpg"));
    EXPECT_FALSE(model.preview(0, box, 1).isNull());
    EXPECT_TRUE(model.preview(0, box, 1.5).isNull());
    makePreview(0, {80, 80});
    table().remove({3});
    model.rowsChanged();
    EXPECT_EQ(model.preview(0, box, 1).size(), QSize(80, 80)) << "names of rows that went are free";
}

TEST_F(BatchModelTest, ACaptionHasALineForTheNameWhateverIsInIt)
{
    const StyledText lines = BatchRowDelegate::captionLines(
        rowCaption({{"v0_width", 640}, {"v0_height", 480}, {"w_duration", 61}}, "/films/a\nb.mp4"));
    ASSERT_EQ(lines.size(), 3);
    EXPECT_EQ(lines[0].text, R"(a\nb.mp4)");
    EXPECT_EQ(lines[0].color, "black");
    EXPECT_TRUE(lines[1].text.startsWith("(640x)480"));
    EXPECT_EQ(lines[2].color, "silver");
}
