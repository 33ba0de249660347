#include "shell/batch_row_delegate.h"

#include "shell/interface_pictures.h"
#include "shell/readable.h"

#include <QApplication>
#include <QComboBox>
#include <QFontInfo>
#include <QPainter>

namespace qv
{
namespace
{

constexpr double captionPoints = 11;
constexpr int captionLineCount = 4; // the fourth: why there is no new sheet, or what is wrong
constexpr int padding = 6;
constexpr double previewAspectShown = 16.0 / 9.0;
constexpr int frameOpacity = 60; // of 255

int markSize(const QFont &font)
{
    return QFontMetrics(font).height() * 5 / 4;
}

QSize previewBox(const QFont &font)
{
    const int height = BatchRowDelegate::rowHeight(font) - 2 * padding;
    return {static_cast<int>(height * previewAspectShown), height};
}

int arrowSize(const QFont &font)
{
    return QFontMetrics(font).height() * 2 / 3;
}

QPalette::ColorGroup colorGroup(const QStyleOptionViewItem &option)
{
    if (!option.state.testFlag(QStyle::State_Enabled)) {
        return QPalette::Disabled;
    }
    return option.state.testFlag(QStyle::State_Active) ? QPalette::Active : QPalette::Inactive;
}

QColor backgroundOf(const QStyleOptionViewItem &option)
{
    const QPalette::ColorRole role =
        option.state.testFlag(QStyle::State_Selected)               ? QPalette::Highlight
        : option.features.testFlag(QStyleOptionViewItem::Alternate) ? QPalette::AlternateBase
                                                                    : QPalette::Base;
    return option.palette.color(colorGroup(option), role);
}

// One line beginning at the left, also when its script runs from the right.
void drawLine(QPainter &painter, const QRect &rect, const QString &text, Qt::TextElideMode elide)
{
    const QString fitting =
        painter.fontMetrics().elidedText(oneLine(text), elide, rect.width(), Qt::TextSingleLine);
    QTextOption option(Qt::AlignLeft | Qt::AlignAbsolute | Qt::AlignVCenter);
    option.setWrapMode(QTextOption::NoWrap);
    painter.drawText(QRectF(rect), fitting, option);
}

// Opens its menu as soon as it stands, and is done when that closes.
class ChoiceEditor : public QComboBox
{
public:
    ChoiceEditor(QWidget *parent, BatchRowDelegate &delegate) : QComboBox(parent)
    {
        setAutoFillBackground(true);
        connect(this, &QComboBox::activated, &delegate,
                [this, &delegate] { Q_EMIT delegate.commitData(this); });
        m_close = [this, &delegate] { Q_EMIT delegate.closeEditor(this); };
    }

    void hidePopup() override
    {
        QComboBox::hidePopup();
        // What was chosen is told right after the menu has closed.
        if (m_close) {
            QMetaObject::invokeMethod(this, std::exchange(m_close, {}), Qt::QueuedConnection);
        }
    }

protected:
    void showEvent(QShowEvent *event) override
    {
        QComboBox::showEvent(event);
        QMetaObject::invokeMethod(
            this, [this] { showPopup(); }, Qt::QueuedConnection);
    }

private:
    std::function<void()> m_close;
};

} // namespace

// What a cell is drawn with.
struct BatchRowDelegate::Cell {
    QPainter &painter;
    const QStyleOptionViewItem &option;
    QModelIndex index;
    QRect rect; // inside of the padding
    QColor text;
    QColor quiet;

