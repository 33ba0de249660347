#pragma once

#include "support/alerts.h"

#include <QDialog>
#include <QList>
#include <QTextEdit>

class QCheckBox;
class QPushButton;

// What an alert looks like.
namespace qv
{

// Text in the dialog's own colours: plain, selectable, wrapped also where there is no blank, as
// high as it needs to be and scrolling beyond that.
class WrappedText : public QTextEdit
{
    Q_OBJECT

public:
    WrappedText(const QString &text, const QFont &font, QWidget *parent);
    int wantedWidth() const; // on one line
    void fit(int width, int tallest);
};

class AlertDialog : public QDialog
{
    Q_OBJECT

public:
    AlertDialog(const Alert &alert, QWidget *parent);

    // Of the button that was clicked; -1 while none was, and when the dialog went away unanswered.
    int clickedButton() const { return m_clicked; }
    // Clicked or gone unanswered.
    bool isOver() const { return m_isOver; }
    QPushButton *button(int index) const { return m_buttons.value(index); }
    bool isSuppressionTicked() const;
    // Shown on the default button; none when negative.
    void showSecondsLeft(int seconds);

    void done(int result) override;
    void reject() override;

protected:
    void closeEvent(QCloseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private:
    QWidget *makeTexts(const Alert &alert);
    QWidget *makeIcon(AlertStyle style);
    QWidget *makeButtons(QStringList texts);
    void click(int index);
    void reserveCountdown(int seconds);

    QString m_title;
    QString m_detail;
    QString m_defaultText;
    int m_harmless;
    QList<QPushButton *> m_buttons;
    QCheckBox *m_suppression = nullptr;
    int m_clicked = -1;
    bool m_isOver = false;
};

} // namespace qv
