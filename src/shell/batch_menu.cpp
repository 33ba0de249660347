#include "shell/batch_menu.h"

#include "shell/batch_view.h"
#include "support/localized_strings.h"

#include <QActionGroup>

#include <algorithm>
#include <optional>

namespace qv
{
namespace
{

template <typename Function>
QAction *addItem(QMenu &menu, const char *key, bool enabled, const Function &run)
{
    QAction *action = menu.addAction(localized(QLatin1String(key)), &menu, run);
    action->setEnabled(enabled);
    return action;
}

// The value that all rows have in common.
std::optional<int> commonChoice(const BatchView &view, const QList<int> &rows, int column)
{
    std::optional<int> common;
    for (const int row : rows) {
        const int value = view.batch().index(row, column).data(Qt::EditRole).toInt();
        if (common.value_or(value) != value) {
            return {};
        }
        common = value;
    }
    return common;
}

void addChoices(QMenu &menu, BatchView &view, const QList<int> &rows, int column)
{
    const BatchModel &model = view.batch();
    QMenu *choices =
        menu.addMenu(model.headerData(column, Qt::Horizontal, Qt::AccessibleTextRole).toString());
    choices->setEnabled(
        std::any_of(rows.begin(), rows.end(), [&](int row) { return !model.isInProgress(row); }));
    auto *group = new QActionGroup(choices);
    const QStringList words = model.choices(column);
    const std::optional<int> common = commonChoice(view, rows, column);
    for (int value = 0; value < words.size(); ++value) {
        QAction *action = choices->addAction(
            words.at(value), &view, [&view, column, value] { view.setChoice(column, value); });
        action->setCheckable(true);
        action->setChecked(common == value);
        group->addAction(action);
    }
}

} // namespace

std::unique_ptr<QMenu> batchMenu(BatchView &view)
{
    auto menu = std::make_unique<QMenu>();
    const BatchModel &model = view.batch();
    const QList<int> rows = view.selectedRows();
    const bool any = !rows.isEmpty();
    const bool anyFailed = std::any_of(rows.begin(), rows.end(),
                                       [&](int row) { return !model.reason(row).isEmpty(); });
    const bool hasSheet = rows.size() == 1 && !model.sheet(rows.first()).isEmpty();

    addItem(*menu, "btOpenSheet", hasSheet, [&view] { view.openSheetOfSelection(); });
    addItem(*menu, "btShowInFolder", any, [&view] { view.showInFolder(); });
    menu->addSeparator();
    if (anyFailed) {
        addItem(*menu, "btCopyReason", true, [&view] { view.copyReasons(); });
    }
    addItem(*menu, "btCopyPath", any, [&view] { view.copyPaths(); });
    menu->addSeparator();
    addChoices(*menu, view, rows, BatchModel::Layout);
    addChoices(*menu, view, rows, BatchModel::Picture);
    menu->addSeparator();
    addItem(*menu, "btRemove", any, [&view] { Q_EMIT view.removeAsked(); });
    addItem(*menu, "btRemoveAll", model.rowCount() > 0, [&view] { Q_EMIT view.removeAllAsked(); });
    return menu;
}

} // namespace qv
