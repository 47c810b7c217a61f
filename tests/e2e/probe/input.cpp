// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "input.hpp"

#include <QApplication>
#include <QClipboard>
#include <QDropEvent>
#include <QInputMethodEvent>
#include <QJsonArray>
#include <QKeySequence>
#include <QMimeData>
#include <QTest>
#include <QWheelEvent>

#include <memory>
#include <stdexcept>

namespace probe {

namespace {

Qt::KeyboardModifiers modifiersOf(const QJsonObject &request)
{
	const QString names = request["modifiers"].toString();
	Qt::KeyboardModifiers modifiers;
	modifiers.setFlag(Qt::ShiftModifier, names.contains("Shift"));
	modifiers.setFlag(Qt::ControlModifier, names.contains("Ctrl"));
	modifiers.setFlag(Qt::AltModifier, names.contains("Alt"));
	return modifiers;
}

QPoint pointIn(const QWidget &widget, const QJsonObject &request)
{
	const QJsonArray at = request["at"].toArray();
	return at.isEmpty() ? widget.rect().center() : QPoint(at[0].toInt(), at[1].toInt());
}

std::unique_ptr<QMimeData> mimeData(const QJsonObject &request)
{
	auto data = std::make_unique<QMimeData>();
	if (request.contains("text")) {
		data->setText(request["text"].toString().repeated(request["repeat"].toInt(1)));
	}
	if (request.contains("html")) {
		data->setHtml(request["html"].toString());
	}
	return data;
}

} // namespace

void typeCharacter(QWidget &widget, const QString &character)
{
	const char ascii = character.size() == 1 ? character[0].toLatin1() : '\0';
	if (ascii == '\n') {
		QTest::keyClick(&widget, Qt::Key_Return);
	} else if (ascii >= ' ' && ascii <= '~') {
		QTest::keyClick(&widget, ascii, QChar(ascii).isUpper() ? Qt::ShiftModifier : Qt::NoModifier);
	} else {
		QTest::sendKeyEvent(QTest::Click, &widget, Qt::Key_unknown, character, Qt::NoModifier);
	}
}

QJsonValue pressKey(QWidget &widget, const QJsonObject &request)
{
	const QKeySequence sequence = QKeySequence::fromString(request["key"].toString(), QKeySequence::PortableText);
	if (sequence.count() != 1) {
		throw std::runtime_error("no such key");
	}
	QTest::keyClick(&widget, sequence[0].key(), sequence[0].keyboardModifiers());
	return {};
}

QJsonValue useMouse(QWidget &widget, const QJsonObject &request)
{
	const QString action = request["action"].toString("click");
	const QPoint at = pointIn(widget, request);
	const Qt::KeyboardModifiers modifiers = modifiersOf(request);
	const Qt::MouseButton button = request["button"].toString() == "right" ? Qt::RightButton : Qt::LeftButton;
	if (action == "wheel") {
		QWheelEvent event(at, widget.mapToGlobal(QPointF(at)), {}, {0, request["delta"].toInt()}, Qt::NoButton,
				  modifiers, Qt::NoScrollPhase, false);
		QCoreApplication::sendEvent(&widget, &event);
	} else if (action == "press") {
		QTest::mousePress(&widget, button, modifiers, at);
	} else if (action == "release") {
		QTest::mouseRelease(&widget, button, modifiers, at);
	} else if (action == "double") {
		QTest::mouseDClick(&widget, button, modifiers, at);
	} else {
		QTest::mouseClick(&widget, button, modifiers, at);
	}
	return {};
}

QJsonValue drop(QWidget &widget, const QJsonObject &request)
{
	const std::unique_ptr<QMimeData> data = mimeData(request);
	const QPoint at = pointIn(widget, request);
	const Qt::KeyboardModifiers modifiers = modifiersOf(request);
	QDragEnterEvent enter(at, Qt::CopyAction, data.get(), Qt::LeftButton, modifiers);
	QCoreApplication::sendEvent(&widget, &enter);
	QDragMoveEvent move(at, Qt::CopyAction, data.get(), Qt::LeftButton, modifiers);
	QCoreApplication::sendEvent(&widget, &move);
	QDropEvent event(at, Qt::CopyAction, data.get(), Qt::LeftButton, modifiers);
	QCoreApplication::sendEvent(&widget, &event);
	return event.isAccepted();
}

QJsonValue compose(QWidget &widget, const QJsonObject &request)
{
	QInputMethodEvent event(request["preedit"].toString(), {});
	event.setCommitString(request["commit"].toString(), request["replaceStart"].toInt(),
			      request["replaceLength"].toInt());
	QCoreApplication::sendEvent(&widget, &event);
	return {};
}

QJsonValue setClipboard(const QJsonObject &request)
{
	QGuiApplication::clipboard()->setMimeData(mimeData(request).release());
	return {};
}

} // namespace probe
