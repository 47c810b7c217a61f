// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "dock/file_dialog.hpp"

#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QPointer>
#include <QStandardPaths>

namespace quillbay {

namespace {

// On the heap: a host that ends deletes the parent's children, whoever waits for them.
QPointer<QFileDialog> makeDialog(QWidget *parent, const QString &title, const QString &filter)
{
	auto *dialog = new QFileDialog(parent, title, QString(), filter);
	// Qt starts where the last file was chosen, at first in the host's own folder: nobody looks there.
	if (dialog->directory() == QDir::current()) {
		const QString documents = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
		dialog->setDirectory(QFileInfo::exists(documents) ? documents : QDir::homePath());
	}
	return dialog;
}

SaveChoice run(const QPointer<QFileDialog> &dialog)
{
	SaveChoice choice;
	if (dialog->exec() == QDialog::Accepted && dialog) {
		choice = {dialog->selectedFiles().value(0), dialog->selectedNameFilter()};
	}
	delete dialog;
	return choice;
}

} // namespace

QString chooseFile(QWidget *parent, const QString &title, const QString &filter)
{
	const QPointer<QFileDialog> dialog = makeDialog(parent, title, filter);
	dialog->setFileMode(QFileDialog::ExistingFile);
	return run(dialog).path;
}

SaveChoice chooseSaveFile(QWidget *parent, const QString &title, const QString &filter, const QString &proposed)
{
	const QPointer<QFileDialog> dialog = makeDialog(parent, title, filter);
	dialog->setAcceptMode(QFileDialog::AcceptSave);
	dialog->setFileMode(QFileDialog::AnyFile);
	dialog->setDefaultSuffix(QFileInfo(proposed).suffix());
	dialog->selectFile(proposed);
	return run(dialog);
}

} // namespace quillbay
