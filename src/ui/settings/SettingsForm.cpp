#include "ui/settings/SettingsForm.h"

#include "ui/PanelStyle.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QScrollArea>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

QVBoxLayout* SettingsForm::pageColumn(QWidget* page, const QString& title) {
    auto* outer = new QVBoxLayout(page);
    outer->setContentsMargins(0, 0, 0, 0);
    auto* scroll = new QScrollArea(page);
    scroll->setWidgetResizable(true);
    scroll->setFrameShape(QFrame::NoFrame);
    outer->addWidget(scroll);
    auto* content = new QWidget(scroll);
    scroll->setWidget(content);
    auto* column = new QVBoxLayout(content);
    column->setContentsMargins(28, 22, 28, 22);
    column->setSpacing(10);
    QLabel* heading = PanelStyle::label(PanelStyle::textFont(20, QFont::DemiBold),
                                        PanelStyle::Tone::primary, content);
    heading->setText(title);
    column->addWidget(heading);
    column->addSpacing(4);
    // Rows stay at the top however tall the window is.
    column->setAlignment(Qt::AlignTop);
    return column;
}

QLabel* SettingsForm::sectionTitle(const QString& text, QWidget* parent) {
    QLabel* label = PanelStyle::label(PanelStyle::textFont(14, QFont::DemiBold),
                                      PanelStyle::Tone::primary, parent);
    label->setText(text);
    label->setContentsMargins(0, 10, 0, 0);
    return label;
}

QLabel* SettingsForm::hint(const QString& text, QWidget* parent) {
    QLabel* label =
        PanelStyle::label(PanelStyle::textFont(12), PanelStyle::Tone::secondary, parent);
    label->setText(text);
    label->setWordWrap(true);
    return label;
}

QLabel* SettingsForm::refusal(QWidget* parent) {
    QLabel* label = PanelStyle::label(PanelStyle::textFont(12), PanelStyle::Tone::primary, parent);
    label->setObjectName(u"refusal"_s);
    label->setProperty("role", u"refusal"_s);
    label->setWordWrap(true);
    label->hide();
    return label;
}

void SettingsForm::showRefusal(QLabel* label, const QString& text) {
    label->setText(text);
    label->setVisible(!text.isEmpty());
}

QBoxLayout* SettingsForm::row(std::initializer_list<QWidget*> widgets) {
    auto* layout = new QHBoxLayout;
    layout->setSpacing(8);
    for (QWidget* widget : widgets)
        layout->addWidget(widget);
    layout->addStretch(1);
    return layout;
}

QString SettingsForm::styleSheet() {
    return PanelStyle::styleSheet() + uR"(
QWidget#settingsWindow { background: %4; }
QWidget { color: %1; }
QListWidget#settingsSidebar { background: rgba(255,255,255,10); border: none; padding: 10px 6px; outline: none; }
QListWidget#settingsSidebar::item { color: %2; padding: 7px 12px; border-radius: 7px; }
QListWidget#settingsSidebar::item:selected { color: %1; background: rgba(100,178,255,60); }
QLabel[role="refusal"] { color: %5; }
QCheckBox, QRadioButton { color: %1; spacing: 8px; }
QCheckBox::indicator, QRadioButton::indicator { width: 14px; height: 14px; border: 1px solid rgba(255,255,255,90); background: rgba(255,255,255,14); }
QCheckBox::indicator { border-radius: 4px; }
QRadioButton::indicator { border-radius: 8px; }
QCheckBox::indicator:checked, QRadioButton::indicator:checked { border-color: %3; background: %3; }
QCheckBox::indicator:disabled, QRadioButton::indicator:disabled { border-color: rgba(255,255,255,40); }
QLineEdit, QComboBox, QSpinBox, QDoubleSpinBox { color: %1; background: rgba(255,255,255,18); border: 1px solid rgba(255,255,255,30); border-radius: 6px; padding: 4px 8px; selection-background-color: %3; }
QComboBox QAbstractItemView { color: %1; background: %4; selection-background-color: %3; }
QListWidget { color: %1; background: rgba(255,255,255,10); border: 1px solid rgba(255,255,255,24); border-radius: 8px; }
QListWidget::item:selected { background: rgba(100,178,255,60); }
QPushButton { color: %1; border: none; border-radius: 8px; padding: 5px 14px; background: rgba(255,255,255,26); }
QPushButton:hover { background: rgba(255,255,255,40); }
QPushButton:disabled { color: %6; }
)"_s.arg(PanelStyle::css(PanelStyle::primaryText()), PanelStyle::css(PanelStyle::secondaryText()),
                                      PanelStyle::css(PanelStyle::accent()), u"rgb(28,28,31)"_s,
                                      PanelStyle::css(PanelStyle::warning()),
                                      PanelStyle::css(PanelStyle::tertiaryText()));
}
