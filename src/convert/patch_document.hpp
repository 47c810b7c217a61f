// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include <QString>

class QTextDocument;

namespace quillbay {

/// Makes a document that shows the note `before` show `after`. Only the paragraphs that differ are parsed and changed:
/// the view stays where it is, and a long note costs no more than a short one. False, with nothing changed, where
/// that is not possible: the notes are no HTML of Qt's, their lists differ, or the document shows another note.
/// GUI thread.
bool patchDocument(QTextDocument &shown, const QString &before, const QString &after);

} // namespace quillbay
