#pragma once

#include <QAbstractButton>
#include <QColor>
#include <QIcon>

#include <functional>

class QColorDialog;

// Colours as people see and choose them.
namespace qv
{

// A colour's picture, drawn sharp at any scale; the colour is asked for whenever it is drawn.
QIcon swatchIcon(std::function<QColor()> color);

// A button that shows a colour, transparency over a checkerboard, and lets the user choose another.
class ColorWell : public QAbstractButton
{
    Q_OBJECT

public:
    explicit ColorWell(QWidget *parent = nullptr);

    QColor color() const { return m_color; }
    // Emits nothing.
    void setColor(const QColor &color);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

Q_SIGNALS:
    // By the user, already while the colour dialog is open; also when it is cancelled and the
    // colour of before comes back.
    void colorChosen(const QColor &color);

protected:
    void paintEvent(QPaintEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    void chooseColor();
    void choose(const QColor &color);
    void describe();

    QColor m_color = Qt::white;
    QColorDialog *m_dialog = nullptr;
};

} // namespace qv
