// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include <QtGlobal>

namespace quillbay {

// What Qt's sockets cannot do. Both take the descriptor of a connected, non-blocking TCP socket, and do not fail: an
// error is one that the socket itself will tell of. Any thread.

/// Whether bytes have arrived that Qt has not read yet.
bool holdsUnreadBytes(qintptr descriptor);

/// Tells the peer that nothing more will be sent, and can still receive.
void stopSending(qintptr descriptor);

} // namespace quillbay
