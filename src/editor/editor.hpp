// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include <QTextCursor>
#include <QTextEdit>

#include <functional>

namespace quillbay {

/// Points that a user can make text as small, or as large, as.
inline constexpr int kMinFontSize = 6;
inline constexpr int kMaxFontSize = 144;
/// Height of a line of new text, in percent of what its font needs.
inline constexpr int kLineHeightPercent = 140;

/// The rich-text editor of a note.
///
/// Every path by which text enters or leaves the document is checked against the note limits before it is
/// carried out; an edit that would break one is refused whole and reported through `onTextLimit`. The document
/// loads nothing from outside. User-interface thread only.
class Editor : public QTextEdit {
	Q_OBJECT

public:
	explicit Editor(QWidget *parent = nullptr);

	/// Called once for every refused edit. Set by the owner; may be empty.
	std::function<void()> onTextLimit;

	/// Whether replacing the cursor's selection by `text` keeps the note's limits. Reports a refusal.
	[[nodiscard]] bool acceptsText(const QString &text, const QTextCursor &cursor);
	/// Replaces the selection by plain text, if the editor is editable and the limits allow it. "\r\n" and "\r"
	/// become "\n".
	void insertCheckedText(const QString &text);
	/// Removes the selection, to the clipboard with `cut`, if the editor is editable and the limits allow it.
	void deleteSelection(bool cut);
	/// Undoes the last change, and reports it as refused, when the note could not be opened again after it. False
	/// when it has.
	bool takeBackUnlessHarmless();
	/// Replaces the whole document; undo starts anew.
	void loadHtml(const QString &html);
	/// Shows the selection in the colours of a search match.
	void setSearchMatch(bool on);
	/// Keeps the right edge of the view free for the QR button, or gives it back.
	void setQrSpace(bool on);
	/// Undoes or redoes a step. Where it only changes how text in the view looks, the selection and the view stay.
	void undo();
	void redo();
	/// Names a child of the view whose rows all look alike but for `edge` of them at its top and at its bottom.
	/// When the text scrolls beneath it, only those are painted anew.
	void setStripe(QWidget *stripe, int edge);
	/// Adds `steps` points to the size of all text, each run kept between 6 and 144 points; one undo step.
	void resizeText(int steps);
	/// A place in the text, and where in the view it stands.
	struct Place {
		QTextCursor cursor;
		/// Pixels below the view's upper edge.
		int top = 0;
	};
	/// The line that stands `y` pixels below the view's upper edge.
	[[nodiscard]] Place placeAt(int y) const;
	/// Scrolls so that the place stands where it stood, after the text has flowed anew. The pixels it took.
	int showPlace(const Place &place);
	/// Measures the strip of paragraph numbers anew.
	void updateNumberArea();
	/// Paints the strip of paragraph numbers; called while the strip is being painted.
	void paintNumbers();

protected:
	bool event(QEvent *event) override;
	bool eventFilter(QObject *watched, QEvent *event) override;
	void paintEvent(QPaintEvent *event) override;
	void wheelEvent(QWheelEvent *event) override;
	void keyPressEvent(QKeyEvent *event) override;
	void resizeEvent(QResizeEvent *event) override;
	void scrollContentsBy(int dx, int dy) override;
	void dropEvent(QDropEvent *event) override;
	void changeEvent(QEvent *event) override;
	void inputMethodEvent(QInputMethodEvent *event) override;
	void insertFromMimeData(const QMimeData *source) override;
	[[nodiscard]] QMimeData *createMimeDataFromSelection() const override;

private:
	[[nodiscard]] bool surelyScrolls() const;
	void paintBackground(QRect exposed);
	void paintPart(QRect part);
	void takeStep(void (QTextEdit::*step)());
	void repaintAbove(QWidget &widget, int dx, int dy);
	[[nodiscard]] QTextBlock firstBlockInView();
	bool refuse();
	void checkChange(int position, int removed, int added);
	void takeBackOversize();
	void insertCheckedHtml(const QMimeData &source);
	[[nodiscard]] bool acceptsDrop(const QDropEvent &event);
	[[nodiscard]] bool acceptsMove(const QTextCursor &target);
	[[nodiscard]] bool acceptsComposition(const QInputMethodEvent &event);

	QWidget *numbers_ = nullptr;
	QWidget *stripe_ = nullptr;
	int stripeEdge_ = 0;
	QRect exposed_;      // the part of the strip that is being painted
	int firstBlock_ = 0; // the first number in it when it was painted last
	int wheelDelta_ = 0;
	bool isReapplyingStyle_ = false;
	bool isSearchMatch_ = false;
};

} // namespace quillbay
