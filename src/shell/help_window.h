#pragma once

#include <QTextBrowser>
#include <QWidget>

// The help: a page of the bundle, in the user's language. It loads nothing from elsewhere.
namespace qv
{

class HelpBrowser : public QTextBrowser
{
public:
    explicit HelpBrowser(QWidget *parent = nullptr);
    QVariant loadResource(int type, const QUrl &name) override;
};

class HelpWindow : public QWidget
{
    Q_OBJECT

public:
    explicit HelpWindow(QWidget *parent = nullptr);
    // Shows the page and comes to the front.
    void open();

private:
    HelpBrowser *m_browser;
};

} // namespace qv
