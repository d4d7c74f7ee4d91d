#include "ui/TranslationSettingsWindow.h"

using namespace Qt::StringLiterals;

TranslationSettingsWindow::TranslationSettingsWindow(TranslationSettings& settings,
                                                     TranslationEngine& translator,
                                                     QWidget* parent)
    : QWidget(parent, Qt::Window), m_settings(settings), m_translator(translator) {
    setWindowTitle(u"词典与翻译"_s);
}

void TranslationSettingsWindow::present() {
    show();
    raise();
    activateWindow();
}
