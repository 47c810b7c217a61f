// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include "host/test_host.hpp"

#include "dock/dock.hpp"
#include "editor/editor.hpp"
#include "plugin/text.hpp"

namespace quillbay::test {

/// A shown dock on a note of one scene, in a folder of its own.
class DockFixture {
public:
	DockFixture() : scene(makeScene(QStringLiteral("Intro")).Get())
	{
		frontend() = {};
		frontend().currentScene = scene;
		reopen({});
	}
	~DockFixture()
	{
		dock.reset();
		frontend() = {};
		removeScenes();
	}
	Q_DISABLE_COPY_MOVE(DockFixture)

	/// Makes the dock anew, with these settings changed.
	void reopen(const QVariantMap &settings)
	{
		dock.reset();
		for (const auto &[key, value] : settings.asKeyValueRange()) {
			QSettings(settingsPath(), QSettings::IniFormat).setValue(key, value);
		}
		dock = std::make_unique<Dock>(settingsPath());
		editor = find<Editor>("noteEditor");
		dock->resize(1000, 500);
		dock->show();
		dock->activateWindow();
		dock->frontendEvent(OBS_FRONTEND_EVENT_FINISHED_LOADING);
		editor->setFocus();
		QCoreApplication::processEvents();
	}
	[[nodiscard]] QString settingsPath() const { return folder.filePath(QStringLiteral("settings.ini")); }
	[[nodiscard]] QVariant saved(const char *key) const
	{
		return QSettings(settingsPath(), QSettings::IniFormat).value(key);
	}
	template <typename T>
	T *find(const char *name) const
	{
		return dock->findChild<T *>(QLatin1StringView(name));
	}
	[[nodiscard]] QAction *action(const char *name) const { return find<QAction>(name); }
	[[nodiscard]] QString status() const { return find<QLabel>("saveStatus")->toolTip(); }
	[[nodiscard]] QScrollBar *bar() const { return editor->verticalScrollBar(); }
	void select(int start, int end) const { test::select(*editor, start, end); }
	void lines(int count) const { editor->setPlainText(QStringLiteral("some words\n").repeated(count)); }

	QTemporaryDir folder;
	OBSSource scene;
	std::unique_ptr<Dock> dock;
	Editor *editor = nullptr;
};

/// What the user does with a dialog: names a file, or clicks a button. `then` happens while the dialog is open, but
/// once a file is named.
struct Answer {
	QString path = {};
	QMessageBox::StandardButton button = QMessageBox::Ok;
	std::function<void()> then = [] {};
	QString filter = {};
};

/// Runs a command and answers its dialogs in their order; one too many is refused. Returns what they said, but for the
/// files: "title|text". An answer that nothing asked for is noted there too.
inline QStringList answerDialogs(QList<Answer> answers, const std::function<void()> &command)
{
	QStringList messages;
	QPointer<QDialog> answered;
	QTimer timer;
	QObject::connect(&timer, &QTimer::timeout, &timer, [&] {
		auto *dialog = qobject_cast<QDialog *>(QApplication::activeModalWidget());
		// Work that takes long shows that it goes on, and asks nothing.
		if (!dialog || dialog == answered || qobject_cast<QProgressDialog *>(dialog)) {
			return;
		}
		answered = dialog;
		const Answer given = answers.isEmpty() ? Answer() : answers.takeFirst();
		auto *box = qobject_cast<QMessageBox *>(dialog);
		if (auto *files = qobject_cast<QFileDialog *>(dialog); files && !given.path.isEmpty()) {
			QObject::connect(files, &QDialog::finished, files, given.then);
			files->selectNameFilter(given.filter);
			files->findChild<QLineEdit *>(QStringLiteral("fileNameEdit"))->setText(given.path);
			// It may ask a question itself, and this timer waits for it.
			QMetaObject::invokeMethod(dialog, &QDialog::accept, Qt::QueuedConnection);
			return;
		}
		messages.append(dialog->windowTitle() + (box ? u'|' + box->text() : QString()));
		given.then();
		if (answered) {
			auto *button = box ? box->button(given.button) : nullptr;
			button ? button->click() : dialog->reject();
		}
	});
	timer.start(1);
	command();
	return messages + QStringList(answers.size(), QStringLiteral("no dialog"));
}

/// Runs `work` in the menu or modal dialog that comes up next.
template <typename Window, typename Work>
void inNext(Work work)
{
	QTimer::singleShot(0, qApp, [work] {
		QWidget *popup = QApplication::activePopupWidget();
		auto *window = qobject_cast<Window *>(popup ? popup : QApplication::activeModalWidget());
		QVERIFY(window);
		work(*window);
	});
}

} // namespace quillbay::test
