#pragma once

#include "shell/batch_view.h"
#include "shell/refused_list.h"

#include <QTimer>
#include <QWidget>

class QLabel;
class QPushButton;

// The batch with all that belongs to it: its table, the sources that made no row, how far it is,
// and what removes rows.
namespace qv
{

class BatchDrawer : public QWidget
{
    Q_OBJECT

public:
    explicit BatchDrawer(appDelegate &controller, Workspace &workspace, QWidget *parent = nullptr);

    // To be called after the controller's table or one of its rows changed.
    void rowsChanged();
    void rowChanged(int row);
    void addRefused(const QString &source, const QString &reason);

    BatchView *view() { return m_view; }
    RefusedList *refused() { return m_refused; }
    QPushButton *removeButton() { return m_remove; }
    QPushButton *removeAllButton() { return m_removeAll; }
    // "12 videos, 3 done, 2 kept, 1 failed"
    QString summary() const;

private:
    void setUpButtons();
    void layOut();
    void forgetRefused(const QModelIndex &parent, int first, int last);
    void countSoon();
    void enableButtons();

    appDelegate &m_controller;
    BatchView *m_view;
    RefusedList *m_refused;
    QLabel *m_summary;
    QPushButton *m_remove;
    QPushButton *m_removeAll;
    QTimer m_counting;
};

} // namespace qv
