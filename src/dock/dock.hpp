// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#pragma once

#include "dock/auto_clear.hpp"
#include "dock/command.hpp"
#include "dock/matches.hpp"
#include "notes/note_store.hpp"

#include <QElapsedTimer>
#include <QHash>
#include <QSettings>
#include <QTextCharFormat>
#include <QTimer>
#include <QWidget>

#include <deque>
#include <functional>
#include <memory>

#include <obs.hpp>
#include <obs-frontend-api.h>

class QAction;
class QBoxLayout;
class QCheckBox;
class QDoubleSpinBox;
class QFrame;
class QKeyEvent;
class QLabel;
class QLineEdit;
class QMenu;
class QMouseEvent;
class QSlider;
class QSpinBox;
class QTemporaryDir;
class QTextDocument;
class QToolBar;
class QToolButton;

namespace quillbay {

class Editor;
class FocusRing;
class ReadingBand;
class Remote;
struct BackupNote;
enum class Icon : std::int32_t;

/// The notes dock: shows the note of the scene that the host shows, saves every edit half a second after the
/// last keystroke and before anything that could lose it, and owns the open note.
///
/// Lives on the user-interface thread; nothing here may be called from another one. Scenes handed in are
/// borrowed. Failures are reported in the dock itself: in the status, in the save-error line, or as the empty
/// editor's placeholder.
class Dock : public QWidget {
	Q_OBJECT

public:
	/// Opens the settings file and keeps the notes in the folder "notes" beside it. Binds to no scene.
	explicit Dock(const QString &settingsPath, QWidget *parent = nullptr);
	~Dock() override;

	// Scenes and their notes (binding.cpp)

	/// Shows the note of `scene`, or of none. An edit that cannot be written keeps the dock where it is.
	void bindScene(obs_source_t *scene);
	/// Binds the scene that the host shows: the preview scene in studio mode, else the current scene.
	void refreshScene();
	/// A scene has a new name: its note moves along.
	void sceneRenamed(obs_source_t *scene);
	/// Every front-end event but the exit goes here.
	void frontendEvent(obs_frontend_event event);
	/// Keeps the bound scene's scroll position for when it is shown again.
	void rememberPosition();
	/// Writes the reading positions and brings the settings file up to date.
	void savePreferences();

	// Saving (saving.cpp)

	/// Writes a pending edit now, then, with `requestHostSave`, lets the host save changed scene records.
	/// With `report` the outcome is shown. False when an edit is still pending.
	bool flush(bool requestHostSave, bool report);
	/// The HTML of a scene's note as the user sees it: with the unsaved edit when it is the open one.
	/// `writer` is set to the document that would write the very same HTML now, or to null.
	QString readHtml(obs_source_t *scene, QString *error = nullptr, const QTextDocument **writer = nullptr) const;
	/// Saves, stops all work and ignores commands from now on. Later calls do nothing.
	void shutdown();

	// Who may edit (access.cpp)

	/// Enters or leaves read mode.
	void setLocked(bool isLocked);
	/// A remote device has taken or given back the right to edit.
	void setRemoteEditing(bool isEditing);
	/// The remote service has started or stopped.
	void setRemoteAvailable(bool isAvailable);
	/// Stores a note that was edited remotely. False when it could not be written.
	bool applyRemoteHtml(obs_source_t *scene, const QString &html);

	// Status (status.cpp)

	/// The message becomes the status label's tooltip and accessible name.
	void showStatus(const QString &message);
	/// Shows the line that stays until the note could be written.
	void showSaveError(const QString &error);
	/// Refreshes the paragraph count, the character count and the reading percentage.
	void updateDocumentStatus();
	/// Refreshes the character count alone.
	void updateCharacterStatus();
	/// Characters of the open note.
	[[nodiscard]] int textLength() const;

	// Teleprompter (teleprompter.cpp)

	/// Sets the speed: 1.0 to 5.0 in steps of 0.1, times ten pixels a second. What is no number becomes 1.0.
	void setSpeed(double speed);
	[[nodiscard]] double speed() const;
	/// Starts scrolling, after the countdown where that is wanted; enters read mode.
	void startScroll();
	/// Stops scrolling or a running countdown; read mode stays.
	void pauseScroll();
	/// Whether the text scrolls or the countdown to that runs.
	[[nodiscard]] bool isScrollingOrCounting() const;
	/// How much of the note has been scrolled through, from 0.0 to 1.0.
	[[nodiscard]] double scrollProgress() const;

	// Search and go-to (search.cpp)

	/// Goes to a paragraph ("12") or a percentage ("40%"). False when the note has no such place.
	bool goToPosition(const QString &typed);

