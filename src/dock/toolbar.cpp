// SPDX-FileCopyrightText: 2026 The QuillBay developers
// SPDX-License-Identifier: GPL-2.0-or-later

// The two tool bars: what stands on them, in which order, and what each entry does.

#include "dock/dock.hpp"
#include "dock/style.hpp"

#include "editor/editor.hpp"
#include "editor/icons.hpp"
#include "plugin/text.hpp"

#include <QAction>
#include <QActionGroup>
#include <QKeySequence>
#include <QLineEdit>
#include <QMenu>
#include <QSpinBox>
#include <QTextListFormat>
#include <QToolBar>
#include <QToolButton>

namespace quillbay {

namespace {

constexpr int kDefaultFontSize = 12;

constexpr struct {
	const char *textKey;
	QTextListFormat::Style style;
} kListStyles[] = {
	{"ListDisc", QTextListFormat::ListDisc},
	{"ListCircle", QTextListFormat::ListCircle},
	{"ListSquare", QTextListFormat::ListSquare},
	{"ListDecimal", QTextListFormat::ListDecimal},
	{"ListLowerAlpha", QTextListFormat::ListLowerAlpha},
	{"ListUpperAlpha", QTextListFormat::ListUpperAlpha},
	{"ListLowerRoman", QTextListFormat::ListLowerRoman},
	{"ListUpperRoman", QTextListFormat::ListUpperRoman},
};

QToolBar *makeToolbar(QWidget *parent, const char *name)
{
	auto *bar = new QToolBar(parent);
	bar->setObjectName(QLatin1StringView(name));
	bar->setIconSize(iconSize);
	bar->setMovable(false);
	bar->setFloatable(false);
	bar->setMinimumWidth(1);
	bar->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
	return bar;
}

// A tooltip names the shortcut, as those of the host do.
QString withShortcut(const QString &tip, const QKeySequence &shortcut)
{
	return shortcut.isEmpty() ? tip
				  : tip + QStringLiteral(" (") + shortcut.toString(QKeySequence::NativeText) + u')';
}

void setUpButtons(const QToolBar *bar)
{
	const QList<QAction *> actions = bar->actions();
	for (QAction *action : actions) {
		if (auto *button = qobject_cast<QToolButton *>(bar->widgetForAction(action))) {
			button->setFixedSize(buttonSize);
			button->setIconSize(iconSize);
			button->setAttribute(Qt::WA_LayoutUsesWidgetRect);
			// Within the keyboard's reach; a click leaves the focus in the note.
			button->setFocusPolicy(Qt::TabFocus);
		}
	}
}

} // namespace

void Dock::createToolbar()
{
	formatToolbar = makeToolbar(topControls, "formatToolbar");
	addToolAction(formatToolbar, "Import", "importDocument", Icon::ImportDocument, [this] { importFile(); });
	addToolAction(formatToolbar, "Export", "exportDocument", Icon::ExportDocument, [this] { exportDocument(); });
	formatToolbar->addSeparator();
	addFontActions();
	formatToolbar->addSeparator();
	addStyleActions();
	formatToolbar->addSeparator();
	addColorActions();
	formatToolbar->addSeparator();
	addToolAction(formatToolbar, "InsertMark", "insertMark", Icon::InsertMark,
		      [this] { command(Command::InsertMark); });
	addToolAction(formatToolbar, "NextMark", "nextMark", Icon::NextMark, [this] { command(Command::NextMark); });
	setUpButtons(formatToolbar);

	paragraphToolbar = makeToolbar(this, "paragraphToolbar");
	paragraphToolbar->addSeparator();
	addAlignActions();
	paragraphToolbar->addSeparator();
	addListButton();
	addToolAction(paragraphToolbar, "DecreaseIndent", "decreaseIndent", Icon::DecreaseIndent,
		      [this] { indent(-1); });
	addToolAction(paragraphToolbar, "IncreaseIndent", "increaseIndent", Icon::IncreaseIndent,
		      [this] { indent(1); });
	paragraphToolbar->addSeparator();
	addToolAction(paragraphToolbar, "InsertTime", "insertTime", Icon::InsertTime,
		      [this] { command(Command::InsertTime); });
	setUpButtons(paragraphToolbar);
}

QAction *Dock::addToolAction(QToolBar *bar, const char *textKey, const char *name, Icon icon,
			     const std::function<void()> &run)
{
	QAction *action = bar->addAction(makeIcon(icon, palette()), text(textKey));
	action->setObjectName(QLatin1StringView(name));
	action->setProperty("quillBayIcon", static_cast<int>(icon));
	action->setToolTip(text(textKey));
	if (run) {
		connect(action, &QAction::triggered, this, run);
	}
	return action;
}

void Dock::addFontActions()
{
	addToolAction(formatToolbar, "FontMenu", "chooseFont", Icon::ChooseFont, [this] { chooseFont(); });
	fontSize = new QSpinBox(formatToolbar);
	fontSize->setObjectName(QStringLiteral("fontSize"));
	fontSize->setRange(kMinFontSize, kMaxFontSize);
	fontSize->setValue(kDefaultFontSize);
	fontSize->setToolTip(text("FontSizeTip"));
	fontSize->setAccessibleName(text("FontSizeTip"));
	fontSize->setKeyboardTracking(false);
	fontSize->setButtonSymbols(QAbstractSpinBox::NoButtons);
	fontSize->setAlignment(Qt::AlignCenter);
	fontSize->setStyleSheet(spinBoxSheet("QSpinBox"));
	formatToolbar->addWidget(fontSize);
	connect(fontSize, &QSpinBox::valueChanged, this, [this](int points) {
		QTextCharFormat format;
		format.setFontPointSize(points);
		applyFormat(format);
	});
	connect(fontSize, &QSpinBox::editingFinished, this, [this] {
		const auto deselect = [this] {
			auto *field = fontSize->findChild<QLineEdit *>();
			if (field && !fontSize->hasFocus()) {
				field->deselect();
				fontSize->update();
			}
		};
		QMetaObject::invokeMethod(this, deselect, Qt::QueuedConnection);
	});
}

void Dock::addStyleActions()
{
	const auto add = [this](const char *textKey, const char *name, Icon icon, void (*set)(QTextCharFormat &, bool),
				QKeySequence::StandardKey shortcut = QKeySequence::UnknownKey) {
		QAction *action = addToolAction(formatToolbar, textKey, name, icon, {});
		action->setCheckable(true);
		if (shortcut != QKeySequence::UnknownKey) {
			action->setShortcut(shortcut);
			action->setShortcutContext(Qt::WidgetWithChildrenShortcut);
			action->setToolTip(withShortcut(text(textKey), action->shortcut()));
			addAction(action);
		}
		connect(action, &QAction::triggered, this, [this, set](bool isOn) {
			QTextCharFormat format;
			set(format, isOn);
			applyFormat(format);
		});
		return action;
	};
	boldAction = add(
		"Bold", "formatBold", Icon::Bold,
		[](QTextCharFormat &format, bool isOn) { format.setFontWeight(isOn ? QFont::Bold : QFont::Normal); },
		QKeySequence::Bold);
	italicAction = add(
		"Italic", "formatItalic", Icon::Italic,
		[](QTextCharFormat &format, bool isOn) { format.setFontItalic(isOn); }, QKeySequence::Italic);
	underlineAction = add(
		"Underline", "formatUnderline", Icon::Underline,
		[](QTextCharFormat &format, bool isOn) {
			format.setUnderlineStyle(isOn ? QTextCharFormat::SingleUnderline
						      : QTextCharFormat::NoUnderline);
		},
		QKeySequence::Underline);
	strikeAction = add("Strikethrough", "formatStrike", Icon::Strike,
			   [](QTextCharFormat &format, bool isOn) { format.setFontStrikeOut(isOn); });
}

void Dock::addColorActions()
{
	addToolAction(formatToolbar, "TextColor", "textColor", Icon::TextColor,
		      [this] { chooseColor("TextColor", editor->textColor(), &QTextFormat::setForeground); });
	addToolAction(formatToolbar, "Highlight", "highlight", Icon::Highlight,
		      [this] { chooseColor("Highlight", editor->textBackgroundColor(), &QTextFormat::setBackground); });
	addToolAction(formatToolbar, "ClearFormat", "clearFormat", Icon::ClearFormat, [this] { clearFormat(); });
	painterAction = addToolAction(formatToolbar, "FormatPainter", "formatPainter", Icon::FormatPainter, {});
	painterAction->setCheckable(true);
	connect(painterAction, &QAction::triggered, this, [this](bool isOn) { setFormatPainter(isOn, false); });
	formatToolbar->widgetForAction(painterAction)->installEventFilter(this);
}

void Dock::addAlignActions()
{
	auto *group = new QActionGroup(this);
	const auto add = [this, group](const char *textKey, const char *name, Icon icon, Qt::AlignmentFlag alignment) {
		QAction *action = addToolAction(paragraphToolbar, textKey, name, icon, [this, alignment] {
			if (!editor->isReadOnly()) {
				editor->setAlignment(alignment);
			}
		});
		action->setCheckable(true);
		action->setProperty("paragraphAlignment", static_cast<int>(alignment));
		group->addAction(action);
		alignActions.append(action);
	};
	add("AlignLeft", "alignLeft", Icon::AlignLeft, Qt::AlignLeft);
	add("AlignCenter", "alignCenter", Icon::AlignCenter, Qt::AlignHCenter);
	add("AlignRight", "alignRight", Icon::AlignRight, Qt::AlignRight);
	add("AlignJustify", "alignJustify", Icon::AlignJustify, Qt::AlignJustify);
}

void Dock::addListButton()
{
	listStyle = new QToolButton(paragraphToolbar);
	listStyle->setObjectName(QStringLiteral("listStyle"));
	listStyle->setToolTip(text("ListStyle"));
	listStyle->setAccessibleName(text("ListStyle"));
	listStyle->setPopupMode(QToolButton::InstantPopup);
	auto *menu = new QMenu(listStyle);
	menu->setObjectName(QStringLiteral("listStyleMenu"));
	const auto addEntry = [this, menu](const char *textKey, int style) {
		QAction *action = menu->addAction(text(textKey));
		action->setObjectName(QLatin1StringView(textKey));
		connect(action, &QAction::triggered, this, [this, style] { setList(style); });
	};
	for (const auto &entry : kListStyles) {
		addEntry(entry.textKey, entry.style);
	}
	menu->addSeparator();
	addEntry("RemoveList", 0);
	listStyle->setMenu(menu);
	paragraphToolbar->addWidget(listStyle);
}

} // namespace quillbay
