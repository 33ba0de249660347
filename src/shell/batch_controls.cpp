#include "shell/batch_controls.h"

#include "controller/destination.h"
#include "shell/busy_wheel.h"
#include "shell/choice_labels.h"
#include "shell/interface_pictures.h"
#include "shell/readable.h"
#include "shell/segmented_control.h"
#include "support/localized_strings.h"

#include <QCheckBox>
#include <QComboBox>
#include <QEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QStyle>
#include <QVBoxLayout>

#include <algorithm>
#include <cmath>

namespace qv
{
namespace
{

constexpr int barSteps = 1000;

QLabel *makeCaption(QWidget *parent, QPalette::ColorRole role)
{
    auto *label = new QLabel(parent);
    label->setTextFormat(Qt::PlainText);
    label->setForegroundRole(role);
    return label;
}

QLabel *makeFieldName(const QString &text, QWidget *buddy, QWidget *parent)
{
    auto *label = new QLabel(text, parent);
    label->setTextFormat(Qt::PlainText);
    label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
    label->setBuddy(buddy);
    return label;
}

QProgressBar *makeBar(const QString &name, QWidget *parent)
{
    auto *bar = new QProgressBar(parent);
    bar->setTextVisible(false);
    bar->setRange(0, barSteps);
    bar->setFixedHeight(8);
    bar->setAccessibleName(name);
    return bar;
}

int barValue(double value, double minimum, double maximum)
{
    if (!(maximum > minimum) || !std::isfinite(value)) {
        return 0;
    }
    const double part = std::clamp((value - minimum) / (maximum - minimum), 0.0, 1.0);
    return static_cast<int>(std::lround(part * barSteps));
}

// A label as wide as its text would widen the window with each long name.
void setElided(QLabel &label, const QString &text)
{
    label.setText(label.fontMetrics().elidedText(text, Qt::ElideMiddle, label.width()));
    label.setToolTip(label.text() == text ? QString() : plainToolTip(text));
}

// Empty when sheets can go there.
QString destinationProblem(DestinationState state)
{
    switch (state) {
    case DestinationState::Missing:
        return localized(QStringLiteral("destinationMissing"));
    case DestinationState::NoFolder:
        return localized(QStringLiteral("destinationIsFile"));
    case DestinationState::Locked:
        return localized(QStringLiteral("destinationLocked"));
    case DestinationState::Usable:
    case DestinationState::WillBeMade:
        break;
    }
    return {};
}

QHBoxLayout *makeRow(std::initializer_list<QWidget *> widgets)
{
    auto *row = new QHBoxLayout;
    row->setContentsMargins(0, 0, 0, 0);
    for (QWidget *widget : widgets) {
        row->addWidget(widget);
    }
    return row;
}

} // namespace

BatchControls::BatchControls(QWidget *parent)
    : QWidget(parent), m_folder(new QLineEdit(this)), m_choose(new QPushButton(this)),
      m_warning(new QWidget(this)), m_warningText(makeCaption(m_warning, QPalette::WindowText)),
      m_layouts(new SegmentedControl(SegmentedControl::Mode::SelectOne, this)),
      m_choices(new SegmentedControl(SegmentedControl::Mode::SelectOne, this)),
      m_count(new QComboBox(this)), m_quick(new QCheckBox(this)), m_go(new QPushButton(this)),
      m_stop(new SegmentedControl(SegmentedControl::Mode::Momentary, this)),
      m_progress(new QWidget(this))
{
    auto *grid = new QGridLayout;
    grid->setColumnStretch(1, 1);
    grid->setHorizontalSpacing(10);
    grid->setVerticalSpacing(10);
    addDestination(*grid);
    addSheetChoices(*grid);
    addQuickSwitch(*grid);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(16);
    column->addLayout(grid);
    column->addWidget(makeButtons());
    column->addWidget(makeProgress());
    for (int out = 0; out < static_cast<int>(m_counts.size()); ++out) {
        m_counts.at(static_cast<size_t>(out)) = offeredCounts(out).last();
    }
    orderTabs();
    setLayoutIndex(1);
    setPictureChoice(0);
    show(WindowState());
}

// From top to bottom, as one reads.
void BatchControls::orderTabs()
{
    QList<QWidget *> order{m_folder, m_choose};
    order += m_layouts->segments();
    order += m_count;
    order += m_choices->segments();
    order += m_quick;
    order += m_go;
    order += m_stop->segments();
    for (qsizetype i = 1; i < order.size(); ++i) {
        setTabOrder(order.at(i - 1), order.at(i));
    }
}

void BatchControls::addDestination(QGridLayout &grid)
{
    m_folder->setReadOnly(true);
    m_folder->setObjectName(QStringLiteral("destinationField"));
    m_folder->setAccessibleName(QStringLiteral("@@destination"));
    m_choose->setText(QStringLiteral("@@chooseFolder"));
    m_choose->setObjectName(QStringLiteral("selectFolderBt"));
    connect(m_choose, &QPushButton::clicked, this, &BatchControls::folderRequested);
    grid.addWidget(makeFieldName(QStringLiteral("@@destinationLabel"), m_folder, this), 0, 0);
    grid.addLayout(makeRow({m_folder, m_choose}), 0, 1);

    m_warningText->setObjectName(QStringLiteral("destinationWarning"));
    m_warningText->setWordWrap(true);
    auto *mark = new QLabel(m_warning);
    const int side = style()->pixelMetric(QStyle::PM_SmallIconSize);
    mark->setPixmap(style()->standardIcon(QStyle::SP_MessageBoxWarning).pixmap(side));
    auto *row = makeRow({mark, m_warningText});
    row->setStretch(1, 1);
    m_warning->setLayout(row);
    m_warning->hide();
    grid.addWidget(m_warning, 1, 1);
}

void BatchControls::addSheetChoices(QGridLayout &grid)
{
    for (const QString &label : layoutLabels()) {
        m_layouts->addSegment(label, {}, label);
    }
    for (const QString &label : pictureChoiceLabels()) {
        m_choices->addSegment(label, {}, label);
    }
    m_layouts->setObjectName(QStringLiteral("layoutSelector"));
    m_choices->setObjectName(QStringLiteral("pictureSelector"));
    m_layouts->setAccessibleName(QStringLiteral("@@layout"));
    m_choices->setAccessibleName(QStringLiteral("@@pictureFile"));
    m_count->setObjectName(QStringLiteral("countSelector"));
    m_count->setAccessibleName(QStringLiteral("@@stillsCount"));
    connect(m_layouts, &SegmentedControl::clicked, this, [this](int out) {
        offerCounts();
        Q_EMIT layoutChanged(out);
    });
    connect(m_count, &QComboBox::activated, this, [this] {
        m_counts.at(static_cast<size_t>(layoutIndex())) = m_count->currentText().toInt();
    });
    grid.addWidget(makeFieldName(QStringLiteral("@@layoutLabel"), m_layouts, this), 2, 0);
    grid.addWidget(m_layouts, 2, 1, Qt::AlignLeft);
    auto *row = makeRow({m_count});
    row->addSpacing(14);
    row->addWidget(makeFieldName(QStringLiteral("@@pictureFileLabel"), m_choices, this));
    row->addWidget(m_choices);
    row->addStretch();
    grid.addWidget(makeFieldName(QStringLiteral("@@stillsCountLabel"), m_count, this), 3, 0);
    grid.addLayout(row, 3, 1);
}

void BatchControls::addQuickSwitch(QGridLayout &grid)
{
    m_quick->setText(QStringLiteral("@@quickPictures"));
    m_quick->setToolTip(QStringLiteral("@@quickPicturesTip"));
    m_quick->setObjectName(QStringLiteral("quickSwitch"));
    connect(m_quick, &QCheckBox::clicked, this, &BatchControls::quickPicturesChosen);
    grid.addWidget(m_quick, grid.rowCount(), 1, Qt::AlignLeft);
}

QWidget *BatchControls::makeButtons()
{
    auto *buttons = new QWidget(this);
    m_go->setText(QStringLiteral("@@go"));
    m_go->setObjectName(QStringLiteral("goBt"));
    m_go->setToolTip(QStringLiteral("@@goTip"));
    m_go->setIcon(interfacePicture(QStringLiteral("btResume")));
    QFont font = m_go->font();
    font.setWeight(QFont::DemiBold);
    m_go->setFont(font);
    m_go->setMinimumHeight(m_go->fontMetrics().height() + 18);
    m_go->setDefault(true);
    connect(m_go, &QPushButton::clicked, this, &BatchControls::goClicked);

    m_stop->setObjectName(QStringLiteral("taskStopBt"));
    m_stop->addSegment(QString(), interfacePicture(QStringLiteral("btPause")),
                       localized(QStringLiteral("pause")));
    m_stop->addSegment(QString(), interfacePicture(QStringLiteral("btStop")),
                       localized(QStringLiteral("stop")));
    connect(m_stop, &SegmentedControl::clicked, this, &BatchControls::taskStopClicked);
    auto *row = makeRow({m_go, m_stop});
    row->setStretch(0, 1);
    row->setSpacing(10);
    buttons->setLayout(row);
    return buttons;
}

QWidget *BatchControls::makeProgress()
{
    m_batchCaption = makeCaption(m_progress, QPalette::WindowText);
    m_timeLeft = makeCaption(m_progress, QPalette::PlaceholderText);
    m_timeLeft->setAlignment(Qt::AlignRight);
    m_stepCaption = makeCaption(m_progress, QPalette::PlaceholderText);
    m_stepCaption->setAlignment(Qt::AlignRight);
    m_actionCaption = makeCaption(m_progress, QPalette::WindowText);
    m_actionCaption->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    m_percent = makeCaption(m_progress, QPalette::PlaceholderText);
    m_taskWheel = new BusyWheel(m_progress);
    m_stepBar = makeBar(QStringLiteral("@@stepBar"), m_progress);
    m_taskBar = makeBar(QStringLiteral("@@taskBar"), m_progress);
    // The room is kept, so that nothing jumps when a batch begins.
    for (QWidget *kept : {static_cast<QWidget *>(m_stepBar), static_cast<QWidget *>(m_taskWheel)}) {
        QSizePolicy policy = kept->sizePolicy();
        policy.setRetainSizeWhenHidden(true);
        kept->setSizePolicy(policy);
    }
    m_stepBar->setObjectName(QStringLiteral("stepBar"));
    m_taskBar->setObjectName(QStringLiteral("taskProgress"));
    m_stepCaption->setObjectName(QStringLiteral("stepCaption"));
    m_actionCaption->setObjectName(QStringLiteral("taskProgressActionStr"));
    m_percent->setObjectName(QStringLiteral("taskProgressPercent"));
    m_batchCaption->setObjectName(QStringLiteral("batchCaption"));
    m_timeLeft->setObjectName(QStringLiteral("timeLeft"));

    auto *action = makeRow({m_taskWheel, m_actionCaption, m_percent, m_stepCaption});
    action->setStretch(1, 1);
    auto *column = new QVBoxLayout(m_progress);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(6);
    column->addLayout(action);
    column->addWidget(m_stepBar);
    column->addWidget(m_taskBar);
    auto *summary = makeRow({m_batchCaption, m_timeLeft});
    summary->setStretch(0, 1);
    column->addLayout(summary);
    return m_progress;
}

// ---- what the controller shows

void BatchControls::show(const WindowState &window)
{
    const QWidget *focus = this->window()->focusWidget();
    const bool goHasFocus = focus == m_go;
    const bool stopHasFocus = focus != nullptr && m_stop->isAncestorOf(focus);
    const bool mayGo = window.goEnabled && !window.goPressed;
    // A widget that goes away or is disabled would pass its focus to any other one.
    m_stop->setVisible(m_stop->isVisibleTo(this) || window.goPressed);
    if (goHasFocus && window.goPressed) {
        m_stop->segments().at(StopControl::pauseSegment)->setFocus();
    }
    m_go->setEnabled(mayGo);
    m_go->setDown(window.goPressed);
    if (stopHasFocus && mayGo) {
        m_go->setFocus();
    }
    colorGo();
    showStopControl(window);
    showBars(window);
    if (window.goPressed && !m_warning->isHidden()) {
        checkDestination(); // Go has made it usable, or found it so
    }
}

void BatchControls::showStopControl(const WindowState &window)
{
    m_stop->setVisible(window.goPressed);
    m_stop->setSegmentEnabled(StopControl::pauseSegment, window.stop.enabled);
    const QString image = window.stop.images.value(StopControl::pauseSegment);
    if (image == m_pauseImage) {
        return;
    }
    m_pauseImage = image;
    m_stop->setIcon(StopControl::pauseSegment, interfacePicture(image));
    m_stop->setName(
        StopControl::pauseSegment,
        localized(window.stop.offersPause() ? QStringLiteral("pause") : QStringLiteral("resume")));
}

void BatchControls::showBars(const WindowState &window)
{
    const SlotControls &task = window.encoding;
    m_stepCaption->setText(window.stepCaption);
    m_stepBar->setValue(barValue(window.stepValue, 0, window.stepMaximum));
    m_stepBar->setVisible(window.goPressed);
    m_taskBar->setVisible(window.goPressed && task.determinate);
    m_taskBar->setValue(barValue(task.value, task.minimum, task.maximum));
    m_taskWheel->setVisible(window.goPressed);
    m_taskWheel->setSpinning(task.wheelSpinning && window.stop.offersPause());
    m_percent->setText(task.percent);
    // A pause may fall between two tools; it is shown all the same.
    const bool isPaused = window.goPressed && !window.stop.offersPause();
    const QString pause = window.stop.waitsForAnalysis
                              ? localized(QStringLiteral("pausedForVideos"))
                              : localizedCapitalized(QStringLiteral("D_action_pause"));
    setElided(*m_actionCaption, isPaused ? pause : task.actionCaption);
}

void BatchControls::showBatch(const QString &caption, const QString &timeLeft)
{
    m_batchCaption->setText(caption);
    m_timeLeft->setText(timeLeft);
}

// ---- what the user chose

void BatchControls::setDestination(const QString &path)
{
    m_destination = path;
    elideDestination();
    checkDestination();
}

void BatchControls::checkDestination()
{
    const QString problem = destinationProblem(destinationState(m_destination));
    m_warningText->setText(problem);
    m_warning->setVisible(!problem.isEmpty() && !m_destination.isEmpty());
    m_folder->setAccessibleDescription(m_destination + QLatin1Char(' ') + problem);
}

void BatchControls::elideDestination()
{
    const int room = m_folder->width() - 2 * m_folder->fontMetrics().averageCharWidth() - 8;
    m_folder->setText(
        m_folder->fontMetrics().elidedText(m_destination, Qt::ElideMiddle, std::max(room, 60)));
    m_folder->setToolTip(plainToolTip(m_destination));
}

void BatchControls::resizeEvent(QResizeEvent *event)
{
    QWidget::resizeEvent(event);
    elideDestination();
}

void BatchControls::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::PaletteChange) {
        colorGo();
    } else if (event->type() == QEvent::ActivationChange && !m_warning->isHidden()) {
        checkDestination(); // its disk may have been mounted meanwhile
    }
    QWidget::changeEvent(event);
}