	// Commands (commands.cpp)

	/// Carries out what a hotkey, a button or a remote device asks for.
	void command(Command command);

	// Files (files.cpp)

	/// Puts a text, HTML or Word file that the user chooses in the place of the open note.
	void importFile();
	/// Writes the open note to a text or HTML file that the user names.
	void exportDocument();
	/// Reduces the open note to the formatting that browsers can edit, once the user has agreed.
	void convertToBasic();

	// Backup and restore (backup.cpp)

	/// Saves all notes, or the bound scene's, to a file that the user chooses.
	Q_INVOKABLE void backup(bool all);
	/// Reads a backup that the user chooses and, once they have agreed, gives its notes to the scenes they belong
	/// to.
	Q_INVOKABLE void restoreBackup();

	// Menu, about and auto-clear (menu.cpp, auto_clear.cpp)

	/// Runs the menu of a right click on the note. `point` is one of the editor's viewport, as the editor tells it.
	void showEditorContextMenu(QPoint point);
	/// Runs the dialog that says what this is and lets the user decide which notes empty themselves.
	void showAbout();
	/// Begins a new pass over the scenes' notes soon, or none when no note is to be emptied.
	void scheduleAutoClear();
	/// Looks at the next scene of the pass, empties its note if that is due, and sees to it that the pass goes on.
	void clearExpiredNotes();

	// Meeting points

	[[nodiscard]] NoteStore &store() { return noteStore; }
	[[nodiscard]] Remote &remoteService() const { return *remote; }
	/// The bound scene's UUID; empty when no scene is bound.
	[[nodiscard]] const QString &boundScene() const { return sceneKey; }
	/// Whether the dock's user has locked editing (read mode).
	[[nodiscard]] bool isLocked() const { return locked; }
	/// Whether the bound scene's note could not be loaded.
	[[nodiscard]] bool isUnavailable() const { return unavailable; }

protected:
	bool event(QEvent *event) override;
	void keyPressEvent(QKeyEvent *event) override;
	void changeEvent(QEvent *event) override;
	void showEvent(QShowEvent *event) override;
	void hideEvent(QHideEvent *event) override;
	bool eventFilter(QObject *watched, QEvent *event) override;

private:
	// Construction (dock.cpp)
	void buildTopControls();
	void buildEditor();
	void buildBottomControls();
	void buildReadingControls();
	void buildReadingMetrics();
	void buildSpeedControls(QBoxLayout *row);
	void orderFocus();
	QFrame *addSeparator(QBoxLayout *row, const char *name);
	void connectSignals();
	void connectEditor();
	void connectTeleprompter();

	// Events of the watched widgets (events.cpp)
	[[nodiscard]] bool filterPainter(QObject *watched, QEvent *event);
	[[nodiscard]] bool filterGoTo(QObject *watched, QEvent *event);
	[[nodiscard]] bool filterViewportClick(const QMouseEvent &event);
	[[nodiscard]] bool filterEditorKey(const QKeyEvent &event);
	void resizedViewport(const QResizeEvent &event);
	void keepPlace();
	void placeQrButton();
	void focusMoved(QWidget *from, QWidget *to);
	[[nodiscard]] QAction *actionFor(const QKeyEvent &event) const;

	// Appearance (appearance.cpp)
	void updateAppearance();
	void updateIcons();
	void updateControlSizes();
	void updateControlLayout();
	void updateSceneStyle();

	// Status (status.cpp)
	[[nodiscard]] QString readingPercent() const;

	// Teleprompter (teleprompter.cpp)
	void beginScroll();
	void scrollFrame();
	void updateCountdown();
	void updateReadingBand();
	[[nodiscard]] int guidedLineHeight(QSize view);
	void showPlayFace(const char *textKey, const char *tooltipKey);
	void restartHold();
	[[nodiscard]] bool filterReadingKey(const QKeyEvent &event);

	// Tool bars (toolbar.cpp)
	void createToolbar();
	QAction *addToolAction(QToolBar *bar, const char *textKey, const char *name, Icon icon,
			       const std::function<void()> &run);
	void addFontActions();
	void addStyleActions();
	void addColorActions();
	void addAlignActions();
	void addListButton();

	// Formatting (formatting.cpp)
	void applyFormat(const QTextCharFormat &format);
	void chooseFont();
	void chooseColor(const char *titleKey, const QColor &start, void (QTextFormat::*setBrush)(const QBrush &));
	void setList(int style);
	void indent(int delta);
	void clearFormat();
	void syncFormat();
	bool clearColorPreview();
	void setFormatPainter(bool on, bool continuous);
	void paintSelection();
	void insertMark();
	[[nodiscard]] bool removeMarkBeforeCaret();
	void removeMark(QTextCursor mark);
	void updateMarkFormat();
	void updateEditorActions();

