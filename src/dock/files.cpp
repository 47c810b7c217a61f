// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// How a whole note comes from a file, goes to one, or becomes simpler. The host may end while a dialog is open: after
// each one it is asked whether the dock still lives.

#include "dock/dock.hpp"
#include "dock/file_dialog.hpp"
#include "dock/message.hpp"

#include "convert/web_document.hpp"
#include "convert/word_import.hpp"
#include "editor/editor.hpp"
#include "notes/editor_html.hpp"
#include "notes/limits.hpp"
#include "notes/note_document.hpp"
#include "notes/note_file.hpp"
#include "plugin/text.hpp"

#include <QFile>
#include <QFileInfo>
#include <QPointer>
#include <QSaveFile>
#include <QStringDecoder>
#include <QTextBlockFormat>
#include <QTextCursor>

#include <algorithm>

namespace quillbay {

namespace {

constexpr qint64 kMaxTextFileBytes = 25'165'824; // 24 MiB
constexpr QLatin1StringView kTextSuffix(".txt");
constexpr QLatin1StringView kHtmlSuffix(".html");
constexpr QLatin1StringView kShortHtmlSuffix(".htm");
constexpr QLatin1StringView kWordSuffix(".docx");

bool hasSuffix(const QString &path, QLatin1StringView suffix)
{
	return path.endsWith(suffix, Qt::CaseInsensitive);
}

bool isHtmlName(const QString &path)
{
	return hasSuffix(path, kHtmlSuffix) || hasSuffix(path, kShortHtmlSuffix);
}

// Whether a note goes to the chosen file as plain text; the file's name says it, else the filter.
bool isTextChoice(const SaveChoice &choice)
{
	return hasSuffix(choice.path, kTextSuffix) || (choice.filter.contains(u"*.txt") && !isHtmlName(choice.path));
}

// Whether the text is worth making a document of, which takes minutes for millions of lines. The end of a line may be
// two characters.
bool isNearLimits(const QString &text)
{
	return text.size() <= 2 * kMaxCharacterCount && std::ranges::count_if(text, isBlockBreak) <= 2 * kMaxParagraphs;
}

// Replaces a file whole or not at all; what went wrong, or nothing.
QString replaceFile(const QString &path, const QByteArray &bytes)
{
	QSaveFile file(path);
	const bool isWritten = file.open(QIODevice::WriteOnly) && writeAll(file, bytes) && file.commit();
	return isWritten ? QString() : file.errorString();
}

} // namespace

QString Dock::readTextFile(const QString &path, QString *error) const
{
	QFile file(path);
	// A device or a pipe has no size, and may never end.
	if (QFileInfo(path).isFile() && file.open(QIODevice::ReadOnly) && file.size() <= kMaxTextFileBytes) {
		const QByteArray bytes = file.read(kMaxTextFileBytes);
		if (file.error() == QFileDevice::NoError) {
			// Some editors still write UTF-16, with a mark in front.
			const auto encoding = QStringConverter::encodingForData(bytes);
			return QStringDecoder(encoding.value_or(QStringConverter::Utf8)).decode(bytes);
		}
	}
	*error = text("FileReadFailed") + path;
	return {};
}

bool Dock::replaceHtml(const QString &html, const char *titleKey, const char *promptKey, bool report)
{
	if (!editor->isEnabled() || locked || remoteEditing) {
		return false;
	}
	if (!withinHtmlLimits(html)) {
		editor->onTextLimit();
		return false;
	}
	const QString key = sceneKey;
	const int revision = editor->document()->revision();
	if ((!editor->document()->isEmpty() || unavailable) && !confirm(titleKey, promptKey)) {
		return false;
	}
	// While the question stood open the scene, the note or the right to edit it may have changed.
	if (shutDown || locked || remoteEditing || sceneKey != key || editor->document()->revision() != revision) {
		return false;
	}
	pauseScroll();
	if (!replaceDocument(html)) {
		return false;
	}
	return flush(true, report);
}

// Asks a question whose safe answer is no. False also when the dock has gone meanwhile.
bool Dock::confirm(const char *titleKey, const char *promptKey)
{
	const QPointer<Dock> self(this);
	const int answer = showMessage(this, QMessageBox::Question, text(titleKey), text(promptKey),
				       QMessageBox::Yes | QMessageBox::No, QMessageBox::No);
	return self && answer == QMessageBox::Yes;
}

// Puts other HTML in the place of the note, in one step that can be undone.
bool Dock::replaceDocument(const QString &html)
{
	const bool wasUnavailable = unavailable;
	// Only now is what the editor shows the note's own text.
	unavailable = false;
	QTextCursor cursor(editor->document());
	cursor.select(QTextCursor::Document);
	cursor.beginEditBlock();
	cursor.removeSelectedText();
	// A list or a heading would stay as an empty paragraph before a table or a rule.
	QTextBlockFormat plain;
	plain.setLineHeight(cursor.blockFormat().lineHeight(), cursor.blockFormat().lineHeightType());
	cursor.setBlockFormat(plain);
	cursor.setBlockCharFormat({});
	cursor.insertHtml(html);
	cursor.endEditBlock();
	if (!editor->takeBackUnlessHarmless()) {
		unavailable = wasUnavailable;
		if (unavailable) {
			// The empty view is not the note: it must not be saved as such.
			dirty = false;
			saveTimer.stop();
			saveDeadline.stop();
		}
		return false;
	}
	editor->setPlaceholderText({});
	updateReadOnly();
	updateEditorActions();
	cursor.movePosition(QTextCursor::Start);
	editor->setTextCursor(cursor);
	dirty = true;
	return true;
}

void Dock::importFile()
{
	if (!editor->isEnabled() || locked || remoteEditing) {
		return;
	}
	const QPointer<Dock> self(this);
	const QString key = sceneKey;
	const QString path = chooseFile(this, text("ImportTitle"), text("ImportFilter"));
	// A note that came on air meanwhile is not the one that the file was chosen for.
	if (!self || shutDown || path.isEmpty() || sceneKey != key) {
		return;
	}
	if (hasSuffix(path, kWordSuffix)) {
		importWord(path);
	} else {
		importText(path);
	}
}

void Dock::importWord(const QString &path)
{
	const DocxResult result = importDocx(path);
	if (!result.error.isEmpty()) {
		showMessage(this, QMessageBox::Warning, text("WordImportFailed"), result.error);
		return;
	}
	const QPointer<Dock> self(this);
	if (replaceHtml(result.html, "ReplaceTitle", "ReplacePrompt", true) && self && result.simplified) {
		showStatus(text("WordSimplified"));
	}
}

void Dock::importText(const QString &path)
{
	QString error;
	QString html = readTextFile(path, &error);
	if (!error.isEmpty()) {
		showMessage(this, QMessageBox::Warning, text("ImportFailed"), error);
		return;
	}
	if (hasSuffix(path, kTextSuffix)) {
		const auto scratch = NoteDocument::makeScratch();
		html.remove(QChar::Null);
		const bool isNear = isNearLimits(html);
		scratch->setPlainText(isNear ? html : QString());
		if (!isNear || !withinTextLimits(*scratch)) {
			editor->onTextLimit();
			return;
		}
		html = scratch->toHtml();
	}
	replaceHtml(html, "ReplaceTitle", "ReplacePrompt", true);
}

void Dock::exportDocument()
{
	if (!editor->isEnabled()) {
		return;
	}
	const QPointer<Dock> self(this);
	const OBSWeakSource exported = currentScene;
	const QString title = text("ExportTitle");
	SaveChoice choice = chooseSaveFile(this, title, text("ExportFilter"), QStringLiteral("QuillBay"));
	while (self && !choice.path.isEmpty() && !hasSuffix(choice.path, kTextSuffix) && !isHtmlName(choice.path)) {
		choice.path += isTextChoice(choice) ? kTextSuffix : kHtmlSuffix;
		// The dialog has not asked whether to replace the file of that name.
		if (QFileInfo::exists(choice.path)) {
			choice = chooseSaveFile(this, title, text("ExportFilter"), choice.path);
		}
	}
	if (!self || shutDown || choice.path.isEmpty()) {
		return;
	}
	QString error;
	const QByteArray content = exportedNote(exported, isTextChoice(choice), error).toUtf8();
	if (!error.isEmpty()) {
		showStatus(error);
		return;
	}
	error = replaceFile(choice.path, content);
	if (error.isEmpty()) {
		showStatus(text("Exported"));
	} else {
		showMessage(this, QMessageBox::Warning, text("ExportFailed"), error);
	}
}

// The note of the scene that an export was begun in, which may no longer be the bound one.
QString Dock::exportedNote(const OBSWeakSource &exported, bool asText, QString &error) const
{
	if (exported == currentScene && !unavailable) {
		return asText ? editor->toPlainText().remove(QChar::ObjectReplacementCharacter) : editor->toHtml();
	}
	const OBSSourceAutoRelease scene = OBSGetStrongRef(exported);
	if (!scene) {
		error = text("SelectScene");
		return {};
	}
	const QString html = noteStore.read(scene, &error);
	if (!asText || !error.isEmpty()) {
		return html;
	}
	const QString plain = plainText(html);
	if (plain.isNull()) {
		error = text("TextLimit");
	}
	return plain;
}

void Dock::convertToBasic()
{
	if (!editor->isEnabled() || editor->isReadOnly() || editor->document()->isEmpty()) {
		return;
	}
	QString html;
	if (!basicHtml(*editor->document(), html)) {
		showMessage(this, QMessageBox::Warning, text("ConvertBasic"), text("ConvertFailed"));
		return;
	}
	const QPointer<Dock> self(this);
	if (replaceHtml(html, "ConvertBasic", "ConvertPrompt", true) && self) {
		showStatus(text("ConvertedBasic"));
	}
}

} // namespace quillbay
