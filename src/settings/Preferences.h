#pragma once

#include "filter/TranslationLimit.h"
#include "settings/DictionaryOrder.h"
#include "settings/SettingsObject.h"

#include <QString>
#include <QStringList>
#include <functional>
#include <optional>

// Lookup, notebook, dictionary, hover-timing and login settings. Reads the store when made,
// carries older settings forward, and writes a key back whenever a property changes; a
// value another process stores is taken in and announced like a change made here.
// Main thread only.
class Preferences : public SettingsObject {
    Q_OBJECT
public:
    using ReopenTarget = Settings::ReopenTarget;

    // Which system dictionaries are active, and which of them gloss English in Chinese.
    struct Dictionaries {
        std::function<QStringList()> activeIdentifiers = [] {
            return QStringList();
        };
        DictionaryOrder::IsChineseEnglish isChineseEnglish = [](const QString&) {
            return false;
        };
    };

    static Preferences& shared();
    Preferences(DefaultsStore& store, Dictionaries dictionaries, QObject* parent = nullptr);

    TranslationLimit lengthLimit() const { return m_lengthLimit; }
    bool vocabularyEnabled() const { return m_vocabularyEnabled; }
    const QStringList& dictionaryOrder() const { return m_dictionaryOrder; }
    const QStringList& removedDictionaries() const { return m_removedDictionaries; }
    bool speaksOnLookup() const { return m_speaksOnLookup; }
    double resultRetentionSeconds() const { return 0; }
    double hoverDwellSeconds() const { return m_hoverDwellSeconds; }
    double autoHideSeconds() const { return 5.0; }
    ReopenTarget reopenTarget() const { return m_reopenTarget; }
    bool launchAtLogin() const { return m_launchAtLogin; }
    const std::optional<QString>& launchAtLoginFailure() const { return m_launchAtLoginFailure; }
    bool isSyncingLaunchAtLogin() const { return m_isSyncingLaunchAtLogin; }

    // The saved order resolved against removed and active dictionaries: what lookups walk.
    QStringList effectiveDictionaryOrder() const;
    // Whether that order surely begins with the bundled dictionary, told without listing the
    // installed ones: a lookup the bundled dictionary answers then touches none of them.
    bool bundledLeadsOrder() const;

    void setLengthLimit(TranslationLimit limit);
    void setVocabularyEnabled(bool enabled);
    void setDictionaryOrder(const QStringList& order);
    void setRemovedDictionaries(const QStringList& removed);
    void setSpeaksOnLookup(bool speaks);
    void setHoverDwellSeconds(double seconds);
    void setReopenTarget(ReopenTarget target);
    // Registers or unregisters the login item; on failure the switch shows what the system has.
    void setLaunchAtLogin(bool enabled);
    void syncLaunchAtLoginFromSystem();

Q_SIGNALS:
    void lengthLimitChanged();
    void launchAtLoginFailureChanged();

private:
    void applyLaunchAtLogin(bool enabled);
    // Nothing when `order` names only installed dictionaries, each once, and at least one.
    std::optional<QString> orderProblem(const QStringList& order) const;

    Dictionaries m_dictionaries;
    TranslationLimit m_lengthLimit = TranslationLimit::standard;
    bool m_vocabularyEnabled = true;
    QStringList m_dictionaryOrder;
    QStringList m_removedDictionaries;
    bool m_speaksOnLookup = false;
    double m_hoverDwellSeconds = 0.3;
    ReopenTarget m_reopenTarget = ReopenTarget::settings;
    bool m_launchAtLogin = false;
    std::optional<QString> m_launchAtLoginFailure;
    bool m_isSyncingLaunchAtLogin = false;
};
