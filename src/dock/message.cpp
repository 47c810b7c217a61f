// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "dock/message.hpp"

#include <QPointer>
#include <QTextDocument>

namespace quillbay {

QString plainToolTip(const QString &message)
{
	return Qt::mightBeRichText(message) ? Qt::convertFromPlainText(message, Qt::WhiteSpaceNormal) : message;
}

int showMessage(QWidget *parent, QMessageBox::Icon icon, const QString &title, const QString &message,
		QMessageBox::StandardButtons buttons, QMessageBox::StandardButton defaultButton)
{
	// On the heap: a host that ends deletes the parent's children, whoever waits for them.
	const QPointer<QMessageBox> box = new QMessageBox(icon, title, message, buttons, parent);
	box->setTextFormat(Qt::PlainText);
	box->setDefaultButton(defaultButton);
	const int answer = box->exec();
	delete box;
	return answer;
}

} // namespace quillbay
