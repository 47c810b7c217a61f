// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "remote/native_socket.hpp"

#ifdef Q_OS_WIN
#include <winsock2.h>
#else
#include <sys/socket.h>
#endif

namespace quillbay {

namespace {

#ifdef Q_OS_WIN
using Descriptor = SOCKET;
constexpr int kSendingSide = SD_SEND;
#else
using Descriptor = int;
constexpr int kSendingSide = SHUT_WR;
#endif

} // namespace

bool holdsUnreadBytes(qintptr descriptor)
{
	char byte = 0;
	return ::recv(static_cast<Descriptor>(descriptor), &byte, 1, MSG_PEEK) > 0;
}

void stopSending(qintptr descriptor)
{
	::shutdown(static_cast<Descriptor>(descriptor), kSendingSide);
}

} // namespace quillbay
