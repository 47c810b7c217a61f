// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

#include "dock/about.hpp"

#include "dock/message.hpp"
#include "dock/scenes.hpp"
#include "dock/style.hpp"

#include "notes/note_store.hpp"
#include "plugin/text.hpp"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QFrame>
#include <QLabel>
#include <QListWidget>
#include <QPointer>
#include <QPushButton>
#include <QSpinBox>

#include <utility>

namespace quillbay {

namespace {

constexpr QSize kSceneListSize{320, 180};

QDialogButtonBox *addButtons(QDialog *dialog, QBoxLayout *column)
{
	auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, dialog);
	QObject::connect(buttons, &QDialogButtonBox::accepted, dialog, &QDialog::accept);
	QObject::connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
	column->addWidget(buttons);
	return buttons;
}

// One row for every scene of the current collection, those of `chosen` checked.
QListWidget *makeSceneList(const QSet<QString> &chosen, QWidget *parent)
{
	auto *list = new QListWidget(parent);
	list->setObjectName(QStringLiteral("autoClearScenes"));
	list->setAccessibleName(text("AutoClearSelected"));
	list->setMinimumSize(kSceneListSize);
	list->setSelectionMode(QAbstractItemView::NoSelection);
	// An empty box can hardly be seen in the host's dark themes.
	list->setStyleSheet(QStringLiteral("QListView::indicator:unchecked { border: 1px solid %1; }")
				    .arg(mutedColor(list->palette()).name()));
	for (const OBSSource &scene : collectionScenes()) {
		const QString id = sceneUuid(scene);
		auto *row = new QListWidgetItem(sceneName(scene), list);
		row->setFlags(Qt::ItemIsEnabled | Qt::ItemIsUserCheckable);
		row->setData(Qt::UserRole, id);
		row->setCheckState(chosen.contains(id) ? Qt::Checked : Qt::Unchecked);
	}
	return list;
}

// The chosen scenes after the user has checked and unchecked some; those that are not listed stay as they are.
QSet<QString> chosenScenes(const QListWidget &list, QSet<QString> chosen)
{
	for (int i = 0; i < list.count(); ++i) {
		const QListWidgetItem *row = list.item(i);
		const QString id = row->data(Qt::UserRole).toString();
		if (row->checkState() == Qt::Checked) {
			chosen.insert(id);
		} else {
			chosen.remove(id);
		}
	}
	return chosen;
}

} // namespace

AboutDialog::AboutDialog(const AutoClear &saved, QWidget *parent)
    : QDialog(parent), scenes_(saved.scenes), column_(new QVBoxLayout(this))
{
	setObjectName(QStringLiteral("aboutDialog"));
	setWindowTitle(text("About"));
	setModal(true);
	addText("AboutBody", text("AboutBody").arg(QStringLiteral(QUILLBAY_VERSION)));
	addLine();
	addText("ShortcutBody", text("ShortcutBody"));
	addLine();
	addForm();
	days_->setValue(saved.days);
	scope_->setCurrentIndex(scope_->findData(saved.isAll));
	QDialogButtonBox *buttons = addButtons(this, column_);
	connect(days_, &QSpinBox::valueChanged, this, &AboutDialog::showScope);
	connect(scope_, &QComboBox::currentIndexChanged, this, &AboutDialog::showScope);
	connect(choose_, &QPushButton::clicked, this, &AboutDialog::chooseScenes);
	showScope();
	// Not to the first text with a link.
	buttons->button(QDialogButtonBox::Ok)->setFocus();
	// Left to itself a dialog takes two thirds of a small screen and cuts the texts off.
	resize(sizeHint());
}

void AboutDialog::addText(const char *name, const QString &richText)
{
	auto *label = new QLabel(richText, this);
	label->setObjectName(QLatin1StringView(name));
	label->setTextFormat(Qt::RichText);
	label->setTextInteractionFlags(Qt::TextBrowserInteraction);
	label->setOpenExternalLinks(true);
	label->setWordWrap(true);
	column_->addWidget(label);
}

void AboutDialog::addLine()
{
	auto *line = new QFrame(this);
	line->setFixedHeight(1);
	line->setStyleSheet(isDark(palette()) ? QStringLiteral("background: #666666; border: 0;")
					      : QStringLiteral("background: #aaaaaa; border: 0;"));
	column_->addWidget(line);
}

void AboutDialog::addForm()
{
	auto *form = new QFormLayout;
	form->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
	days_ = new QSpinBox(this);
	days_->setObjectName(QStringLiteral("autoClearDays"));
	days_->setRange(0, kMaxAutoClearDays);
	days_->setSpecialValueText(text("AutoClearOff"));
	days_->setSuffix(text("AutoClearDaySuffix"));
	form->addRow(text("AutoClear"), days_);

	scope_ = new QComboBox(this);
	scope_->setObjectName(QStringLiteral("autoClearScope"));
	scope_->addItem(text("AutoClearSelected"), false);
	scope_->addItem(text("AutoClearAll"), true);
	choose_ = new QPushButton(this);
	choose_->setObjectName(QStringLiteral("autoClearChoose"));
	choose_->setAutoDefault(false);
	auto *row = new QHBoxLayout;
	row->addWidget(scope_, 1);
	row->addWidget(choose_);
	form->addRow(text("AutoClearScope"), row);
	column_->addLayout(form);
}

void AboutDialog::showScope()
{
	const bool isOn = days_->value() >= 1;
	scope_->setEnabled(isOn);
	choose_->setEnabled(isOn && !scope_->currentData().toBool());
	choose_->setText(text("AutoClearChoose").arg(scenes_.size()));
}

void AboutDialog::chooseScenes()
{
	// On the heap, as every dialog that waits: a host that ends deletes it, and this one, meanwhile.
	const QPointer<QDialog> dialog = new QDialog(this);
	dialog->setObjectName(QStringLiteral("autoClearScenesDialog"));
	dialog->setWindowTitle(text("AutoClearSelected"));
	auto *column = new QVBoxLayout(dialog);
	auto *list = makeSceneList(scenes_, dialog);
	column->addWidget(list);
	addButtons(dialog, column);
	const int answer = dialog->exec();
	if (!dialog) {
		return;
	}
	if (answer == QDialog::Accepted) {
		scenes_ = chosenScenes(*list, std::move(scenes_));
		showScope();
	}
	delete dialog.data();
}

AutoClear AboutDialog::choice() const
{
	return {days_->value(), scope_->currentData().toBool(), scenes_};
}

void AboutDialog::accept()
{
	const AutoClear chosen = choice();
	if (chosen.days >= 1 && !chosen.isOn()) {
		showMessage(this, QMessageBox::Information, text("AutoClear"), text("AutoClearEmpty"));
	} else if (!apply(chosen)) {
		showMessage(this, QMessageBox::Warning, text("AutoClear"), text("AutoClearSaveFailed"));
	} else {
		QDialog::accept();
	}
}

} // namespace quillbay
