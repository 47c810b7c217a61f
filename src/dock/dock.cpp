// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// How the dock is built and what it does with its widgets' events.

#include "dock/dock.hpp"
#include "dock/style.hpp"

#include "editor/editor.hpp"
#include "plugin/text.hpp"
#include "remote/remote.hpp"

#include <QAction>
#include <QBoxLayout>
#include <QClipboard>
#include <QFileInfo>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QPointer>
#include <QScrollBar>
#include <QToolButton>
#include <QToolTip>

#include <chrono>

namespace quillbay {

namespace {

using namespace std::chrono_literals;

constexpr auto kSaveDelay = 500ms;
constexpr QSize kMinimumSize{700, 300};
constexpr int kDockMargin = 4;
constexpr int kBracketWidth = 10;
constexpr int kQrButtonSize = 24;
/// Where the QR button sits: this far right of the viewport, this far below its top.
constexpr QPoint kQrOffset{2, 4};

QString notesFolder(const QString &settingsPath)
{
	return QFileInfo(settingsPath).absolutePath() + QStringLiteral("/notes");
}

template<typename Widget> Widget *named(Widget *widget, const char *name)
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
	: QWidget(parent),
	  settings(settingsPath, QSettings::IniFormat),
	  noteStore(notesFolder(settingsPath))
{
	setObjectName(QStringLiteral("QuillBayContent"));
	locked = settings.value(QStringLiteral("locked"), false).toBool();
	setMinimumSize(kMinimumSize);
	auto *column = new QVBoxLayout(this);
	column->setContentsMargins(kDockMargin, kDockMargin, kDockMargin, kDockMargin);
	column->setSpacing(3);

	buildTopControls();
	buildEditor();
	buildBottomControls();
	showStatus(text("InitialStatus"));
	updateAppearance();
	updateControlSizes();
	updateSceneStyle();
	connectSignals();
	bindScene(nullptr);
}

Dock::~Dock()
{
	shutdown();
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
	row->addStretch(1);
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
	editor->installEventFilter(this);
	editor->viewport()->installEventFilter(this);
	editor->onTextLimit = [this] {
		const QString message = text("TextLimit");
		showStatus(message);
		const QPoint corner = editor->viewport()->mapToGlobal(editor->cursorRect().bottomRight());
		QToolTip::showText(corner, message, editor);
	};

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

	readingControls = named(new QWidget(bottomControls), "readingControls");
	QBoxLayout *row = makeRow(readingControls, 2);
	readAction = named(new QAction(text("Read"), this), "Read");
	readAction->setCheckable(true);
	readAction->setToolTip(text("ReadTip"));
	readMode = named(new QToolButton(readingControls), "readMode");
	readMode->setDefaultAction(readAction);
	readMode->setFixedSize(buttonSize);
	readMode->setIconSize(iconSize);
	addControl(row, readMode);
	row->addStretch(1);

	buildReadingMetrics();
	bottomLayout->addWidget(readingControls, 1);
	bottomLayout->addWidget(readingMetrics, 0, Qt::AlignRight);
	layout()->addWidget(bottomControls);
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
	const auto addSeparator = [this, row](const char *name) {
		auto *frame = named(new QFrame(readingMetrics), name);
		frame->setFixedSize(1, 12);
		addControl(row, frame, 0, Qt::AlignVCenter);
		separators.append(frame);
	};
	documentStatus = addMetric("documentStatus");
	addSeparator("characterSeparator");
	characterCount = addMetric("characterCount");
	addSeparator("percentSeparator");
	scrollPercent = addMetric("scrollPercent");
}

void Dock::connectSignals()
{
	saveTimer.setSingleShot(true);
	saveTimer.setInterval(kSaveDelay);
	connect(&saveTimer, &QTimer::timeout, this, [this] { flush(true, true); });
	connect(editor, &QTextEdit::textChanged, this, &Dock::noteEdited);
	connect(editor, &QTextEdit::selectionChanged, this, &Dock::updateCharacterStatus);
	connect(editor->document(), &QTextDocument::blockCountChanged, this, &Dock::updateDocumentStatus);
	const QScrollBar *bar = editor->verticalScrollBar();
	connect(bar, &QScrollBar::valueChanged, this, &Dock::updateDocumentStatus);
	connect(bar, &QScrollBar::rangeChanged, this, &Dock::updateDocumentStatus);
	connect(readAction, &QAction::toggled, this, &Dock::setLocked);
	connect(remoteQrButton, &QToolButton::clicked, this, [this] {
		if (!remote) {
			return;
		}
		const QString url = remote->url();
		if (!url.isEmpty()) {
			QGuiApplication::clipboard()->setText(url);
		}
		remote->toggleQr(editor->viewport());
	});
}

void Dock::setSceneLabel(const QString &name)
{
	sceneLabel->setText(name);
	sceneLabel->setToolTip(name);
}

void Dock::setRemoteAvailable(bool isAvailable)
{
	remoteQrButton->setVisible(isAvailable);
	editor->setQrSpace(isAvailable);
	placeQrButton();
}

void Dock::placeQrButton()
{
	const QWidget *viewport = editor->viewport();
	remoteQrButton->move(viewport->mapTo(this, QPoint(viewport->width(), 0) + kQrOffset));
	remoteQrButton->raise();
}

void Dock::showEvent(QShowEvent *event)
{
	QWidget::showEvent(event);
	if (sceneKey.isEmpty()) {
		return;
	}
	// The text is laid out for the dock's size only once the dock is on the screen.
	const QString key = sceneKey;
	const int position = storedPosition();
	const auto restore = [this, key, position] {
		if (sceneKey == key && isVisible()) {
			scrollTo(position);
		}
	};
	QMetaObject::invokeMethod(this, restore, Qt::QueuedConnection);
}

void Dock::hideEvent(QHideEvent *event)
{
	if (remote) {
		remote->hideQr();
	}
	rememberPosition();
	flush(true, true);
	QWidget::hideEvent(event);
}

bool Dock::eventFilter(QObject *watched, QEvent *event)
{
	const QEvent::Type type = event->type();
	if (watched == bottomControls && (type == QEvent::LayoutRequest || type == QEvent::Resize)) {
		updateControlLayout();
	}
	if (watched == editor->viewport() && type == QEvent::Resize) {
		resizedViewport();
	}
	if (remote && (type == QEvent::Wheel || type == QEvent::MouseButtonPress)) {
		remote->hideQr();
	}
	if (watched == editor && type == QEvent::KeyPress && filterEditorKey(*static_cast<QKeyEvent *>(event))) {
		return true;
	}
	return QWidget::eventFilter(watched, event);
}

void Dock::resizedViewport()
{
	if (remote) {
		remote->hideQr();
	}
	if (remoteQrButton->isVisibleTo(this)) {
		placeQrButton();
	}
}

// True when the key has done its work.
bool Dock::filterEditorKey(const QKeyEvent &event)
{
	if (remote && remote->hideQr() && event.key() == Qt::Key_Escape) {
		return true;
	}
	const bool isPlainPaste = event.key() == Qt::Key_V && event.modifiers() == (Qt::ControlModifier | Qt::ShiftModifier);
	if (isPlainPaste && !editor->isReadOnly()) {
		editor->insertCheckedText(QGuiApplication::clipboard()->text());
	}
	return isPlainPaste;
}

} // namespace quillbay
