#include "ui/settings/HotKeyField.h"

#include "platform/HotKeyNames.h"
#include "ui/settings/SettingsForm.h"

#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

// Keys pressed on the way to a combination: the recorder waits for the key they go with.
bool isModifierKey(int key) {
    switch (key) {
    case Qt::Key_Shift:
    case Qt::Key_Control:
    case Qt::Key_Meta:
    case Qt::Key_Alt:
    case Qt::Key_AltGr:
    case Qt::Key_Super_L:
    case Qt::Key_Super_R:
    case Qt::Key_Hyper_L:
    case Qt::Key_Hyper_R:
    case Qt::Key_CapsLock:
    case Qt::Key_NumLock:
    case Qt::Key_ScrollLock:
    case Qt::Key_Mode_switch:
        return true;
    default:
        return false;
    }
}

} // namespace

HotKeyField::HotKeyField(std::optional<HotKeySpec> combination,
                         HotKeyRecorder::IsAvailable isAvailable, QWidget* parent)
    : QWidget(parent), m_isAvailable(std::move(isAvailable)),
      m_recorder(combination, m_isAvailable), m_button(new QPushButton(this)),
      m_hint(SettingsForm::hint(QString(), this)), m_message(SettingsForm::refusal(this)),
      m_warning(SettingsForm::refusal(this)), m_warningHelp(SettingsForm::hint(QString(), this)) {
    m_button->setObjectName(u"hotKeyButton"_s);
    m_button->setMinimumWidth(150);
    m_hint->setObjectName(u"hotKeyHint"_s);
    m_hint->setWordWrap(false);
    m_message->setObjectName(u"hotKeyMessage"_s);
    m_warning->setObjectName(u"hotKeyWarning"_s);
    m_warningHelp->setObjectName(u"hotKeyWarningHelp"_s);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(4);
    column->addLayout(SettingsForm::row({m_button, m_hint}));
    column->addWidget(m_message);
    column->addWidget(m_warning);
    column->addWidget(m_warningHelp);

    m_button->installEventFilter(this);
    connect(m_button, &QPushButton::clicked, this, [this] {
        if (!isRecording())
            startRecording();
    });
    showState();
}

void HotKeyField::setCombination(const std::optional<HotKeySpec>& combination) {
    if (combination == m_recorder.combination())
        return;
    const bool recording = isRecording();
    m_recorder = HotKeyRecorder(combination, m_isAvailable);
    if (recording)
        m_recorder.startRecording();
    showState();
}

void HotKeyField::setRegistered(bool registered) {
    m_registered = registered;
    showState();
}

void HotKeyField::startRecording() {
    m_recorder.startRecording();
    m_button->setFocus(Qt::OtherFocusReason);
    // An active grab outranks other programs' key grabs: their combinations reach us too.
    m_button->grabKeyboard();
    showState();
}

void HotKeyField::cancelRecording() {
    if (!isRecording())
        return;
    m_recorder = HotKeyRecorder(m_recorder.combination(), m_isAvailable);
    stopRecording();
}

void HotKeyField::stopRecording() {
    m_button->releaseKeyboard();
    showState();
}

bool HotKeyField::eventFilter(QObject* watched, QEvent* event) {
    if (watched != m_button || !isRecording())
        return QWidget::eventFilter(watched, event);
    switch (event->type()) {
    case QEvent::ShortcutOverride:
        // Every key is the recorder's, shortcuts included.
        event->accept();
        return true;
    case QEvent::KeyPress:
        keyPressed(static_cast<const QKeyEvent&>(*event));
        return true;
    case QEvent::KeyRelease:
        return true;
    case QEvent::FocusOut:
        if (static_cast<const QFocusEvent&>(*event).reason() != Qt::ActiveWindowFocusReason)
            cancelRecording();
        return false;
    default:
        return QWidget::eventFilter(watched, event);
    }
}

void HotKeyField::hideEvent(QHideEvent* event) {
    cancelRecording();
    QWidget::hideEvent(event);
}

void HotKeyField::keyPressed(const QKeyEvent& event) {
    if (isModifierKey(event.key()) || event.isAutoRepeat())
        return;
    const std::optional<quint32> keyCode =
        HotKeyNames::keyCode(event.nativeScanCode(), event.nativeVirtualKey());
    if (!keyCode)
        return; // a key global hot keys cannot name
    const quint32 modifiers = HotKeyNames::modifiers(quint32(event.modifiers().toInt()));
    switch (m_recorder.keyPress(*keyCode, modifiers)) {
    case HotKeyRecorder::Outcome::stored:
        stopRecording();
        Q_EMIT recorded(*m_recorder.combination());
        break;
    case HotKeyRecorder::Outcome::cancelled:
        stopRecording();
        break;
    case HotKeyRecorder::Outcome::refused:
    case HotKeyRecorder::Outcome::taken:
    case HotKeyRecorder::Outcome::ignored:
        showState();
        break;
    }
}

void HotKeyField::showState() {
    const std::optional<HotKeySpec>& combination = m_recorder.combination();
    m_button->setText(combination ? combination->displayName() : u"未设置"_s);
    m_button->setDown(isRecording());
    m_hint->setText(m_recorder.hint());
    SettingsForm::showRefusal(m_message, m_recorder.message());
    const std::optional<HotKeyRecorder::Warning> warning = m_recorder.warning(m_registered);
    SettingsForm::showRefusal(m_warning, warning ? warning->mark : QString());
    m_warningHelp->setText(warning ? warning->help : QString());
    m_warningHelp->setVisible(warning.has_value());
}
