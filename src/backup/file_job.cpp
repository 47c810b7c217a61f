// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "backup/file_job.hpp"

#include "plugin/text.hpp"

#include <QCloseEvent>
#include <QEventLoop>
#include <QPointer>
#include <QProgressDialog>
#include <QThread>

#include <memory>

namespace quillbay {

namespace {

/// As much as the main thread has by custom: some systems give other threads far less.
constexpr uint kStackSize = 8 * 1024 * 1024;

/// Stays open until it is deleted: neither Esc nor the window manager end the work.
class JobDialog : public QProgressDialog {
public:
	JobDialog(QWidget *parent, const QString &label) : QProgressDialog(label, QString(), 0, 0, parent)
	{
		setObjectName(QStringLiteral("fileJob"));
		setWindowTitle(text("QuillBay"));
		setWindowFlags((windowFlags() | Qt::CustomizeWindowHint | Qt::WindowTitleHint) &
			       ~(Qt::WindowCloseButtonHint | Qt::WindowContextHelpButtonHint));
		setWindowModality(Qt::ApplicationModal);
		setCancelButton(nullptr);
		setMinimumDuration(0);
	}

	void reject() override {}

protected:
	void closeEvent(QCloseEvent *event) override { event->ignore(); }
};

} // namespace

void fileJob(QWidget *parent, const QString &label, const std::function<void()> &work)
{
	const QPointer<JobDialog> dialog = new JobDialog(parent, label);
	const std::unique_ptr<QThread> thread(QThread::create(work));
	thread->setStackSize(kStackSize);
	QEventLoop loop;
	QObject::connect(thread.get(), &QThread::finished, &loop, &QEventLoop::quit);
	dialog->show();
	thread->start();
	loop.exec();
	// A host that quits ends every event loop, but files are never left half written.
	thread->wait();
	delete dialog;
}

} // namespace quillbay
