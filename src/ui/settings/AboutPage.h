#pragma once

#include "ui/settings/SettingsContext.h"

#include <QWidget>

class QLabel;
class QPushButton;

// The 「关于」 page: the version, where the data and the libraries come from and under which
// licences, and the diagnostics export with where it wrote.
class AboutPage : public QWidget {
    Q_OBJECT
public:
    AboutPage(SettingsContext& context, QWidget* parent = nullptr);

private:
    void exportDiagnostics();

    SettingsContext& m_context;
    QPushButton* m_export;
    QLabel* m_exported;
    QPushButton* m_showExported;
    QLabel* m_refusal;
    QString m_exportedPath;
};
