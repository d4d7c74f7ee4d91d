#pragma once

#include "capture/HotKeyRecorder.h"
#include "keys/HotKeySpec.h"

#include <QWidget>
#include <optional>

class QKeyEvent;
class QLabel;
class QPushButton;

// A hot key's recorder: a button that shows the combination; clicked, it records the next
// combination pressed, following the recorder's rules, and offers it through `recorded`.
// While recording it holds the whole keyboard, so a combination some other program has
// grabbed still reaches it (and can be told apart as taken).
class HotKeyField : public QWidget {
    Q_OBJECT
public:
    HotKeyField(std::optional<HotKeySpec> combination, HotKeyRecorder::IsAvailable isAvailable,
                QWidget* parent = nullptr);

    // The combination the setting holds now.
    void setCombination(const std::optional<HotKeySpec>& combination);
    // Whether the system grants the stored combination; when not, the field says so.
    void setRegistered(bool registered);
    void startRecording();
    void cancelRecording();
    bool isRecording() const { return m_recorder.isRecording(); }

Q_SIGNALS:
    void recorded(const HotKeySpec& combination);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void keyPressed(const QKeyEvent& event);
    void stopRecording();
    void showState();

    HotKeyRecorder::IsAvailable m_isAvailable;
    HotKeyRecorder m_recorder;
    bool m_registered = true;
    QPushButton* m_button;
    QLabel* m_hint;
    QLabel* m_message;
    QLabel* m_warning;
    QLabel* m_warningHelp;
};
