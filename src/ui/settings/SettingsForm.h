#pragma once

#include <QString>

class QBoxLayout;
class QLabel;
class QVBoxLayout;
class QWidget;

// The pieces every settings page is built from, so the pages look alike: a column under the
// page's title, sections with a heading, explanations in the secondary colour, and the line
// that says why a value was refused.
namespace SettingsForm {

// Lays `page` out as a scrolling column under `title`; add rows to the returned layout.
QVBoxLayout* pageColumn(QWidget* page, const QString& title);
QLabel* sectionTitle(const QString& text, QWidget* parent = nullptr);
// A word-wrapped explanation in the secondary colour.
QLabel* hint(const QString& text, QWidget* parent = nullptr);
// Hidden while empty; `showRefusal` fills it (the object name "refusal" lets tests find it).
QLabel* refusal(QWidget* parent = nullptr);
void showRefusal(QLabel* label, const QString& text);
// A horizontal row of `widgets`, left-aligned.
QBoxLayout* row(std::initializer_list<QWidget*> widgets);

// The window's colours: the panel's dark face and accent, for the controls of a form.
QString styleSheet();

} // namespace SettingsForm
