#pragma once

#include "common/recording_workspace.h"
#include "controller/controller_fixture.h"
#include "controller/store_keys.h"
#include "support/variant_values.h"

#include <QImage>

// A controller with rows that need no tool.
class BatchTest : public ControllerTest
{
protected:
    qv::BatchTable &table() { return m_controller->whichArrayController(); }
    qv::BatchItem &row(int index) { return table().row(index); }

    void addRow(const QString &name)
    {
        qv::BatchItem item;
        item.dico = {{"srcPathStr", path(name)},
                     {"imgPathStr", path(name + ".jpg")},
                     {"v0_width", 1920},
                     {"v0_height", 1080}};
        item.src = qv::rowCaption(item.dico, path(name));
        table().add(std::move(item));
    }
    void addRows(int count)
    {
        for (int i = 0; i < count; ++i) {
            addRow(QString("film%1.mp4").arg(table().count()));
        }
    }
    void setInProgress(int index)
    {
        row(index).resultat = qv::RowMark::PuceCurrent;
        m_preferences.prefWrite(qv::keys::currentFile, row(index).sourcePath());
    }
    void setFailed(int index, const QString &reason)
    {
        row(index).resultat = qv::RowMark::PuceFailure;
        row(index).reason = reason;
    }
    // Gives the sheet's path.
    QString setMade(int index)
    {
        const QString sheet = path(QString("sheet%1.jpg").arg(index));
        writeFile(sheet, "a sheet");
        row(index).resultat = qv::RowMark::PuceSuccess;
        row(index).dico.insert("dstPathStr", sheet);
        return sheet;
    }
    void makePreview(int index, const QSize &size)
    {
        QImage picture(size, QImage::Format_RGB32);
        picture.fill(Qt::red);
        ASSERT_TRUE(picture.save(qv::stringIn(row(index).dico, "imgPathStr")));
    }

    RecordingWorkspace m_workspace;
};
