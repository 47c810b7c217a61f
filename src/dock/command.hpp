// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include <cstdint>

namespace quillbay {

/// What hotkeys, buttons and remote devices can ask of the dock. The values are fixed.
enum class Command : std::int32_t {
	StartScroll = 0,
	PauseScroll = 1,
	ToggleScroll = 2,
	Faster = 3,
	Slower = 4,
	Top = 5,
	InsertTime = 6,
	ToggleLock = 7,
	InsertMark = 8,
	NextMark = 9,
};

} // namespace quillbay
