#pragma once

#include "shell/batch_model.h"

#include <QIcon>
#include <QStyledItemDelegate>

#include <array>

// Draws the cells of a BatchModel, and edits its choices with menus that open at once.
namespace qv
{

class BatchRowDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    explicit BatchRowDelegate(const BatchModel &model, QObject *parent = nullptr);

    // The caption is 11 points high, or as high as the system's texts when those are larger.
    static QFont captionFont(const QFont &font);
    // What every row needs, and what a column needs at least when the view writes in this font.
    static int rowHeight(const QFont &font);
    int columnWidth(int column, const QFont &font) const;

    // The caption by lines, each of one colour; the first is the name, whatever is in it.
    static StyledText captionLines(const StyledText &caption);

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;
    QWidget *createEditor(QWidget *parent, const QStyleOptionViewItem &option,
                          const QModelIndex &index) const override;
    void setEditorData(QWidget *editor, const QModelIndex &index) const override;
    void setModelData(QWidget *editor, QAbstractItemModel *model,
                      const QModelIndex &index) const override;
    void updateEditorGeometry(QWidget *editor, const QStyleOptionViewItem &option,
                              const QModelIndex &index) const override;

private:
    struct Cell;

    void paintMark(const Cell &cell, RowMark mark) const;
    void paintPreview(const Cell &cell) const;
    void paintCaption(const Cell &cell, const BatchItem &item) const;
    void paintChoice(const Cell &cell) const;

    const BatchModel &m_model;
    std::array<QIcon, rowMarkCount> m_marks; // by RowMark
};

} // namespace qv
