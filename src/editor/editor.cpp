// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// How the editor is built, loads a note, zooms and keeps its looks.

#include "editor/editor.hpp"

#include "notes/note_document.hpp"
#include "plugin/text.hpp"

#include <QAbstractTextDocumentLayout>
#include <QGuiApplication>
#include <QInputMethod>
#include <QPainter>
#include <QPaintEvent>
#include <QScrollBar>
#include <QStyle>
#include <QStyleOption>
#include <QTextBlock>
#include <QTextCursor>
#include <QWheelEvent>

#include <algorithm>
#include <utility>
#include <vector>

namespace quillbay {

namespace {

/// Room for the QR button, in device-independent pixels.
constexpr int kQrSpace = 28;
/// Parts of the view with more rows between them are painted each by itself.
constexpr int kPartGap = 64;
/// Eighths of a degree in one step of an ordinary mouse wheel.
constexpr int kWheelStep = 120;

// One stretch of text whose format changes in a zoom step.
struct Run {
	int position;
	int length;
	QTextCharFormat format;
};

} // namespace

Editor::Editor(QWidget *parent) : QTextEdit(parent)
{
	setDocument(new NoteDocument(this));
	document()->setDefaultFont(font());
	document()->setDefaultStyleSheet(QStringLiteral("p, li { line-height: %1%; }").arg(kLineHeightPercent));
	loadHtml({});
	setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
	// A style sheet would leave the background to the widgets behind, and every scrolled pixel would repaint the
	// view.
	viewport()->setAutoFillBackground(false);
	viewport()->setAttribute(Qt::WA_OpaquePaintEvent);

	numbers_ = new QWidget(this);
	numbers_->setObjectName(QStringLiteral("lineNumbers"));
	numbers_->setAccessibleName(text("LineNumbers"));
	numbers_->setAttribute(Qt::WA_TransparentForMouseEvents);
	numbers_->setAttribute(Qt::WA_OpaquePaintEvent);
	numbers_->installEventFilter(this);
	const auto repaint = [strip = numbers_] { strip->update(); };
	connect(document(), &QTextDocument::blockCountChanged, this, &Editor::updateNumberArea);
	connect(document(), &QTextDocument::contentsChange, this, &Editor::checkChange);
	connect(document(), &QTextDocument::contentsChanged, numbers_, repaint);
	connect(document()->documentLayout(), &QAbstractTextDocumentLayout::update, numbers_, repaint);
	connect(verticalScrollBar(), &QScrollBar::valueChanged, numbers_,
		[strip = numbers_, shown = verticalScrollBar()->value()](int value) mutable {
			const int before = std::exchange(shown, value);
			strip->scroll(0, before - value);
		});
	connect(this, &QTextEdit::cursorPositionChanged, numbers_, repaint);
	updateNumberArea();
}

void Editor::loadHtml(const QString &html)
{
	static_cast<NoteDocument *>(document())->forgetPictures();
	// Laid out once, when its paragraphs are counted and the view has its width.
	document()->setLayoutEnabled(false);
	setHtml(html);
	// Qt keeps what was typed with in the note before.
	setTextCursor(QTextCursor(document()));
	// A scroll bar that comes while the text is laid out lays it out twice more.
	setVerticalScrollBarPolicy(surelyScrolls() ? Qt::ScrollBarAlwaysOn : Qt::ScrollBarAsNeeded);
	document()->setLayoutEnabled(true);
	setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
	const QTextBlock first = document()->firstBlock();
	if (!document()->isEmpty() || first.blockFormat().hasProperty(QTextFormat::LineHeight)) {
		return;
	}
	// An empty note types with the line height that loaded paragraphs get from the style sheet.
	const bool hadUndo = document()->isUndoRedoEnabled();
	document()->setUndoRedoEnabled(false);
	QTextBlockFormat format;
	format.setLineHeight(kLineHeightPercent, QTextBlockFormat::ProportionalHeight);
	textCursor().mergeBlockFormat(format);
	document()->setUndoRedoEnabled(hadUndo);
}

// Whether the text is far higher than the view, judged by its length.
bool Editor::surelyScrolls() const
{
	const QFontMetrics metrics(document()->defaultFont());
	const int perLine = std::max(viewport()->width() / std::max(metrics.averageCharWidth(), 1), 1);
	const int lines = document()->blockCount() + document()->characterCount() / perLine;
	return lines / 4 * metrics.height() > viewport()->height();
}

void Editor::setSearchMatch(bool on)
{
	if (on == isSearchMatch_) {
		return;
	}
	isSearchMatch_ = on;
	setProperty("searchMatch", on);
	style()->unpolish(this);
	style()->polish(this);
	viewport()->update();
}

void Editor::setQrSpace(bool on)
{
	QMargins margins = viewportMargins();
	const int wanted = on ? kQrSpace : 0;
	if (margins.right() == wanted) {
		return;
	}
	margins.setRight(wanted);
	setViewportMargins(margins);
	updateNumberArea();
}

bool Editor::event(QEvent *event)
{
	const bool isHandled = QTextEdit::event(event);
	const QEvent::Type type = event->type();
	if (!numbers_ || (type != QEvent::FocusIn && type != QEvent::FocusOut && type != QEvent::ReadOnlyChange)) {
		return isHandled;
	}
	if (type == QEvent::ReadOnlyChange) {
		// Selectors on the property take effect only when the sheet is set anew.
		isReapplyingStyle_ = true;
		setStyleSheet(styleSheet());
		isReapplyingStyle_ = false;
	}
	numbers_->update();
	update();
	viewport()->update();
	return isHandled;
}

void Editor::changeEvent(QEvent *event)
{
	// A sheet that is applied again must not reset the document's default font.
	if (isReapplyingStyle_ && event->type() == QEvent::FontChange) {
		return;
	}
	QTextEdit::changeEvent(event);
	if (!numbers_ || isReapplyingStyle_) {
		return;
	}
	switch (event->type()) {
	case QEvent::PaletteChange:
	case QEvent::ApplicationPaletteChange:
	case QEvent::FontChange:
	case QEvent::EnabledChange:
	case QEvent::StyleChange:
		updateNumberArea();
		break;
	default:
		break;
	}
}

// The same pixels that show where a style sheet makes the view transparent.
void Editor::paintBackground(QRect exposed)
{
	QPainter painter(viewport());
	if (!testAttribute(Qt::WA_StyleSheet)) {
		painter.fillRect(exposed, viewport()->palette().brush(viewport()->backgroundRole()));
		return;
	}
	const QWidget *behind = parentWidget() ? parentWidget() : this;
	painter.fillRect(exposed, behind->palette().brush(behind->backgroundRole()));
	painter.translate(-viewport()->pos());
	QStyleOption option;
	option.initFrom(this);
	style()->drawPrimitive(QStyle::PE_Widget, &option, &painter, this);
}

void Editor::paintEvent(QPaintEvent *event)
{
	paintBackground(event->rect());
	// A placeholder is painted whole each time.
	if (document()->isEmpty()) {
		QTextEdit::paintEvent(event);
		return;
	}
	// Qt would go through all the lines between the parts, too.
	QRect part;
	for (const QRect &next : event->region()) {
		if (!part.isNull() && next.top() - part.bottom() > kPartGap) {
			paintPart(part);
			part = {};
		}
		part |= next;
	}
	paintPart(part);
}

void Editor::paintPart(QRect part)
{
	QPaintEvent event(part);
	QTextEdit::paintEvent(&event);
}

void Editor::setStripe(QWidget *stripe, int edge)
{
	stripe_ = stripe;
	stripeEdge_ = edge;
}

// What lies above the text stays where it is: Qt would take it along, and paint all of it when it is put back.
void Editor::scrollContentsBy(int dx, int dy)
{
	const int right = isRightToLeft() ? -dx : dx;
	viewport()->scroll(right, dy, viewport()->rect());
	for (QObject *child : viewport()->children()) {
		auto *above = qobject_cast<QWidget *>(child);
		if (above && above->isVisible()) {
			repaintAbove(*above, right, dy);
		}
	}
	QGuiApplication::inputMethod()->update(Qt::ImCursorRectangle | Qt::ImAnchorRectangle);
}

// The pixels of a widget above the text have been moved along with the text.
void Editor::repaintAbove(QWidget &widget, int dx, int dy)
{
	const QRect place = widget.geometry();
	if (&widget != stripe_ || dx != 0) {
		viewport()->update(place | place.translated(dx, dy));
		widget.update();
		return;
	}
	for (const int top : {place.top(), place.bottom() + 1 - stripeEdge_}) {
		const QRect edge(place.left(), top, place.width(), stripeEdge_);
		viewport()->update(edge | edge.translated(0, dy));
	}
}

void Editor::resizeEvent(QResizeEvent *event)
{
	QTextEdit::resizeEvent(event);
	updateNumberArea();
}

void Editor::wheelEvent(QWheelEvent *event)
{
	if (event->modifiers() != Qt::ControlModifier) {
		wheelDelta_ = 0;
		QTextEdit::wheelEvent(event);
		return;
	}
	if (!isReadOnly()) {
		wheelDelta_ += event->angleDelta().y();
		const int steps = wheelDelta_ / kWheelStep;
		wheelDelta_ %= kWheelStep;
		if (steps != 0) {
			resizeText(steps);
		}
	}
	event->accept();
}

Editor::Place Editor::placeAt(int y) const
{
	const QTextCursor cursor = cursorForPosition({0, y});
	return {cursor, cursorRect(cursor).top()};
}

int Editor::showPlace(const Place &place)
{
	QScrollBar *bar = verticalScrollBar();
	const int before = bar->value();
	bar->setValue(before + cursorRect(place.cursor).top() - place.top);
	return bar->value() - before;
}

void Editor::undo()
{
	takeStep(&QTextEdit::undo);
}

void Editor::redo()
{
	takeStep(&QTextEdit::redo);
}

// Qt puts the caret where the step has ended, and shows that place: a new look of all text would show the note's end.
void Editor::takeStep(void (QTextEdit::*step)())
{
	const QString plain = document()->toRawText();
	const QTextCursor caret = textCursor();
	const Place middle = placeAt(viewport()->height() / 2);
	const int first = cursorForPosition({}).position();
	const int last = cursorForPosition(viewport()->rect().bottomRight()).position();
	bool isSeen = false;
	const auto note = [&](int position, int, int added) {
		isSeen = isSeen || (position <= last && position + added >= first);
	};
	const QMetaObject::Connection noting = connect(document(), &QTextDocument::contentsChange, this, note);
	(this->*step)();
	disconnect(noting);
	if (isSeen && document()->toRawText() == plain) {
		setTextCursor(caret);
		showPlace(middle);
	}
}

void Editor::resizeText(int steps)
{
	const auto resized = [steps](qreal points) {
		return std::clamp<qreal>(points + steps, kMinFontSize, kMaxFontSize);
	};
	const QFont base = document()->defaultFont();
	const auto pointSize = [this, &base](const QFont &own) {
		const QFont font = own.resolve(base);
		return font.pointSizeF() > 0 ? font.pointSizeF() : font.pixelSize() * 72.0 / logicalDpiY();
	};
	std::vector<Run> runs;
	for (QTextBlock block = document()->begin(); block.isValid(); block = block.next()) {
		for (auto it = block.begin(); !it.atEnd(); ++it) {
			const QTextFragment fragment = it.fragment();
			QTextCharFormat format = fragment.charFormat();
			format.clearProperty(QTextFormat::FontPixelSize);
			format.setFontPointSize(resized(pointSize(fragment.charFormat().font())));
			if (format != fragment.charFormat()) {
				runs.push_back({fragment.position(), fragment.length(), format});
			}
		}
	}
	if (runs.empty()) {
		if (document()->isEmpty()) {
			setFontPointSize(resized(pointSize(currentFont())));
		}
		return;
	}
	const Place place = placeAt(viewport()->height() / 2);
	QTextCursor cursor(document());
	cursor.beginEditBlock();
	for (const Run &run : runs) {
		cursor.setPosition(run.position);
		cursor.setPosition(run.position + run.length, QTextCursor::KeepAnchor);
		cursor.setCharFormat(run.format);
	}
	cursor.endEditBlock();
	showPlace(place);
}

} // namespace quillbay
