#pragma once

#include <QWidget>

class QLabel;

// A translation: the English original in small type (left out for a single word, which the
// headline already shows) above the Chinese in large type.
class TranslationView : public QWidget {
    Q_OBJECT
public:
    explicit TranslationView(QWidget* parent = nullptr);

    void setTexts(const QString& original, const QString& translation);

private:
    QLabel* m_original;
    QLabel* m_translation;
};
