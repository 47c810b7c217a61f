// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include <QString>

#include <functional>

class QWidget;

namespace quillbay {

/// Runs `work` on a thread of its own and returns when it has finished. Meanwhile a modal dialog with `label`, which
/// cannot be closed, stands over `parent` and the event loop runs: `parent` may be gone afterwards.
/// `work` must not touch widgets; what it changes is the caller's to read afterwards. User-interface thread only.
void fileJob(QWidget *parent, const QString &label, const std::function<void()> &work);

} // namespace quillbay
