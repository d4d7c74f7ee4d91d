#pragma once

#include <QWidget>
#include <functional>

class AccessibilityAuthorization;
class CapabilityModel;
class CapabilityRow;
class InterfaceSettings;
class PermissionCenter;
class QLabel;
class ScreenText;
class QVBoxLayout;
class TriggerSettings;

// The window shown on first start: what the program does, each way of looking something up
// tried at once on a sample, the grant it needs and why, and where its tray icon lives.
// Finishing or closing it marks onboarding as seen.
class OnboardingWindow : public QWidget {
    Q_OBJECT
public:
    struct Dependencies {
        InterfaceSettings& interface;
        TriggerSettings& triggers;
        // Looks a sample up as the coordinator would a selection.
        std::function<void(const QString& text)> lookUp;
        // Missing where there is no desktop to capture from.
        PermissionCenter* permissions = nullptr;
        AccessibilityAuthorization* accessibility = nullptr;
        const ScreenText* screenText = nullptr;
        // Opens the settings window; without it the window offers no way there.
        std::function<void()> openSettings;
    };

    // The samples each way of looking up is tried on.
    static QString copySample();
    static QString selectionSample();
    static QString hotKeySample();

    // Shows the window unless onboarding was seen; the window deletes itself when closed.
    static OnboardingWindow* showIfFirstRun(Dependencies dependencies);

    explicit OnboardingWindow(Dependencies dependencies, QWidget* parent = nullptr);

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void addIntroduction();
    void addCopySection();
    void addSelectionSection();
    void addHotKeySection();
    void addPermissionSection();
    void addTraySection();
    void addFooter();
    // A sample in a read-only field the person can select and copy, with an optional button
    // that looks it up.
    void addSample(const QString& name, const QString& text, bool withButton);
    void renderTriggers();
    void renderCapabilities();

    Dependencies m_deps;
    CapabilityModel* m_capabilities;
    QList<CapabilityRow*> m_capabilityRows;
    QVBoxLayout* m_column = nullptr;
    QLabel* m_selectionText = nullptr;
    QLabel* m_hotKeyText = nullptr;
};
