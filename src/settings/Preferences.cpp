#include "settings/Preferences.h"

#include "platform/LaunchAtLogin.h"

#include <QSet>

using namespace Qt::StringLiterals;

Preferences::Preferences(DefaultsStore& store, Dictionaries dictionaries, QObject* parent)
    : SettingsObject(store, parent), m_dictionaries(std::move(dictionaries)) {
    bind(Settings::vocabularyEnabled, m_vocabularyEnabled, &Preferences::setVocabularyEnabled);
    bind(Settings::hoverDwellSeconds, m_hoverDwellSeconds, &Preferences::setHoverDwellSeconds);
    bind(Settings::speaksOnLookup, m_speaksOnLookup, &Preferences::setSpeaksOnLookup);
    bind(Settings::reopenTarget, m_reopenTarget, &Preferences::setReopenTarget);
    bind(Settings::removedDictionaries, m_removedDictionaries,
         &Preferences::setRemovedDictionaries);
    bind(Settings::dictionaryOrder, m_dictionaryOrder, &Preferences::setDictionaryOrder,
         [this](const QStringList& order) { return orderProblem(order); });

    // An empty saved order counts as none: the older single choice is carried forward.
    if (!storedValue(Settings::dictionaryOrder)) {
        const QString& former = Settings::dictionaryOrder.formerKeys.first();
        m_dictionaryOrder = DictionaryOrder::migrated(m_store.stringIfPresent(former),
                                                      m_dictionaries.activeIdentifiers(),
                                                      m_dictionaries.isChineseEnglish);
        m_store.setValue(Settings::dictionaryOrder.key.toString(), m_dictionaryOrder);
        m_store.remove(former);
    }

    m_launchAtLogin = LaunchAtLogin::isEnabled();
    bind(Settings::launchAtLogin, m_launchAtLogin, &Preferences::setLaunchAtLogin);

    for (const QString& retired : Settings::retiredPreferenceKeys)
        m_store.remove(retired);
}

QStringList Preferences::effectiveDictionaryOrder() const {
    const QStringList removed = m_removedDictionaries;
    return DictionaryOrder::resolve(m_dictionaryOrder,
                                    QSet<QString>(removed.begin(), removed.end()),
                                    m_dictionaries.activeIdentifiers());
}

bool Preferences::bundledLeadsOrder() const {
    const QString bundled = DictionaryOrder::bundled();
    if (m_removedDictionaries.contains(bundled))
        return false;
    // An entry saved before it may or may not be installed; only listing would tell.
    for (const QString& identifier : m_dictionaryOrder) {
        if (identifier == bundled)
            return true;
        if (!m_removedDictionaries.contains(identifier))
            return false;
    }
    return true; // the saved order names nothing left, and bundled leads what is available
}

std::optional<QString> Preferences::orderProblem(const QStringList& order) const {
    const QStringList installed =
        QStringList{DictionaryOrder::bundled()} + m_dictionaries.activeIdentifiers();
    const QString listing = u"已安装的词典："_s + installed.join(u"、"_s);
    if (order.isEmpty())
        return u"「dictionaryOrder」不能是空列表；"_s + listing;
    QStringList missing;
    for (const QString& identifier : order) {
        if (!installed.contains(identifier) && !missing.contains(identifier))
            missing.append(identifier);
    }
    if (!missing.isEmpty())
        return u"「dictionaryOrder」里的 %1 没有安装；"_s.arg(missing.join(u"、"_s)) + listing;
    for (const QString& identifier : order) {
        if (order.count(identifier) > 1)
            return u"「dictionaryOrder」里的 %1 出现了不止一次"_s.arg(identifier);
    }
    return std::nullopt;
}

void Preferences::setLengthLimit(TranslationLimit limit) {
    if (limit == m_lengthLimit)
        return;
    m_lengthLimit = limit; // not stored: every start begins at the standard limit
    Q_EMIT lengthLimitChanged();
}

void Preferences::setVocabularyEnabled(bool enabled) {
    assign(Settings::vocabularyEnabled, m_vocabularyEnabled, enabled);
}

void Preferences::setDictionaryOrder(const QStringList& order) {
    assign(Settings::dictionaryOrder, m_dictionaryOrder, order);
}

void Preferences::setRemovedDictionaries(const QStringList& removed) {
    assign(Settings::removedDictionaries, m_removedDictionaries, removed);
}

void Preferences::setSpeaksOnLookup(bool speaks) {
    assign(Settings::speaksOnLookup, m_speaksOnLookup, speaks);
}

void Preferences::setHoverDwellSeconds(double seconds) {
    assign(Settings::hoverDwellSeconds, m_hoverDwellSeconds, seconds);
}

void Preferences::setReopenTarget(ReopenTarget target) {
    assign(Settings::reopenTarget, m_reopenTarget, target);
}

void Preferences::setLaunchAtLogin(bool enabled) {
    update(Settings::Id::launchAtLogin, m_launchAtLogin, enabled);
    if (!m_isSyncingLaunchAtLogin)
        applyLaunchAtLogin(enabled);
}

void Preferences::applyLaunchAtLogin(bool enabled) {
    const std::optional<QString> failure = LaunchAtLogin::setEnabled(enabled);
    m_launchAtLoginFailure =
        failure ? std::optional(u"开机自启设置失败："_s + *failure) : std::nullopt;
    Q_EMIT launchAtLoginFailureChanged();
    if (failure)
        syncLaunchAtLoginFromSystem();
}

void Preferences::syncLaunchAtLoginFromSystem() {
    m_isSyncingLaunchAtLogin = true;
    setLaunchAtLogin(LaunchAtLogin::isEnabled());
    m_isSyncingLaunchAtLogin = false;
}
