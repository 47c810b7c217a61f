// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "remote/request_head.hpp"

#include <QList>

#include <algorithm>
#include <limits>

namespace quillbay {

namespace {

constexpr QByteArrayView kBlankLine = "\r\n\r\n";
constexpr QByteArrayView kWordType = "application/vnd.openxmlformats-officedocument.wordprocessingml.document";

// The lines without the head's end; only the line feed ends one.
QList<QByteArray> linesOf(QByteArrayView head)
{
	if (head.endsWith(kBlankLine)) {
		head.chop(kBlankLine.size());
	}
	return head.toByteArray().split('\n');
}

// RFC 9110 allows digits alone: no sign, no space.
std::optional<qint64> readNumber(const QByteArray &digits, qint64 max)
{
	const auto isDigit = [](char character) { return character >= '0' && character <= '9'; };
	bool isNumber = false;
	const qint64 number = digits.toLongLong(&isNumber);
	if (!isNumber || number > max || !std::all_of(digits.begin(), digits.end(), isDigit)) {
		return std::nullopt;
	}
	return number;
}

} // namespace

HeadScan scanHead(QByteArrayView bytes, qsizetype scanned)
{
	const QByteArrayView seen = bytes.first(std::min(bytes.size(), kMaxHeadBytes));
	const qsizetype from = std::clamp<qsizetype>(scanned - (kBlankLine.size() - 1), 0, seen.size());
	const qsizetype end = seen.indexOf(kBlankLine, from);
	if (end >= 0) {
		return {HeadState::Complete, end + kBlankLine.size()};
	}
	return {bytes.size() > kMaxHeadBytes ? HeadState::TooLarge : HeadState::Incomplete, 0};
}

std::optional<RequestLine> readRequestLine(QByteArrayView head)
{
	const qsizetype end = head.indexOf('\n');
	const QList<QByteArray> words = head.first(end < 0 ? head.size() : end).toByteArray().trimmed().split(' ');
	if (words.size() != 3 || (words[2] != "HTTP/1.1" && words[2] != "HTTP/1.0")) {
		return std::nullopt;
	}
	return RequestLine{words[0], words[1]};
}

std::optional<Headers> readHeaders(QByteArrayView head)
{
	Headers headers;
	const QList<QByteArray> lines = linesOf(head);
	for (qsizetype i = 1; i < lines.size(); ++i) {
		const qsizetype colon = lines[i].indexOf(':');
		if (colon < 1) {
			return std::nullopt;
		}
		const QByteArray name = lines[i].first(colon).trimmed().toLower();
		if (headers.contains(name)) {
			return std::nullopt;
		}
		headers.insert(name, lines[i].sliced(colon + 1).trimmed());
	}
	return headers;
}

std::optional<UploadHead> readUploadHead(const Headers &headers, QByteArrayView origin)
{
	const auto text = [&headers](const char *name) { return QString::fromUtf8(headers.value(name)); };
	const auto length = readNumber(headers.value("content-length"), std::numeric_limits<qint64>::max());
	const auto revision = readNumber(headers.value("x-quillbay-revision"), std::numeric_limits<int>::max());
	if (headers.contains("transfer-encoding") || length.value_or(0) < 1 || !revision ||
	    headers.value("content-type") != kWordType || headers.value("origin", origin.toByteArray()) != origin) {
		return std::nullopt;
	}
	return UploadHead{*length,
			  {{QStringLiteral("action"), QStringLiteral("CheckImport")},
			   {QStringLiteral("access"), text("x-quillbay-access")},
			   {QStringLiteral("session"), text("x-quillbay-session")},
			   {QStringLiteral("scene"), text("x-quillbay-scene")},
			   {QStringLiteral("epoch"), text("x-quillbay-epoch")},
			   {QStringLiteral("revision"), *revision}}};
}

} // namespace quillbay