    bool isSelected() const { return option.state.testFlag(QStyle::State_Selected); }
};

BatchRowDelegate::BatchRowDelegate(const BatchModel &model, QObject *parent)
    : QStyledItemDelegate(parent), m_model(model)
{
    for (size_t mark = 0; mark < m_marks.size(); ++mark) {
        m_marks.at(mark) = interfacePicture(markPictureName(static_cast<RowMark>(mark)));
    }
}

// ---- measures

QFont BatchRowDelegate::captionFont(const QFont &font)
{
    QFont caption = font;
    caption.setPointSizeF(std::max(captionPoints, QFontInfo(font).pointSizeF()));
    return caption;
}

int BatchRowDelegate::rowHeight(const QFont &font)
{
    return captionLineCount * QFontMetrics(captionFont(font)).height() + 2 * padding;
}

int BatchRowDelegate::columnWidth(int column, const QFont &font) const
{
    const QFontMetrics metrics(font);
    int widest = 0;
    switch (column) {
    case BatchModel::Order:
        widest = metrics.horizontalAdvance(QString::number(std::max(99, m_model.rowCount())));
        break;
    case BatchModel::Mark:
        return markSize(font) + 2 * padding;
    case BatchModel::Preview:
        return previewBox(font).width() + 2 * padding;
    case BatchModel::Caption:
        return metrics.averageCharWidth() * 24;
    default:
        for (const QString &choice : m_model.choices(column)) {
            widest = std::max(widest, metrics.horizontalAdvance(choice));
        }
        widest += arrowSize(font) + padding;
    }
    const QString header = m_model.headerData(column, Qt::Horizontal, Qt::DisplayRole).toString();
    return std::max(widest, metrics.horizontalAdvance(header)) + 3 * padding;
}

QSize BatchRowDelegate::sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const
{
    return {columnWidth(index.column(), option.font), rowHeight(option.font)};
}

StyledText BatchRowDelegate::captionLines(const StyledText &caption)
{
    StyledText lines;
    for (const StyledRun &run : caption) {
        if (lines.isEmpty()) {
            lines.append({oneLine(run.text), run.color});
            continue;
        }
        for (const QString &line : run.text.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
            lines.append({line, run.color});
        }
    }
    return lines;
}

// ---- drawing

void BatchRowDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                             const QModelIndex &index) const
{
    const BatchItem *item = m_model.item(index.row());
    if (item == nullptr) {
        return;
    }
    const QStyle *style = option.widget == nullptr ? QApplication::style() : option.widget->style();
    style->drawPrimitive(QStyle::PE_PanelItemViewItem, &option, painter, option.widget);

    const bool selected = option.state.testFlag(QStyle::State_Selected);
    const QColor text = option.palette.color(colorGroup(option),
                                             selected ? QPalette::HighlightedText : QPalette::Text);
    const Cell cell{*painter, option,
                    index,    option.rect.adjusted(padding, padding, -padding, -padding),
                    text,     quietColor(text, backgroundOf(option))};
    painter->save();
    switch (index.column()) {
    case BatchModel::Order:
        painter->setPen(cell.quiet);
        painter->setFont(option.font);
        painter->drawText(cell.rect, Qt::AlignRight | Qt::AlignVCenter,
                          QString::number(item->order));
        break;
    case BatchModel::Mark:
        paintMark(cell, item->mark());
        break;
    case BatchModel::Preview:
        paintPreview(cell);
        break;
    case BatchModel::Caption:
        paintCaption(cell, *item);
        break;
    default:
        paintChoice(cell);
    }
    painter->restore();
}

void BatchRowDelegate::paintMark(const Cell &cell, RowMark mark) const
{
    QRect place(QPoint(), QSize(1, 1) * markSize(cell.option.font));
    place.moveCenter(cell.rect.center());
    m_marks.at(static_cast<size_t>(mark))
        .paint(&cell.painter, place, Qt::AlignCenter,
               cell.isSelected() ? QIcon::Selected : QIcon::Normal);
}

void BatchRowDelegate::paintPreview(const Cell &cell) const
{
    const qreal ratio = cell.painter.device()->devicePixelRatioF();
    const QPixmap picture = m_model.preview(cell.index.row(), cell.rect.size(), ratio);
    QRectF place(cell.rect);
    if (!picture.isNull()) {
        place.setSize(picture.deviceIndependentSize());
        place.moveCenter(QRectF(cell.rect).center());
        // On whole device pixels, or a sharp picture is resampled.
        place.moveTo(std::round(place.x() * ratio) / ratio, std::round(place.y() * ratio) / ratio);
        cell.painter.drawPixmap(place.topLeft(), picture);
    }
    QColor frame = cell.text;
    frame.setAlpha(frameOpacity);
    cell.painter.setPen(QPen(frame, 1 / ratio));
    const qreal half = 0.5 / ratio;
    cell.painter.drawRect(place.adjusted(half, half, -half, -half));
}

