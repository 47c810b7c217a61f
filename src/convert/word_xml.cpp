// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "convert/word_xml.hpp"

#include "plugin/text.hpp"

#include <QStringDecoder>

#include <vector>

namespace quillbay::word {

namespace {

// Qt's reader keeps about 300 bytes for every open element.
constexpr size_t kMaxDepth = 1'000;
// It compares each attribute of an element with every other, and looks each prefix up in a plain list. The root
// elements of Word and LibreOffice have about forty of both.
constexpr int kMaxAttributes = 256;
constexpr int kMaxNamespaces = 256;

// Reads nothing but where tags begin and end, as far as the part is well-formed: beyond that Qt's reader stops.
class MarkupGuard {
public:
	explicit MarkupGuard(QStringView xml) : xml_(xml) {}

	bool isHarmless()
	{
		while ((at_ = xml_.indexOf(u'<', at_)) >= 0) {
			if (startsWith(QLatin1StringView("<!--"))) {
				at_ = after(at_ + 4, QLatin1StringView("-->"));
			} else if (startsWith(QLatin1StringView("<![CDATA["))) {
				at_ = after(at_ + 9, QLatin1StringView("]]>"));
			} else if (startsWith(QLatin1StringView("<?"))) {
				at_ = after(at_ + 2, QLatin1StringView("?>"));
			} else if (startsWith(QLatin1StringView("<!"))) {
				return false;
			} else if (startsWith(QLatin1StringView("</"))) {
				close();
				at_ = after(at_ + 2, QLatin1StringView(">"));
			} else if (!passStartTag()) {
				return false;
			}
		}
		return true;
	}

private:
	[[nodiscard]] bool startsWith(QLatin1StringView mark) const { return xml_.sliced(at_).startsWith(mark); }

	[[nodiscard]] qsizetype after(qsizetype from, QLatin1StringView mark) const
	{
		const qsizetype found = xml_.indexOf(mark, from);
		return found < 0 ? xml_.size() : found + mark.size();
	}

	void close()
	{
		if (!open_.empty()) {
			namespaces_ -= open_.back();
			open_.pop_back();
		}
	}

	// From the "<" to behind the ">"; false when the element is one too much.
	bool passStartTag()
	{
		int attributes = 0;
		int declared = 0;
		qsizetype name = at_;
		qsizetype i = at_ + 1;
		for (; i < xml_.size() && xml_[i] != u'>'; ++i) {
			const QChar c = xml_[i];
			if (c == u'"' || c == u'\'') {
				i = xml_.indexOf(c, i + 1);
				if (i < 0) {
					break;
				}
			} else if (c.isSpace()) {
				name = i + 1;
			} else if (c == u'=') {
				++attributes;
				declared += xml_.sliced(name).startsWith(QLatin1StringView("xmlns")) ? 1 : 0;
			}
		}
		at_ = i < 0 ? xml_.size() : std::min(i + 1, xml_.size());
		open_.push_back(declared);
		namespaces_ += declared;
		const bool isHarmless =
			attributes <= kMaxAttributes && namespaces_ <= kMaxNamespaces && open_.size() <= kMaxDepth;
		if (i > 0 && i < xml_.size() && xml_[i - 1] == u'/') {
			close();
		}
		return isHarmless;
	}

	QStringView xml_;
	qsizetype at_ = 0;
	// The namespaces that each open element declares, and their sum.
	std::vector<int> open_;
	int namespaces_ = 0;
};

} // namespace

void openPart(QXmlStreamReader &reader, const QByteArray &part)
{
	const auto encoding = QStringConverter::encodingForData(part, u'<').value_or(QStringConverter::Utf8);
	QStringDecoder decoder(encoding);
	const QString xml = decoder.decode(part);
	if (decoder.hasError() || !MarkupGuard(xml).isHarmless()) {
		reader.raiseError(text("WordPartRefused"));
		return;
	}
	reader.addData(xml);
}

QString attr(const QXmlStreamReader &reader, const char *name)
{
	const QXmlStreamAttributes attributes = reader.attributes();
	for (const QXmlStreamAttribute &attribute : attributes) {
		if (attribute.name() == QLatin1StringView(name)) {
			return attribute.value().toString();
		}
	}
	return {};
}

bool enabled(const QXmlStreamReader &reader)
{
	const QString value = attr(reader, "val");
	return value != QLatin1StringView("0") && value != QLatin1StringView("false") &&
	       value != QLatin1StringView("off") && value != QLatin1StringView("none");
}

} // namespace quillbay::word
