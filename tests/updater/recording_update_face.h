#pragma once

#include "updater/update_face.h"

#include <QStringList>

#include <functional>
#include <optional>

// Remembers what the updater shows and answers what it asks.
class RecordingUpdateFace : public qv::UpdateFace
{
public:
    bool isVisible = false;
    int timesShown = 0;
    int othersClosed = 0;
    qv::UpdateOffer offer;
    QStringList statuses;
    qv::UpdatePhase phase = qv::UpdatePhase::Offered;
    std::function<void(qv::UpdatePhase phase)> onPhase;
    std::optional<tl::expected<qv::WebPage, QString>> notes;
    QString notice;
    bool mayEnd = true;
    bool hasEnded = false;

    void bringMainWindowBack() override {}
    void closeOtherSheets() override { ++othersClosed; }
    bool isUpdateSheetVisible() const override { return isVisible; }
    void showUpdateSheet(const qv::UpdateOffer &shown) override
    {
        offer = shown;
        isVisible = true;
        ++timesShown;
    }
    void closeUpdateSheet() override { isVisible = false; }
    void setUpdateStatus(const QString &status) override { statuses << status; }
    void setUpdatePhase(qv::UpdatePhase shown) override
    {
        phase = shown;
        if (onPhase) {
            onPhase(shown);
        }
    }
    void setUpdateProgress(qint64, qint64) override {}
    void showReleaseNotes(const tl::expected<qv::WebPage, QString> &page) override { notes = page; }
    void updateNotice(const QString &text) override { notice = text; }
    QString words(const QString &reason) const override { return reason; }
    bool mayEndForUpdate() override { return mayEnd; }
    void endForUpdate() override { hasEnded = true; }
};
