#pragma once

#include "settings/SettingId.h"

#include <QWidget>

class QComboBox;
class QLabel;
class QLineEdit;
class TranslationSettings;

// The model server's address, kind and model as a form. A field is saved when its editing
// ends, through the settings' setters; a value that cannot work is refused beside the field
// and the stored one stays. Values stored elsewhere show up here unless the field is being
// edited.
class TranslationServerFields : public QWidget {
    Q_OBJECT
public:
    explicit TranslationServerFields(TranslationSettings& settings, QWidget* parent = nullptr);

private:
    void saveEndpoint();
    void saveApi(int index);
    void saveModel();
    void showStored(Settings::Id setting);

    TranslationSettings& m_settings;
    QLineEdit* m_endpoint;
    QLabel* m_endpointProblem;
    QComboBox* m_api;
    QLineEdit* m_model;
    QLabel* m_modelProblem;
};
