#pragma once

#include "support/alerts.h"

#include <QList>
#include <QString>

#include <functional>

// Answers alerts by queue and remembers them.
class ScriptedPresenter : public qv::AlertPresenter
{
public:
    struct Answer {
        int button = 0;
        bool ticked = false;
    };
    QList<Answer> answers; // the default button when none is left
    QList<qv::Alert> shown;
    std::function<void()> whileShown;

    ScriptedPresenter() { qv::setAlertPresenter(this); }
    ~ScriptedPresenter() override { qv::setAlertPresenter(nullptr); }

    int runModal(const qv::Alert &alert) override
    {
        take(alert);
        return m_current.button;
    }
    int beginSheet(const qv::Alert &alert) override
    {
        shown.append(alert);
        return 0;
    }
    SheetState runSheet(int, int) override { return SheetState::Closed; }
    void endSheet(int) override {}
    void beginSession(const qv::Alert &alert, const QList<int> &codes) override
    {
        take(alert);
        m_codes = codes;
    }
    int runSession() override
    {
        if (whileShown) {
            whileShown();
        }
        return m_codes.value(m_current.button, qv::alertStopped);
    }
    void endSession() override {}
    bool suppressionTicked() const override { return m_current.ticked; }

    int countOf(const QString &title) const
    {
        int count = 0;
        for (const qv::Alert &alert : shown) {
            count += qv::Alert::shownText(alert.title) == title ? 1 : 0;
        }
        return count;
    }

private:
    void take(const qv::Alert &alert)
    {
        shown.append(alert);
        m_current = answers.isEmpty() ? Answer() : answers.takeFirst();
    }

    Answer m_current;
    QList<int> m_codes;
};
