#pragma once

#include <QFont>
#include <QWidget>
#include <optional>

// The word and its phonetic on one baseline; the phonetic moves to a second line when the
// two do not fit side by side, and an over-long word is elided.
class HeadlineView : public QWidget {
    Q_OBJECT
public:
    explicit HeadlineView(QWidget* parent = nullptr);

    void setHeadline(const QString& word, const std::optional<QString>& phonetic);
    // The headline as text: the word and the phonetic joined by one space.
    QString text() const;

    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    bool fitsOnOneLine(int width) const;

    QFont m_wordFont;
    QFont m_phoneticFont;
    QString m_word;
    QString m_phonetic;
};
