// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include <QHash>
#include <QPixmap>
#include <QTextDocument>

#include <memory>

namespace quillbay {

/// The rich text of a note. It loads nothing but the pictures that its own HTML carries as `data:` URLs: whatever
/// else the HTML names (local files, network shares, web addresses, style sheets) is kept in the text, shown as
/// an empty frame and never opened. Use it wherever HTML from a note, the clipboard or a phone is parsed.
/// GUI thread only, but for scratch documents.
class NoteDocument : public QTextDocument {
	Q_OBJECT

public:
	explicit NoteDocument(QObject *parent = nullptr);

	/// A document to parse into and read from: it is never laid out, keeps no undo steps and decodes no picture.
	/// Any thread, and only the one that made it.
	static std::unique_ptr<NoteDocument> makeScratch();

	/// The picture of a `data:` URL, decoded once; null for every other name, for data that is no PNG, JPEG, GIF,
	/// BMP or WebP, and once the document's pictures would take more than they may (see kMaxPicturePixels).
	QPixmap picture(const QString &name);

	/// Drops what was decoded: the document is about to hold another note.
	void forgetPictures();

	/// Pixels that all pictures of one document may decode to: four bytes each.
	static constexpr qint64 kMaxPicturePixels = 32 * 1024 * 1024;
	/// The longest side of a picture as it is shown, in pixels.
	static constexpr qreal kMaxShownSide = 4096;

protected:
	QVariant loadResource(int type, const QUrl &name) override;

private:
	void registerPictures();

	QHash<QString, QPixmap> pictures_;
	qint64 picturePixels_ = 0;
	bool isDecoding_ = true;
};

} // namespace quillbay
