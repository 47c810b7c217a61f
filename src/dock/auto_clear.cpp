// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// How notes that nobody edits any more empty themselves: scene by scene, once a day, and never one that is in use.

#include "dock/auto_clear.hpp"

#include "dock/dock.hpp"
#include "dock/scenes.hpp"

#include "plugin/text.hpp"
#include "remote/remote.hpp"

#include <QApplication>
#include <QSettings>

#include <chrono>

namespace quillbay {

namespace {

using namespace std::chrono_literals;

constexpr auto kFirstDelay = 5s;
constexpr auto kStepDelay = 25ms;
constexpr auto kBusyDelay = 1min;
constexpr auto kPassDelay = 24h;

constexpr const char *kDaysKey = "autoClear/days";
constexpr const char *kAllKey = "autoClear/all";
constexpr const char *kScenesKey = "autoClear/scenes";

void setAutoClear(const AutoClear &choice, QSettings &settings)
{
	settings.setValue(kDaysKey, choice.days);
	settings.setValue(kAllKey, choice.isAll);
	settings.setValue(kScenesKey, QStringList(choice.scenes.cbegin(), choice.scenes.cend()));
}

} // namespace

AutoClear readAutoClear(const QSettings &settings)
{
	AutoClear choice;
	const int days = settings.value(kDaysKey).toInt();
	choice.days = days > 0 && days <= kMaxAutoClearDays ? days : 0;
	choice.isAll = settings.value(kAllKey).toString() == QLatin1StringView("true");
	const QStringList scenes = settings.value(kScenesKey).toStringList();
	choice.scenes = QSet<QString>(scenes.cbegin(), scenes.cend());
	choice.scenes.remove({});
	return choice;
}

bool writeAutoClear(const AutoClear &choice, QSettings &settings)
{
	const AutoClear before = readAutoClear(settings);
	// Another one on the same file: settings that have once failed go on to say so.
	QSettings fresh(settings.fileName(), settings.format());
	setAutoClear(choice, fresh);
	fresh.sync();
	if (fresh.status() == QSettings::NoError) {
		return true;
	}
	// What the user has been told is not saved must not be saved later either.
	setAutoClear(before, settings);
	return false;
}

QDateTime autoClearCutoff(const QDateTime &now, int days)
{
	return now.toUTC().addDays(-days);
}

void Dock::prepareAutoClear()
{
	takeAutoClear(readAutoClear(settings));
	autoClearTimer.setObjectName(QStringLiteral("autoClearTimer"));
	autoClearTimer.setSingleShot(true);
	autoClearTimer.setTimerType(Qt::CoarseTimer);
	connect(&autoClearTimer, &QTimer::timeout, this, &Dock::clearExpiredNotes);
}

void Dock::takeAutoClear(const AutoClear &choice)
{
	autoClearDays = choice.days;
	autoClearAll = choice.isAll;
	autoClearScenes = choice.scenes;
}

bool Dock::changeAutoClear(const AutoClear &choice)
{
	if (shutDown || choice == autoClearChoice()) {
		return true;
	}
	if (!writeAutoClear(choice, settings)) {
		return false;
	}
	takeAutoClear(choice);
	scheduleAutoClear();
	return true;
}

void Dock::scheduleAutoClear()
{
	autoClearPending.clear();
	autoClearTimer.stop();
	if (collectionReady && !shutDown && autoClearChoice().isOn()) {
		autoClearTimer.start(kFirstDelay);
	}
}

void Dock::clearExpiredNotes()
{
	if (shutDown || !collectionReady || autoClearDays == 0) {
		return;
	}
	// Whoever is in the middle of a decision about the notes decides first.
	if (restoring || QApplication::activeModalWidget()) {
		autoClearTimer.start(kBusyDelay);
		return;
	}
	if (autoClearPending.empty()) {
		for (const OBSSource &scene : collectionScenes()) {
			autoClearPending.push_back(OBSGetWeakRef(scene));
		}
	}
	if (!autoClearPending.empty()) {
		const OBSSourceAutoRelease scene = OBSGetStrongRef(autoClearPending.front());
		autoClearPending.pop_front();
		if (scene && mayClear(scene)) {
			clearIfExpired(scene);
		}
	}
	autoClearTimer.start(autoClearPending.empty() ? std::chrono::milliseconds(kPassDelay) : kStepDelay);
}

bool Dock::mayClear(obs_source_t *scene) const
{
	const QString key = sceneUuid(scene);
	return !obs_source_removed(scene) && autoClearChoice().isChosen(key) && key != sceneKey &&
	       !remote->sceneInUse(key) && !isOnAir(scene);
}

void Dock::clearIfExpired(obs_source_t *scene)
{
	QString error;
	if (!noteStore.clearExpired(scene, autoClearCutoff(QDateTime::currentDateTimeUtc(), autoClearDays), &error)) {
		if (!error.isEmpty()) {
			showSaveError(error);
			showStatus(text("AutoClearFailed").arg(sceneName(scene)));
		}
		return;
	}
	// Its file may have moved to a new name.
	rememberPath(scene);
	remote->noteChanged(sceneUuid(scene));
	if (noteStore.takeReferenceChanges()) {
		obs_frontend_save();
	}
}

} // namespace quillbay
