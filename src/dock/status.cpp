// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// What the dock tells its user about the open note.

#include "dock/dock.hpp"
#include "dock/message.hpp"

#include "editor/editor.hpp"
#include "notes/limits.hpp"
#include "plugin/text.hpp"
#include "remote/remote.hpp"

#include <QLabel>
#include <QLocale>
#include <QScrollBar>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>

#include <algorithm>
#include <cmath>

namespace quillbay {

namespace {

// Setting a label's text lays its row out again, so it is set only when it changes.
void setLabelText(QLabel *label, const QString &value)
{
	if (label->text() != value) {
		label->setText(value);
	}
}

int selectedCharacters(const QTextDocument &document, const QTextCursor &cursor)
{
	const int start = cursor.selectionStart();
	const int end = cursor.selectionEnd();
	const int breaks = document.findBlock(end).blockNumber() - document.findBlock(start).blockNumber();
	return end - start - breaks;
}

} // namespace

void Dock::showStatus(const QString &message)
{
	saveStatus->setText(QStringLiteral("]"));
	saveStatus->setAccessibleName(message);
	saveStatus->setToolTip(plainToolTip(message));
}

void Dock::showSaveError(const QString &error)
{
	const QString message = text("NoteSaveFailed");
	saveError->setText(QStringLiteral("! ") + message);
	saveError->setToolTip(plainToolTip(error));
	saveError->setAccessibleName(message + QLatin1Char(' ') + error);
	saveError->show();
}

int Dock::textLength() const
{
	return editor->document()->characterCount() - 1;
}

QString Dock::readingPercent() const
{
	const QScrollBar *bar = editor->verticalScrollBar();
	const double range = static_cast<double>(bar->maximum()) - bar->minimum();
	const double percent = range < 1 ? 0.0 : 100.0 * (bar->value() - bar->minimum()) / range;
	return QString::number(std::lround(percent)) + QLatin1Char('%');
}

void Dock::updateDocumentStatus()
{
	updateCharacterStatus();
	const int paragraphs = editor->isEnabled() ? editor->document()->blockCount() : 0;
	setLabelText(documentStatus, text("DocumentStatus").arg(paragraphs));

	setLabelText(scrollPercent, readingPercent());
	remote->scrollChanged();
}

void Dock::updateCharacterStatus()
{
	const QLocale locale;
	const QTextCursor cursor = editor->textCursor();
	const int total = editor->isEnabled() ? textLength() : 0;
	const int count = cursor.hasSelection() ? selectedCharacters(*editor->document(), cursor) : total;
	const QString label =
		text(cursor.hasSelection() ? "SelectedCharacters" : "CharacterCount").arg(locale.toString(count));
	setLabelText(characterCount, label);

	const QString remaining = text("CharacterRemaining")
					  .arg(locale.toString(total), locale.toString(kMaxTextLength),
					       locale.toString(std::max(kMaxTextLength - total, 0)));
	characterCount->setToolTip(remaining);
	characterCount->setAccessibleName(cursor.hasSelection() ? label + QStringLiteral("; ") + remaining : remaining);
}

} // namespace quillbay
