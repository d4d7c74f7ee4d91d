#pragma once

#include "ui/settings/SettingsContext.h"

#include <QWidget>

class QLabel;
class TranslationStatusView;

// The 「词典与翻译」 page: the order in which the dictionaries answer, where dictionaries come
// from and how to add one, and whole-sentence translation (the model server, its model, a
// connection check and the model's download).
class DictionariesPage : public QWidget {
    Q_OBJECT
public:
    DictionariesPage(SettingsContext& context, QWidget* parent = nullptr);

    // Scrolls to the translation settings (the panel's offer of whole-sentence translation
    // leads there).
    void revealTranslation();

protected:
    // Each showing asks the model server afresh.
    void showEvent(QShowEvent* event) override;

private:
    QLabel* m_translationTitle;
    TranslationStatusView* m_status;
};
