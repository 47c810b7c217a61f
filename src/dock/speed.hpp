// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include <algorithm>
#include <cmath>

namespace quillbay {

/// Bounds of the teleprompter's speed, and its smallest change.
inline constexpr double kMinSpeed = 1.0;
inline constexpr double kMaxSpeed = 5.0;
inline constexpr double kSpeedStep = 0.1;
/// Pixels a second at speed 1.0.
inline constexpr double kBaseSpeed = 10.0;

/// `speed` as the dock takes it: between the limits and with one decimal; 1.0 for what is no number.
inline double acceptedSpeed(double speed)
{
	const double clamped = std::clamp(std::isfinite(speed) ? speed : kMinSpeed, kMinSpeed, kMaxSpeed);
	return static_cast<int>(clamped * 10.0 + 0.5) / 10.0;
}

/// The whole seconds that a countdown still shows: 3, 2, 1, and 0 when it is over.
inline int countdownSeconds(long long elapsedMs)
{
	return static_cast<int>((3999 - elapsedMs) / 1000);
}

} // namespace quillbay
