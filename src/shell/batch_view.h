#pragma once

#include "shell/batch_model.h"
#include "shell/batch_row_delegate.h"
#include "shell/workspace.h"

#include <QTableView>

#include <functional>

// The batch as a table that people work on with mouse and keyboard. What is selected in it is the
// selection of the controller's table.
namespace qv
{

class BatchView : public QTableView
{
    Q_OBJECT

public:
    BatchView(appDelegate &controller, Workspace &workspace, QWidget *parent = nullptr);

    // To be called after the controller's table or one of its rows changed. A row that begins to be
    // encoded is brought into view, unless the user was at work here a moment ago.
    void rowsChanged();
    void rowChanged(int row);

    BatchModel &batch() { return m_model; }
    const BatchModel &batch() const { return m_model; }
    QList<int> selectedRows() const; // ascending

    // Whether there was a sheet to open.
    bool openSheet(int row);
    // On the selected rows; each does nothing where it can't be done. A sheet is opened of a single
    // row only.
    void openSheetOfSelection();
    void showInFolder();
    void copyReasons();
    void copyPaths();
    void setChoice(int column, int value);
    // Opens the menu of the current row's cell with a choice, the layout's when it is in none.
    void editChoice();

    // Milliseconds of a clock that only goes forward.
    std::function<qint64()> clock;

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

Q_SIGNALS:
    void removeAsked();
    void removeAllAsked();
    void rowsSelected();

protected:
    void keyPressEvent(QKeyEvent *event) override;
    void mousePressEvent(QMouseEvent *event) override;
    void wheelEvent(QWheelEvent *event) override;
    void contextMenuEvent(QContextMenuEvent *event) override;
    void selectionChanged(const QItemSelection &selected,
                          const QItemSelection &deselected) override;
    void paintEvent(QPaintEvent *event) override;
    void changeEvent(QEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void setUpLook();
    void measure();
    void fitPreviews();
    void takeSelectionColors();
    void passSelectionOn();
    void clickedInto(const QModelIndex &index);
    void openChoice(const QModelIndex &index);
    void openOrEdit();
    void noteUser() { m_lastTouched = clock(); }

    appDelegate &m_controller;
    Workspace &m_workspace;
    BatchModel m_model;
    BatchRowDelegate m_delegate;
    qint64 m_lastTouched = -1;
    bool m_changingRows = false;
};

} // namespace qv
