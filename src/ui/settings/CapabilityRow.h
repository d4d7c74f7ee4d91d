#pragma once

#include "core/CapabilityModel.h"

#include <QFrame>

class QLabel;
class QPushButton;

// One capability as a card: its name and state, what it is for, and the button that fixes it
// when the program can. The card's object name is "capability." and the capability's raw name.
class CapabilityRow : public QFrame {
    Q_OBJECT
public:
    CapabilityRow(Capability::Id id, QWidget* parent = nullptr);

    Capability::Id id() const { return m_id; }
    void display(const Capability& capability);

Q_SIGNALS:
    void fixRequested(Capability::Fix fix);

private:
    Capability::Id m_id;
    Capability::Fix m_fix = Capability::Fix::none;
    QLabel* m_name;
    QLabel* m_state;
    QLabel* m_explanation;
    QPushButton* m_fixButton;
};
