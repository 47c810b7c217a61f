// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include <QtTest>
#include <QtWidgets>

#include "host/fake_frontend.hpp"

namespace quillbay::test {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
/// How much slower than usual everything may be in this build.
inline constexpr int kSlowness = 10;
#else
inline constexpr int kSlowness = 1;
#endif

/// Runs libobs for the length of a test program. Needs an X display.
class Host {
public:
	Host();
	~Host();
	Q_DISABLE_COPY_MOVE(Host)

private:
	QTemporaryDir config_;
};

/// A scene of the host; released with the holder.
OBSSourceAutoRelease makeScene(const QString &name);
/// Removes all scenes, as the host does before it lets go of them: newer ones keep scenes until then.
void removeScenes();

QString uuidOf(obs_source_t *scene);
/// A string of the scene's note record: "id", "file" or "name".
QString recordOf(obs_source_t *scene, const char *key);
void setRecord(obs_source_t *scene, const QString &id, const QString &file, const QString &name);

QByteArray readFile(const QString &path);
void writeFile(const QString &path, const QByteArray &bytes);

/// Selects text of an editor as the user does, with the caret at `position`.
inline void select(QTextEdit &editor, int anchor, int position)
{
	QTextCursor cursor = editor.textCursor();
	cursor.setPosition(anchor);
	cursor.setPosition(position, QTextCursor::KeepAnchor);
	editor.setTextCursor(cursor);
}

/// Runs the tests of an object inside a host: the body of a test program's main function.
template <typename Test>
int run(int argc, char *argv[])
{
	QApplication application(argc, argv);
	const Host host;
	Test test;
	return QTest::qExec(&test, argc, argv);
}

} // namespace quillbay::test

#define QUILLBAY_TEST_MAIN(Test)                                                                                       \
	int main(int argc, char *argv[])                                                                               \
	{                                                                                                              \
		return quillbay::test::run<Test>(argc, argv);                                                          \
	}
