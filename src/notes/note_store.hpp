// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include "notes/note_file.hpp"

#include <QDateTime>
#include <QSet>
#include <QString>

struct obs_source;

namespace quillbay {

/// The scene's UUID, or nothing for none.
QString sceneUuid(const obs_source *scene);
/// The scene's name, or nothing for none.
QString sceneName(const obs_source *scene);

/// Where a scene's note is to be written.
struct NoteTarget {
	/// The scene's UUID.
	QString sceneId;
	/// The scene's current name.
	QString sceneName;
	/// Full path of the file to write.
	QString path;
	/// Full path of the scene's file as its record names it, or empty.
	QString previousPath;
};

/// Maps the host's scenes to note files in one folder.
///
/// Which file belongs to a scene is recorded in the scene's private settings, under the key "quillbay", as an
/// object of "id" (the scene's UUID), "file" (a bare file name ending in ".json") and "name" (the scene's
/// name). A record copied to another scene is not valid there. Nothing is cached: each operation reads the
/// record and the disk. Scenes are borrowed, never kept. User-interface thread only.
class NoteStore {
public:
	/// Creates nothing on disk.
	explicit NoteStore(const QString &folder);

	/// The folder of all note files, in clean form.
	[[nodiscard]] const QString &folder() const { return folder_; }

	/// Full path of the scene's note file, or empty when the scene has no valid record.
	[[nodiscard]] QString filePath(obs_source *scene) const;

	/// The note's HTML; empty for a scene without a file. On failure empty, with `error` (optional) set.
	[[nodiscard]] QString read(obs_source *scene, QString *error = nullptr) const;

	/// A free file path for a scene of this name: its stem, or the stem with "_2", "_3", … appended. `current`
	/// never counts as used; `taken` holds case-folded file names that are spoken for but not on disk yet.
	[[nodiscard]] QString destination(const QString &name, const QString &current,
					  const QSet<QString> &taken) const;

	/// Where the scene's note goes now: its present file while that still fits its name, else a free one. A file
	/// of the scene's name that holds its note is its present file, record or not; a recorded one that holds
	/// another scene's note is not.
	[[nodiscard]] NoteTarget prepare(obs_source *scene, const QSet<QString> &taken) const;

	/// Makes the scene's record point at `target` and removes the file it had before.
	void accept(obs_source *scene, const NoteTarget &target);

	/// Writes the note to where `prepare` says, then accepts it. On failure the record and the previous file
	/// stay as they were and `error` (optional) says why.
	bool write(obs_source *scene, const Note &note, QString *error = nullptr, const QDateTime &modified = {});

	/// Writes the note of a scene that has gone with an edit pending: no record is kept in step. A target
	/// without a path, or whose path another scene has taken meanwhile, gets a free one.
	bool writeDetached(NoteTarget &target, const Note &note, QString *error = nullptr) const;

	/// Mends the record of a scene that has none, or one that is older than the last move of its note: the host
	/// can bring back a scene, or a collection, as it was before. `path` (or empty) is where the note was last
	/// seen; failing that, a note whose recorded file is missing or another scene's is looked for in the folder,
	/// and one without a record among the files of the scene's name.
	void reattach(obs_source *scene, const QString &path);

	/// Moves the note to a file named after the scene's new name, keeping its modification time.
	bool rename(obs_source *scene, QString *error = nullptr);

	/// Empties the note when its file is not newer than `cutoff`. True only when it was emptied.
	bool clearExpired(obs_source *scene, const QDateTime &cutoff, QString *error = nullptr);

	/// Whether a scene's record was written since the last call: the host must save its collection.
	bool takeReferenceChanges();

private:
	[[nodiscard]] QString ownFile(obs_source *scene) const;
	[[nodiscard]] QString findByName(obs_source *scene) const;
	[[nodiscard]] QString findNote(const QString &sceneId) const;
	[[nodiscard]] bool save(const NoteTarget &target, const Note &note, QString *error,
				const QDateTime &modified) const;

	QString folder_;
	bool isReferenceChanged_ = false;
};

} // namespace quillbay
