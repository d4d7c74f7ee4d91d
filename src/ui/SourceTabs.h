#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <QWidget>

class QButtonGroup;
class QPushButton;

// One pill per dictionary source, labelled with its short name. The pills wrap onto a second
// row rather than widen the panel when there are many.
class SourceTabs : public QWidget {
    Q_OBJECT
public:
    struct Tab {
        QString id;
        QString label;
    };

    explicit SourceTabs(QWidget* parent = nullptr);

    // Replaces every tab; the first becomes current.
    void setTabs(const QList<Tab>& tabs);
    // Appends tabs whose ids are not shown yet; the current tab stays.
    void addTabs(const QList<Tab>& tabs);
    QStringList ids() const;
    QString currentId() const;
    // Returns false for an unknown id.
    bool setCurrentId(const QString& id);

    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;
    QSize sizeHint() const override;

Q_SIGNALS:
    // The user picked another tab.
    void currentChanged(const QString& id);

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    // Places the pills in rows within `width` (when `apply`) and returns the height used.
    int arrange(int width, bool apply) const;

    QButtonGroup* m_group;
    QList<QPushButton*> m_buttons;
};
