// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "remote/request_head.hpp"

#include <cstdlib>

using namespace quillbay;

namespace {

constexpr QByteArrayView kOrigin = "http://127.0.0.1:8800";

void require(bool condition)
{
	if (!condition) {
		std::abort();
	}
}

// A head means the same however its bytes come.
HeadScan scanByteByByte(QByteArrayView bytes)
{
	HeadScan scan;
	for (qsizetype size = 0; size <= bytes.size() && scan.state == HeadState::Incomplete; ++size) {
		scan = scanHead(bytes.first(size), size - 1);
	}
	return scan;
}

void checkWords(QByteArrayView head)
{
	if (const auto line = readRequestLine(head)) {
		require(!line->method.contains(' ') && !line->path.contains(' '));
		require(!line->method.contains('\n') && !line->path.contains('\n'));
	}
}

void checkHeaders(QByteArrayView head)
{
	const auto headers = readHeaders(head);
	if (!headers) {
		return;
	}
	for (auto header = headers->cbegin(); header != headers->cend(); ++header) {
		require(header.key() == header.key().toLower().trimmed() && !header.key().contains(':'));
		require(header.value() == header.value().trimmed() && !header.value().contains('\n'));
	}
	if (const auto upload = readUploadHead(*headers, kOrigin)) {
		require(upload->length > 0 && upload->request["revision"].toInt(-1) >= 0);
		require(!headers->contains("transfer-encoding"));
		require(upload->request.size() == 6 &&
			upload->request["action"].toString() == QStringLiteral("CheckImport"));
	}
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char *data, std::size_t size)
{
	const QByteArrayView bytes(data, static_cast<qsizetype>(size));
	const HeadScan scan = scanHead(bytes, 0);
	const HeadScan slow = scanByteByByte(bytes);
	require(scan.state == slow.state && scan.length == slow.length);
	require((scan.state == HeadState::Complete) == (scan.length > 0) && scan.length <= kMaxHeadBytes);
	if (scan.state == HeadState::Complete) {
		require(bytes.first(scan.length).endsWith(QByteArrayView("\r\n\r\n")));
		checkWords(bytes.first(scan.length));
		checkHeaders(bytes.first(scan.length));
	}
	// Whatever reaches them, whole head or not.
	checkWords(bytes);
	checkHeaders(bytes);
	return 0;
}