// The one button that everything leads to is in the accent colour while it can be pressed.
void BatchControls::colorGo()
{
    constexpr int deeper = 125; // styles lighten a button's colour
    QPalette colors = palette();
    for (const auto state : {QPalette::Active, QPalette::Inactive}) {
        colors.setColor(state, QPalette::Button,
                        palette().color(QPalette::Highlight).darker(deeper));
        colors.setColor(state, QPalette::ButtonText, palette().color(QPalette::HighlightedText));
    }
    m_go->setPalette(colors);
    const bool inked = m_go->isEnabled();
    m_go->setIcon(inked ? interfacePicture(QStringLiteral("btGo"))
                        : interfacePicture(QStringLiteral("btResume")));
}

int BatchControls::layoutIndex() const
{
    return std::max(0, m_layouts->selectedSegment());
}

void BatchControls::setLayoutIndex(int out)
{
    m_layouts->selectSegment(out);
    offerCounts();
}

int BatchControls::pictureChoice() const
{
    return std::max(0, m_choices->selectedSegment());
}

void BatchControls::setPictureChoice(int dpi)
{
    m_choices->selectSegment(std::clamp(dpi, 0, m_choices->count() - 1));
}

int BatchControls::thumbnailCount(int out) const
{
    return m_counts.at(static_cast<size_t>(std::clamp(out, 0, layoutCount - 1)));
}

void BatchControls::setThumbnailCount(int out, int count)
{
    m_counts.at(static_cast<size_t>(std::clamp(out, 0, layoutCount - 1))) = count;
    offerCounts();
}

void BatchControls::setQuickPictures(bool quick)
{
    m_quick->setChecked(quick);
}

void BatchControls::offerCounts()
{
    const int out = layoutIndex();
    QList<int> counts = offeredCounts(out);
    if (!counts.contains(thumbnailCount(out))) {
        counts.append(thumbnailCount(out));
        std::sort(counts.begin(), counts.end());
    }
    m_count->clear();
    for (const int count : counts) {
        m_count->addItem(QString::number(count));
    }
    m_count->setCurrentText(QString::number(thumbnailCount(out)));
}

} // namespace qv
