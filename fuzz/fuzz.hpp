// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include <QGuiApplication>

#include <cstddef>
#include <cstdint>

namespace quillbay::fuzz {

/// Ends the program, which libFuzzer takes for a finding, where `isTrue` is false.
inline void require(bool isTrue, const char *what)
{
	if (!isTrue) {
		qFatal("%s", what);
	}
}

/// Makes the application that text needs, once. Under QT_QPA_PLATFORM=offscreen.
inline void startGui()
{
	static int argc = 1;
	static char name[] = "fuzz";
	static char *argv[] = {name, nullptr};
	static const QGuiApplication application(argc, argv);
}

} // namespace quillbay::fuzz
