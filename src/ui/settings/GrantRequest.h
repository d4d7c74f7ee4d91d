#pragma once

#include "capture/PermissionCenter.h"

#include <QWidget>

class QLabel;
class QPushButton;

// Shown beside a switch that did not move because its grant is missing: the reason, and a
// button that asks for the grant. The feature then comes on by itself once the grant is
// there (the permission center turns it on).
class GrantRequest : public QWidget {
    Q_OBJECT
public:
    GrantRequest(PermissionCenter& permissions, PermissionCenter::Feature feature,
                 QWidget* parent = nullptr);

    // Shows `denial` and has the permission center wait for the grant.
    void refuse(const TriggerSettings::Denial& denial);
    void clear();

private:
    PermissionCenter& m_permissions;
    PermissionCenter::Feature m_feature;
    QLabel* m_reason;
    QPushButton* m_ask;
};
