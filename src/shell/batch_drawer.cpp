#include "shell/batch_drawer.h"

#include "shell/shown_counts.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include <array>

namespace qv
{
namespace
{

// Counting goes over all rows, so thousands of changes in a row share a few counts.
constexpr int countingMilliseconds = 100;

} // namespace

BatchDrawer::BatchDrawer(appDelegate &controller, Workspace &workspace, QWidget *parent)
    : QWidget(parent), m_controller(controller), m_view(new BatchView(controller, workspace, this)),
      m_refused(new RefusedList(workspace, this)), m_summary(new QLabel(this)),
      m_remove(new QPushButton(QStringLiteral("@@btRemove"), this)),
      m_removeAll(new QPushButton(QStringLiteral("@@btRemoveAll"), this))
{
    setUpButtons();
    layOut();
    m_summary->setTextFormat(Qt::PlainText);
    m_counting.setSingleShot(true);
    m_counting.setInterval(countingMilliseconds);
    connect(&m_counting, &QTimer::timeout, this, [this] { m_summary->setText(summary()); });
    connect(m_view, &BatchView::rowsSelected, this, &BatchDrawer::enableButtons);
    connect(&m_view->batch(), &BatchModel::rowsInserted, this, &BatchDrawer::forgetRefused);
    enableButtons();
    m_summary->setText(summary());
}

void BatchDrawer::setUpButtons()
{
    const auto remove = [this] { m_controller.encBatchRemove(appDelegate::Sender::Button); };
    const auto removeAll = [this] { m_controller.encBatchRemoveAll(appDelegate::Sender::Button); };
    connect(m_remove, &QPushButton::clicked, this, remove);
    connect(m_removeAll, &QPushButton::clicked, this, removeAll);
    connect(m_view, &BatchView::removeAsked, this, remove);
    connect(m_view, &BatchView::removeAllAsked, this, removeAll);
    m_remove->setToolTip(QStringLiteral("@@btRemoveTip"));
    m_removeAll->setToolTip(QStringLiteral("@@btRemoveAllTip"));
    // Return is for the table and for Go.
    m_remove->setAutoDefault(false);
    m_removeAll->setAutoDefault(false);
}

void BatchDrawer::layOut()
{
    auto *bottom = new QHBoxLayout;
    bottom->addWidget(m_summary, 1);
    bottom->addWidget(m_remove);
    bottom->addWidget(m_removeAll);
    auto *column = new QVBoxLayout(this);
    column->addWidget(m_view, 1);
    column->addWidget(m_refused);
    column->addLayout(bottom);
}

void BatchDrawer::rowsChanged()
{
    m_view->rowsChanged();
    enableButtons();
    countSoon();
}

void BatchDrawer::rowChanged(int row)
{
    m_view->rowChanged(row);
    countSoon();
}

void BatchDrawer::addRefused(const QString &source, const QString &reason)
{
    m_refused->add(source, reason);
}

// What came in after all is refused no longer.
void BatchDrawer::forgetRefused(const QModelIndex &, int first, int last)
{
    for (int row = first; m_refused->count() > 0 && row <= last; ++row) {
        m_refused->remove(m_view->batch().item(row)->sourcePath());
    }
}

void BatchDrawer::countSoon()
{
    if (!m_counting.isActive()) {
        m_counting.start();
    }
}

QString BatchDrawer::summary() const
{
    const BatchTable &table = m_controller.table();
    std::array<int, rowMarkCount> counts{};
    for (int i = 0; i < table.count(); ++i) {
        ++counts.at(static_cast<size_t>(table.row(i).resultat));
    }
    QStringList parts;
    const auto tell = [&](const QString &key, int count) {
        if (count > 0) {
            parts << countText(key, count);
        }
    };
    tell(QStringLiteral("btVideo"), table.count());
    tell(QStringLiteral("btVideoDone"), counts[static_cast<size_t>(RowMark::PuceSuccess)]);
    tell(QStringLiteral("btVideoKept"), counts[static_cast<size_t>(RowMark::PuceKept)]);
    tell(QStringLiteral("btVideoFailed"), counts[static_cast<size_t>(RowMark::PuceFailure)]);
    return parts.join(QStringLiteral(", "));
}

void BatchDrawer::enableButtons()
{
    m_remove->setEnabled(!m_controller.table().selection().isEmpty());
    m_removeAll->setEnabled(!m_controller.table().isEmpty());
}

} // namespace qv
