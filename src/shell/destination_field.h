#pragma once

#include <QLabel>
#include <QLineEdit>
#include <QString>
#include <QWidget>

class QPushButton;

namespace qv
{

// A text from outside in one line, cut in its middle; whole in the tool tip.
class ElidedLabel : public QLabel
{
    Q_OBJECT

public:
    explicit ElidedLabel(QWidget *parent = nullptr);
    void setWholeText(const QString &text);
    QString wholeText() const { return m_text; }
    QSize minimumSizeHint() const override;
    QSize sizeHint() const override;

protected:
    void resizeEvent(QResizeEvent *event) override;

private:
    QString m_text;
};

// A folder's path that can be typed, dropped and chosen, and below it the folder that the sheets go
// to, or what is wrong with it.
class DestinationField : public QWidget
{
    Q_OBJECT

public:
    explicit DestinationField(QWidget *parent = nullptr);

    QString text() const;
    void setText(const QString &text);
    // Shows that the saved folder is missing and another one is used, until the text changes. Null
    // ends that.
    void showMissing(const QString &savedFolder);
    QString missing() const { return m_missing; }
    // Looks again whether the folder is there.
    void check();
    QLineEdit *edit() { return m_edit; }
    ElidedLabel *repeated() { return m_repeated; }
    // Empty while the folder is usable.
    QString warning() const;

Q_SIGNALS:
    void changed();

private:
    void textChanged(const QString &text);
    void chooseFolder();
    void show(const QString &state, const QString &folder, bool isWarning);

    QString m_missing;

    QLineEdit *m_edit;
    QPushButton *m_choose;
    QLabel *m_mark;
    QLabel *m_state;
    ElidedLabel *m_repeated;
};

} // namespace qv
