// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// How the dock is built.

#include "dock/dock.hpp"
#include "dock/focus_ring.hpp"
#include "dock/reading_band.hpp"
#include "dock/speed.hpp"
#include "dock/style.hpp"

#include "editor/editor.hpp"
#include "plugin/text.hpp"
#include "remote/remote.hpp"

#include <QAction>
#include <QApplication>
#include <QBoxLayout>
#include <QCheckBox>
#include <QClipboard>
#include <QDoubleSpinBox>
#include <QFileInfo>
#include <QFrame>
#include <QLabel>
#include <QLineEdit>
#include <QScrollBar>
#include <QSlider>
#include <QToolBar>
#include <QToolButton>
#include <QToolTip>

#include <chrono>
#include <utility>

namespace quillbay {

namespace {

using namespace std::chrono_literals;

constexpr auto kSaveDelay = 500ms;
constexpr auto kFrameInterval = 16ms;
constexpr auto kCountdownInterval = 100ms;
constexpr const char *kReadingGuideKey = "readingGuide";
constexpr const char *kStartCountdownKey = "startCountdown";
constexpr QSize kMinimumSize{700, 300};
constexpr int kDockMargin = 4;
constexpr int kBracketWidth = 10;
constexpr int kQrButtonSize = 24;
constexpr int kSeparatorSpacing = 4;

QString notesFolder(const QString &settingsPath)
{
	return QFileInfo(settingsPath).absolutePath() + QStringLiteral("/notes");
}

// What is neither true nor false in a settings file that someone has edited counts as not there.
bool isOn(const QSettings &settings, const char *key, bool fallback)
{
	const QString value = settings.value(QLatin1StringView(key)).toString();
	const bool isSwitch = value == QLatin1StringView("true") || value == QLatin1StringView("false");
	return isSwitch ? value == QLatin1StringView("true") : fallback;
}

template <typename Widget>
Widget *named(Widget *widget, const char *name)
{
	widget->setObjectName(QLatin1StringView(name));
	return widget;
}

QLabel *makeLabel(QWidget *parent, const char *name)
{
	auto *label = named(new QLabel(parent), name);
	label->setTextFormat(Qt::PlainText);
	return label;
}

QLabel *makeBracket(QWidget *parent, const char *name, const QString &bracket)
{
	QLabel *label = makeLabel(parent, name);
	label->setText(bracket);
	label->setFixedWidth(kBracketWidth);
	label->setAlignment(Qt::AlignCenter);
	return label;
}

// Adds a control so that the layout uses the control's own rectangle: styles add margins that would otherwise
// put neighbours on different lines.
void addControl(QBoxLayout *layout, QWidget *control, int stretch = 0, Qt::Alignment alignment = {})
{
	control->setAttribute(Qt::WA_LayoutUsesWidgetRect);
	layout->addWidget(control, stretch, alignment);
}

QBoxLayout *makeRow(QWidget *parent, int spacing)
{
	auto *row = new QHBoxLayout(parent);
	row->setContentsMargins(0, 0, 0, 0);
	row->setSpacing(spacing);
	return row;
}

} // namespace

Dock::Dock(const QString &settingsPath, QWidget *parent)
    : QWidget(parent), settings(settingsPath, QSettings::IniFormat), noteStore(notesFolder(settingsPath)),
      remote(std::make_unique<Remote>(*this, settings))
{
	setObjectName(QStringLiteral("QuillBayContent"));
	locked = isOn(settings, "locked", false);
	setMinimumSize(kMinimumSize);
	auto *column = new QVBoxLayout(this);
	column->setContentsMargins(kDockMargin, kDockMargin, kDockMargin, kDockMargin);
	column->setSpacing(3);

	buildTopControls();
	buildEditor();
	createToolbar();
	createSearchField();
	auto *topRow = static_cast<QBoxLayout *>(topControls->layout());
	addControl(topRow, formatToolbar);
	addControl(topRow, searchText, 1);
	buildBottomControls();
	showStatus(text("InitialStatus"));
	updateAppearance();
	updateControlSizes();
	updateSceneStyle();
	focusRing = new FocusRing(this);
	orderFocus();
	connectSignals();
	setSpeed(kMinSpeed);
	bindScene(nullptr);
	prepareAutoClear();
}

Dock::~Dock()
{
	shutdown();
	// The children's going moves the focus, when what the slot needs has gone already.
	disconnect(qApp, nullptr, this, nullptr);
}

void Dock::buildTopControls()
{
	topControls = named(new QWidget(this), "topControls");
	QBoxLayout *row = makeRow(topControls, 4);
	scenePrefix = makeBracket(topControls, "scenePrefix", QStringLiteral("["));
	sceneLabel = makeLabel(topControls, "sceneLabel");
	sceneLabel->setText(text("NoScene"));
	sceneLabel->setMinimumWidth(20);
	sceneLabel->setMaximumWidth(140);
	saveStatus = makeBracket(topControls, "saveStatus", QStringLiteral("]"));
	for (QLabel *label : {scenePrefix, sceneLabel, saveStatus}) {
		addControl(row, label);
	}
	layout()->addWidget(topControls);

	saveError = makeLabel(this, "saveError");
	saveError->setContentsMargins(6, 3, 6, 3);
	saveError->hide();
	layout()->addWidget(saveError);
}

void Dock::buildEditor()
{
	editor = named(new Editor(this), "noteEditor");
	editor->setAcceptRichText(true);
	editor->setContextMenuPolicy(Qt::CustomContextMenu);
	editor->installEventFilter(this);
	editor->viewport()->installEventFilter(this);
	editor->onTextLimit = [this] {
		const QString message = text("TextLimit");
		showStatus(message);
		const QPoint corner = editor->viewport()->mapToGlobal(editor->cursorRect().bottomRight());
		QToolTip::showText(corner, message, editor);
	};

	readingBand = new ReadingBand(editor->viewport());
	editor->setStripe(readingBand, kBandEdge);
	remoteQrButton = named(new QToolButton(this), "remoteQrButton");
	remoteQrButton->setFixedSize(kQrButtonSize, kQrButtonSize);
	remoteQrButton->setIconSize(iconSize);
	remoteQrButton->setAutoRaise(true);
	remoteQrButton->setFocusPolicy(Qt::NoFocus);
	remoteQrButton->setToolTip(text("RemoteQR"));
	remoteQrButton->setAccessibleName(text("RemoteQR"));
	remoteQrButton->hide();
	qobject_cast<QBoxLayout *>(layout())->addWidget(editor, 1);
}

void Dock::buildBottomControls()
{
	bottomControls = named(new QWidget(this), "bottomControls");
	bottomControls->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
	bottomControls->installEventFilter(this);
	bottomLayout = makeRow(bottomControls, 8);

	buildReadingControls();
	buildReadingMetrics();
	bottomLayout->addWidget(readingControls, 1);
	bottomLayout->addWidget(readingMetrics, 0, Qt::AlignRight);
	layout()->addWidget(bottomControls);
}

void Dock::buildReadingControls()
{
	readingControls = named(new QWidget(bottomControls), "readingControls");
	QBoxLayout *row = makeRow(readingControls, 2);
	const auto addButton = [this, row](const char *name) {
		auto *button = named(new QToolButton(readingControls), name);
		button->setFixedSize(buttonSize);
		button->setIconSize(iconSize);
		addControl(row, button);
		return button;
	};
	const auto addSwitch = [this](QToolButton *button, const char *name, const char *textKey, const char *tipKey) {
		auto *action = named(new QAction(text(textKey), this), name);
		action->setCheckable(true);
		action->setToolTip(text(tipKey));
		button->setDefaultAction(action);
		return action;
	};
	readMode = addButton("readMode");
	readAction = addSwitch(readMode, "Read", "Read", "ReadTip");
	scrollPlay = addButton("scrollPlay");
	readingGuide = addButton("readingGuide");
	guideAction = addSwitch(readingGuide, "ReadingGuide", "ReadingGuide", "ReadingGuide");
	guideAction->setChecked(isOn(settings, kReadingGuideKey, true));
	scrollTop = addButton("scrollTop");
	scrollTop->setToolTip(text("TopTip"));
	scrollTop->setAccessibleName(text("TopTip"));
	showPlayFace("Scroll", "ScrollTip");

	startCountdown = named(new QCheckBox(QStringLiteral("3s"), readingControls), "startCountdown");
	startCountdown->setToolTip(text("Countdown"));
	startCountdown->setAccessibleName(text("Countdown"));
	startCountdown->setChecked(isOn(settings, kStartCountdownKey, false));
	startCountdown->setFocusPolicy(Qt::TabFocus);
	addControl(row, startCountdown);
	addControl(row, paragraphToolbar);
	buildSpeedControls(row);
}

void Dock::buildSpeedControls(QBoxLayout *row)
{
	row->addSpacing(kSeparatorSpacing);
	addSeparator(row, "speedStartSeparator");
	row->addSpacing(kSeparatorSpacing);
	scrollSlider = named(new QSlider(Qt::Horizontal, readingControls), "scrollSlider");
	scrollSlider->setRange(static_cast<int>(kMinSpeed * 10), static_cast<int>(kMaxSpeed * 10));
	scrollSlider->setToolTip(text("SpeedTip"));
	scrollSlider->setAccessibleName(text("Speed"));
	scrollSlider->setMinimumWidth(8);
	// A click leaves the focus, and with it the teleprompter's keys, in the note.
	scrollSlider->setFocusPolicy(Qt::TabFocus);
	addControl(row, scrollSlider, 1);

	scrollSpeed = named(new QDoubleSpinBox(readingControls), "scrollSpeed");
	scrollSpeed->setRange(kMinSpeed, kMaxSpeed);
	scrollSpeed->setDecimals(1);
	scrollSpeed->setSingleStep(kSpeedStep);
	scrollSpeed->setSuffix(QStringLiteral("×"));
	scrollSpeed->setButtonSymbols(QAbstractSpinBox::NoButtons);
	scrollSpeed->setAlignment(Qt::AlignCenter);
	scrollSpeed->setStyleSheet(spinBoxSheet("QDoubleSpinBox"));
	scrollSpeed->setToolTip(text("SpeedTip"));
	scrollSpeed->setAccessibleName(text("Speed"));
	addControl(row, scrollSpeed);
	row->addSpacing(kSeparatorSpacing);
	addSeparator(row, "speedEndSeparator");
	row->addSpacing(kSeparatorSpacing);
}

QFrame *Dock::addSeparator(QBoxLayout *row, const char *name)
{
	auto *frame = named(new QFrame(row->parentWidget()), name);
	frame->setFixedSize(1, 12);
	addControl(row, frame, 0, Qt::AlignVCenter);
	separators.append(frame);
	return frame;
}

void Dock::buildReadingMetrics()
{
	readingMetrics = named(new QWidget(bottomControls), "readingMetrics");
	QBoxLayout *row = makeRow(readingMetrics, 6);
	const auto addMetric = [this, row](const char *name) {
		QLabel *label = makeLabel(readingMetrics, name);
		label->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
		addControl(row, label);
		return label;
	};
	documentStatus = addMetric("documentStatus");
	addSeparator(row, "characterSeparator");
	characterCount = addMetric("characterCount");
	addSeparator(row, "percentSeparator");
	scrollPercent = addMetric("scrollPercent");
	for (QLabel *label : {documentStatus, scrollPercent}) {
		label->setCursor(Qt::PointingHandCursor);
		label->setToolTip(text("GoTo"));
		label->setFocusPolicy(Qt::TabFocus);
		label->installEventFilter(this);
	}
}

// Tab goes through the controls as they stand, row by row.
void Dock::orderFocus()
{
	QList<QWidget *> order;
	const auto addBar = [&order](const QToolBar *bar) {
		const QList<QAction *> actions = bar->actions();
		for (QAction *action : actions) {
			order.append(bar->widgetForAction(action));
		}
	};
	addBar(formatToolbar);
	order << searchText << findPrevious << findNext << clearSearchButton << editor;
	order << readMode << scrollPlay << readingGuide << scrollTop << startCountdown;
	addBar(paragraphToolbar);
	order << scrollSlider << scrollSpeed << documentStatus << scrollPercent;
	order.removeIf([](const QWidget *widget) { return !(widget->focusPolicy() & Qt::TabFocus); });
	for (qsizetype i = 1; i < order.size(); ++i) {
		setTabOrder(order[i - 1], order[i]);
	}
}

void Dock::connectSignals()
{
	saveTimer.setSingleShot(true);
	saveTimer.setInterval(kSaveDelay);
	saveDeadline.setSingleShot(true);
	saveDeadline.setInterval(kSaveDelay);
	followTimer.setSingleShot(true);
	followTimer.setInterval(kSaveDelay);
	for (const QTimer *timer : {&saveTimer, &saveDeadline}) {
		connect(timer, &QTimer::timeout, this, [this] { flush(true, true); });
	}
	connect(&followTimer, &QTimer::timeout, this, [this] {
		if (!dirty && std::exchange(isHeldBack, false)) {
			followHost();
		}
	});
	connectEditor();
	connectTeleprompter();
	connect(qApp, &QApplication::focusChanged, this, &Dock::focusMoved);
	connect(readAction, &QAction::toggled, this, &Dock::setLocked);
	connect(remoteQrButton, &QToolButton::clicked, this, [this] {
		const QString url = remote->url();
		if (!url.isEmpty()) {
			QGuiApplication::clipboard()->setText(url);
		}
		remote->toggleQr(editor->viewport());
	});
}

void Dock::connectEditor()
{
	connect(editor, &QTextEdit::textChanged, this, &Dock::noteEdited);
	connect(editor, &QWidget::customContextMenuRequested, this, &Dock::showEditorContextMenu);
	connect(editor, &QTextEdit::selectionChanged, this, [this] {
		if (clearColorPreview()) {
			updateAppearance();
		}
		updateCharacterStatus();
	});
	connect(editor, &QTextEdit::currentCharFormatChanged, this, &Dock::syncFormat);
	connect(editor, &QTextEdit::cursorPositionChanged, this, [this] {
		updateMarkFormat();
		syncFormat();
		if (!searchStale) {
			updateSearchStatus();
		}
	});
	connect(editor->document(), &QTextDocument::blockCountChanged, this, &Dock::updateDocumentStatus);
	const QScrollBar *bar = editor->verticalScrollBar();
	const auto moved = [this] {
		updateDocumentStatus();
		updateReadingBand();
	};
	connect(bar, &QScrollBar::valueChanged, this, moved);
	connect(bar, &QScrollBar::rangeChanged, this, [this, moved] {
		guidedLine.revision = -1;
		moved();
	});
	connect(bar, &QScrollBar::sliderPressed, this, &Dock::restartHold);
	connect(bar, &QScrollBar::sliderReleased, this, &Dock::restartHold);
}

void Dock::connectTeleprompter()
{
	scrollTimer.setTimerType(Qt::PreciseTimer);
	scrollTimer.setInterval(kFrameInterval);
	connect(&scrollTimer, &QTimer::timeout, this, &Dock::scrollFrame);
	countdownTimer.setTimerType(Qt::PreciseTimer);
	countdownTimer.setInterval(kCountdownInterval);
	connect(&countdownTimer, &QTimer::timeout, this, &Dock::updateCountdown);
	connect(scrollPlay, &QToolButton::clicked, this, [this] {
		if (shutDown || restoring) {
			return;
		}
		if (isScrollingOrCounting()) {
			pauseScroll();
		} else {
			startScroll();
		}
	});
	connect(scrollTop, &QToolButton::clicked, this, [this] { command(Command::Top); });
	connect(scrollSlider, &QSlider::valueChanged, this, [this](int value) { setSpeed(value / 10.0); });
	connect(scrollSpeed, &QDoubleSpinBox::valueChanged, this, &Dock::setSpeed);
	connect(guideAction, &QAction::toggled, this, [this](bool isOn) {
		settings.setValue(kReadingGuideKey, isOn);
		updateReadingBand();
	});
	connect(startCountdown, &QCheckBox::toggled, this, [this](bool isOn) {
		settings.setValue(kStartCountdownKey, isOn);
		if (countdownTimer.isActive()) {
			pauseScroll();
		}
	});
}

} // namespace quillbay