void BatchRowDelegate::paintCaption(const Cell &cell, const BatchItem &item) const
{
    StyledText lines = captionLines(item.src);
    const bool madeNoSheet = item.resultat == RowMark::PuceFailure ||
                             item.resultat == RowMark::PuceKept ||
                             item.resultat == RowMark::PuceStopped;
    if (madeNoSheet) {
        lines.append({m_model.statusWords(cell.index.row()), QStringLiteral("silver")});
    } else if (const QString damage = m_model.damage(cell.index.row()); !damage.isNull()) {
        lines.append({damage, QStringLiteral("silver")});
    }
    const QFont font = captionFont(cell.option.font);
    const int height = QFontMetrics(font).height();
    cell.painter.setFont(font);
    const int shown = std::min(static_cast<int>(lines.size()), captionLineCount);
    int y = cell.rect.center().y() + 1 - shown * height / 2;
    for (int i = 0; i < shown; ++i) {
        cell.painter.setPen(lines.at(i).color == QLatin1String("black") ? cell.text : cell.quiet);
        drawLine(cell.painter, QRect(cell.rect.left(), y, cell.rect.width(), height),
                 lines.at(i).text, i == 0 ? Qt::ElideMiddle : Qt::ElideRight);
        y += height;
    }
}

// The choice, with the arrow of a menu where there is one.
void BatchRowDelegate::paintChoice(const Cell &cell) const
{
    const int arrow = arrowSize(cell.option.font);
    const QRect place = cell.rect.adjusted(0, 0, -arrow - padding, 0);
    const bool editable = m_model.flags(cell.index).testFlag(Qt::ItemIsEditable);
    cell.painter.setPen(editable ? cell.text : cell.quiet);
    cell.painter.setFont(cell.option.font);
    drawLine(cell.painter, place, m_model.data(cell.index, Qt::DisplayRole).toString(),
             Qt::ElideRight);
    const QWidget *widget = cell.option.widget;
    const QStyle *style = widget == nullptr ? QApplication::style() : widget->style();
    if (editable) {
        QStyleOptionViewItem option(cell.option);
        option.rect =
            QRect(cell.rect.right() - arrow, cell.rect.center().y() - arrow / 2, arrow, arrow);
        for (const auto role : {QPalette::Text, QPalette::ButtonText, QPalette::WindowText}) {
            option.palette.setColor(role, cell.quiet);
        }
        style->drawPrimitive(QStyle::PE_IndicatorArrowDown, &option, &cell.painter, widget);
    }
    if (cell.option.state.testFlag(QStyle::State_HasFocus)) {
        QStyleOptionFocusRect focus;
        focus.QStyleOption::operator=(cell.option);
        focus.rect = cell.option.rect.adjusted(2, 2, -2, -2);
        focus.backgroundColor = backgroundOf(cell.option);
        style->drawPrimitive(QStyle::PE_FrameFocusRect, &focus, &cell.painter, widget);
    }
}

// ---- choosing

QWidget *BatchRowDelegate::createEditor(QWidget *parent, const QStyleOptionViewItem &,
                                        const QModelIndex &index) const
{
    if (!BatchModel::isChoice(index.column())) {
        return nullptr;
    }
    auto *editor = new ChoiceEditor(parent, const_cast<BatchRowDelegate &>(*this));
    editor->addItems(m_model.choices(index.column()));
    editor->setAccessibleName(
        m_model.headerData(index.column(), Qt::Horizontal, Qt::AccessibleTextRole).toString());
    return editor;
}

void BatchRowDelegate::setEditorData(QWidget *editor, const QModelIndex &index) const
{
    if (auto *choice = qobject_cast<QComboBox *>(editor)) {
        choice->setCurrentIndex(index.data(Qt::EditRole).toInt());
    }
}

void BatchRowDelegate::setModelData(QWidget *editor, QAbstractItemModel *model,
                                    const QModelIndex &index) const
{
    if (const auto *choice = qobject_cast<QComboBox *>(editor)) {
        model->setData(index, choice->currentIndex(), Qt::EditRole);
    }
}

void BatchRowDelegate::updateEditorGeometry(QWidget *editor, const QStyleOptionViewItem &option,
                                            const QModelIndex &) const
{
    QRect place(QPoint(), QSize(option.rect.width(), editor->sizeHint().height()));
    place.moveCenter(option.rect.center());
    editor->setGeometry(place);
}

} // namespace qv
