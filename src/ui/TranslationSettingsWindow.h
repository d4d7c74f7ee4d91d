#pragma once

#include <QWidget>

class TranslationEngine;
class TranslationSettings;
class TranslationStatusView;

// Where whole-sentence translation is set up: the model server's address, its kind and the
// model, what the server says about them, and the model's download. Until the settings window
// has its pages this is a window of its own; it becomes the 「词典与翻译」 page then. Closing
// it only hides it, so a download goes on.
class TranslationSettingsWindow : public QWidget {
    Q_OBJECT
public:
    TranslationSettingsWindow(TranslationSettings& settings, TranslationEngine& translator,
                              QWidget* parent = nullptr);

    // Shows the window in front, or brings it there when it is already open, and asks the
    // server how things stand.
    void present();

private:
    TranslationStatusView* m_status;
};