	// Commands (commands.cpp)
	void insertTime();

	// Search and go-to (search.cpp)
	void createSearchField();
	QToolButton *addSearchButton(const char *name, const char *tooltipKey);
	void connectSearch();
	void invalidateSearch(bool jump);
	void resetSearch();
	void rebuildSearch();
	void findText(bool backward, bool fromStart);
	void findNextMark();
	void updateSearchStatus();
	void updateSearchMargins();
	void showSearch();
	void clearSearch();
	void showGoTo(bool percent);
	void hideGoTo();
	void markGoTo(bool isInvalid, const QString &tooltip);
	void acceptGoTo();

	// Files (files.cpp)
	[[nodiscard]] QString readTextFile(const QString &path, QString *error) const;
	bool replaceHtml(const QString &html, const char *titleKey, const char *promptKey, bool report);
	[[nodiscard]] bool confirm(const char *titleKey, const char *promptKey);
	[[nodiscard]] bool replaceDocument(const QString &html);
	void importWord(const QString &path);
	void importText(const QString &path);
	[[nodiscard]] QString exportedNote(const OBSWeakSource &exported, bool asText, QString &error) const;

	// Menu (menu.cpp)
	struct MenuEntry;
	[[nodiscard]] bool isEditable() const;
	[[nodiscard]] std::vector<MenuEntry> undoEntries();
	[[nodiscard]] std::vector<MenuEntry> clipboardEntries();
	[[nodiscard]] std::vector<MenuEntry> markEntries(QPoint point);
	[[nodiscard]] std::vector<MenuEntry> noteEntries();
	[[nodiscard]] std::vector<MenuEntry> backupEntries();
	[[nodiscard]] std::vector<MenuEntry> moduleEntries();
	static QAction *addMenuEntry(QMenu *menu, const MenuEntry &entry);

	// Auto-clear (auto_clear.cpp)
	void prepareAutoClear();
	void takeAutoClear(const AutoClear &choice);
	[[nodiscard]] AutoClear autoClearChoice() const { return {autoClearDays, autoClearAll, autoClearScenes}; }
	[[nodiscard]] bool changeAutoClear(const AutoClear &choice);
	[[nodiscard]] bool mayClear(obs_source_t *scene) const;
	void clearIfExpired(obs_source_t *scene);

	// Backup and restore (backup.cpp)
	struct Restore;
	[[nodiscard]] QStringList boundNoteFile(QString &stem);
	[[nodiscard]] QString chooseDestination(bool all, const QString &stem);
	[[nodiscard]] bool canRestore();
	void offerRestore(const QList<BackupNote> &notes, obs_source_t *onlyScene, QTemporaryDir &copies);
	[[nodiscard]] std::vector<Restore> matchBackup(const QList<BackupNote> &notes, obs_source_t *onlyScene) const;
	int prepareRestores(std::vector<Restore> &restores) const;
	[[nodiscard]] bool confirmRestore(std::vector<Restore> &restores);
	void restoreNotes(std::vector<Restore> &restores, qsizetype noteCount, QTemporaryDir &copies);
	void endRestore();

	// Scenes and their notes (binding.cpp)
	void continueSameScene(obs_source_t *scene);
	[[nodiscard]] QString loadNote(obs_source_t *scene, QString &error);
	void showLoadedNote(obs_source_t *scene, const QString &html, const QString &error);
	void setSceneLabel(const QString &name);
	void showHtml(const QString &html, int position);
	void rememberTarget(obs_source_t *scene);
	void rememberPath(obs_source_t *scene);
	[[nodiscard]] int storedPosition() const;
	void scrollTo(int position);
	void layoutWholeNote();

	// Saving (saving.cpp)
	void noteEdited();
	[[nodiscard]] bool saveEdit(bool report);
	[[nodiscard]] bool writeOpenNote(QString &error);
	[[nodiscard]] bool writeDetachedNote(QString &error);
	void followHost();

	// Who may edit (access.cpp)
	void updateReadOnly();
	void updateReadAction();
	void showRemoteHtml(const QString &before, const QString &html);

	QSettings settings;
	NoteStore noteStore;
	/// Always there; it does nothing before the host has loaded all modules.
	std::unique_ptr<Remote> remote;

