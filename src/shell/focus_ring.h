#pragma once

#include <QFocusFrame>
#include <QObject>
#include <QPointer>

// Frames the widget that has the keyboard's focus, in every window and whatever the style draws,
// while the user works with the keyboard.
namespace qv
{

class FocusRing : public QObject
{
    Q_OBJECT

public:
    explicit FocusRing(QObject *parent = nullptr);
    ~FocusRing() override;

    // Null while there is none.
    QWidget *framed() const { return m_frame ? m_frame->widget() : nullptr; }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void frame(QWidget *widget);

    QPointer<QFocusFrame> m_frame; // belongs to the framed widget's window
    bool m_byKeyboard = false;     // the last input was a key
};

} // namespace qv
