#pragma once

#include "shell/workspace.h"

#include <QMenu>
#include <QWidget>

#include <memory>

class QTableView;
class QToolButton;

// The sources that made no row, with the reasons: a section that folds up, and that is not there
// while there are none.
namespace qv
{

class RefusedModel;

class RefusedList : public QWidget
{
    Q_OBJECT

public:
    explicit RefusedList(Workspace &workspace, QWidget *parent = nullptr);

    // A source that is listed already gets the new reason.
    void add(const QString &source, const QString &reason);
    // Nothing when it isn't listed.
    void remove(const QString &source);
    void clear();
    int count() const;

    // On the selected entries, or on all when none is.
    void copyReasons();
    void showInFolder();
    std::unique_ptr<QMenu> menu();

    QTableView *table() const { return m_table; }
    QToolButton *title() const { return m_title; }

protected:
    void changeEvent(QEvent *event) override;

private:
    void setUpTitle();
    void setUpTable();
    void measure();
    void showCount();
    void unfold(bool open);
    QList<int> chosen() const;

    Workspace &m_workspace;
    RefusedModel *m_model;
    QToolButton *m_title;
    QTableView *m_table;
};

} // namespace qv
