#pragma once

#include <QButtonGroup>
#include <QIcon>
#include <QList>
#include <QWidget>

class QHBoxLayout;

// A row of joined buttons. Either one of them is selected, or each is a command of its own.
namespace qv
{

class SegmentedControl : public QWidget
{
    Q_OBJECT

public:
    enum class Mode { SelectOne, Momentary };
    explicit SegmentedControl(Mode mode, QWidget *parent = nullptr);

    // Gives the segment's index. The name is what a screen reader says when there is no text.
    int addSegment(const QString &text, const QIcon &icon = {}, const QString &name = {});
    int count() const;
    // In their order, for the tab order of a window.
    QList<QWidget *> segments() const;
    QString text(int segment) const;
    void setText(int segment, const QString &text);
    QString name(int segment) const;
    void setName(int segment, const QString &name); // the tool tip, too
    void setIcon(int segment, const QIcon &icon);
    void setSegmentEnabled(int segment, bool enabled);

    // -1 when none is selected. Selecting from here emits nothing.
    int selectedSegment() const;
    void selectSegment(int segment);

    // Tab enters a selection at its selected segment, commands one by one.
    void placeTabStop();

Q_SIGNALS:
    // By the user.
    void clicked(int segment);

protected:
    void focusInEvent(QFocusEvent *event) override;

private:
    QAbstractButton *tabStop() const;
    void updateEnds();

    Mode m_mode;
    QHBoxLayout *m_row;
    QButtonGroup m_group;
};

} // namespace qv