	// The bound scene
	OBSWeakSource currentScene;
	QString sceneKey;
	/// Where the open note was last read from or written to; outlives its scene.
	NoteTarget noteTarget;
	/// The files of this session's scenes by scene key: the host's undo may bring a scene back without its record.
	QHash<QString, QString> notePaths;
	QHash<QString, int> readingPositions;
	bool locked = false;
	bool remoteEditing = false;
	bool unavailable = false;
	bool restoring = false;
	bool refreshPending = false;
	/// The host shows another scene, whose note has to wait until the edit in this one is written.
	bool isHeldBack = false;
	bool collectionReady = false;
	/// Between the host's leaving a collection and its having the next: its scenes come and go, it must not save.
	bool collectionChanging = false;
	bool dirty = false;
	bool shutDown = false;
	/// Runs out half a second after the last edit.
	QTimer saveTimer;
	/// Runs out half a second after the first unsaved edit: someone who types on without a pause is saved too.
	QTimer saveDeadline;
	/// Runs out half a second after a held-back edit is written. The dock then follows the host, but not under the
	/// hands of someone who types on: the rest of a word would go into the other scene's note.
	QTimer followTimer;

	// The teleprompter
	QTimer scrollTimer;
	QTimer countdownTimer;
	QElapsedTimer countdownClock;
	QElapsedTimer frameClock;
	/// Since when the user's own movement holds the text; invalid without one.
	QElapsedTimer holdClock;
	/// Since the last letter or digit that was typed, whether the note took it or not.
	QElapsedTimer typingClock;
	/// The exact offset in pixels; the scroll bar holds its whole part.
	double scrollPosition = 0;
	/// The line of text that was found at the reading line, in the whole text's pixels, and what that holds for.
	struct {
		QRect rect;
		QSize view;
		int revision = -1;
	} guidedLine;
	/// The view has been resized and the place in the text is not back yet.
	bool isKeepingPlace = false;
	/// How many texts the editor has been given: a place in one says nothing about the next.
	int textsShown = 0;

	// The format painter and the colours shown on a selection
	QTextCharFormat painterFormat;
	bool painterContinuous = false;
	QString previewTextColor;
	QString previewHighlight;

	// The search
	std::vector<SearchRange> searchRanges;
	bool searchStale = true;
	bool searchJumpPending = false;
	/// The search is for marks: an edit of the note ends it.
	bool markSearch = false;
	QTimer searchTimer;

	// Notes that empty themselves
	int autoClearDays = 0;
	bool autoClearAll = false;
	QSet<QString> autoClearScenes;
	/// The scenes that this pass has still to look at.
	std::deque<OBSWeakSource> autoClearPending;
	/// A child of the dock, where tests find it.
	QTimer autoClearTimer{this};

	// Widgets: top row
	QWidget *topControls = nullptr;
	QLabel *scenePrefix = nullptr;
	QLabel *sceneLabel = nullptr;
	QLabel *saveStatus = nullptr;
	QToolBar *formatToolbar = nullptr;
	QSpinBox *fontSize = nullptr;
	QAction *boldAction = nullptr;
	QAction *italicAction = nullptr;
	QAction *underlineAction = nullptr;
	QAction *strikeAction = nullptr;
	QAction *painterAction = nullptr;
	QLineEdit *searchText = nullptr;
	QLabel *searchStatus = nullptr;
	QToolButton *findPrevious = nullptr;
	QToolButton *findNext = nullptr;
	QToolButton *clearSearchButton = nullptr;
	QAction *findAction = nullptr;

	// Widgets: note
	QLabel *saveError = nullptr;
	Editor *editor = nullptr;
	ReadingBand *readingBand = nullptr;
	QToolButton *remoteQrButton = nullptr;
	QLineEdit *goToInput = nullptr;
	FocusRing *focusRing = nullptr;

	// Widgets: bottom row
	QWidget *bottomControls = nullptr;
	QBoxLayout *bottomLayout = nullptr;
	QWidget *readingControls = nullptr;
	QToolButton *readMode = nullptr;
	QAction *readAction = nullptr;
	QToolButton *scrollPlay = nullptr;
	QToolButton *readingGuide = nullptr;
	QAction *guideAction = nullptr;
	QToolButton *scrollTop = nullptr;
	QCheckBox *startCountdown = nullptr;
	QToolBar *paragraphToolbar = nullptr;
	QList<QAction *> alignActions;
	QToolButton *listStyle = nullptr;
	QSlider *scrollSlider = nullptr;
	QDoubleSpinBox *scrollSpeed = nullptr;
	QWidget *readingMetrics = nullptr;
	QLabel *documentStatus = nullptr;
	QLabel *characterCount = nullptr;
	QLabel *scrollPercent = nullptr;
	QList<QFrame *> separators;
};

} // namespace quillbay
