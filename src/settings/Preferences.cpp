#include "settings/Preferences.h"

#include "platform/LaunchAtLogin.h"
#include "settings/DefaultsStore.h"

#include <QSet>

using namespace Qt::StringLiterals;

namespace {

const QString kHistoryEnabled = u"historyEnabled"_s;
const QString kHoverDwellSeconds = u"hoverDwellSeconds"_s;
const QString kSpeaksOnLookup = u"speaksOnLookup"_s;
const QString kDictionaryOrder = u"dictionaryOrder"_s;
const QString kRemovedDictionaries = u"removedDictionaries"_s;
const QString kReopenTarget = u"reopenTarget"_s;

} // namespace

Preferences::Preferences(DefaultsStore& store, Dictionaries dictionaries, QObject* parent)
    : QObject(parent), m_store(store), m_dictionaries(std::move(dictionaries)) {
    m_store.registerDefaults(
        {{kHistoryEnabled, true}, {kHoverDwellSeconds, 0.3}, {kSpeaksOnLookup, false}});
    m_vocabularyEnabled = m_store.boolValue(kHistoryEnabled, true);
    m_hoverDwellSeconds = m_store.doubleValue(kHoverDwellSeconds, 0.3);
    m_speaksOnLookup = m_store.boolValue(kSpeaksOnLookup, false);
    m_reopenTarget = m_store.stringValue(kReopenTarget) == u"notebook"_s ? ReopenTarget::notebook
                                                                         : ReopenTarget::settings;
    m_removedDictionaries =
        m_store.stringListIfPresent(kRemovedDictionaries).value_or(QStringList());

    // An empty saved order counts as none: the older single choice is carried forward.
    const std::optional<QStringList> saved = m_store.stringListIfPresent(kDictionaryOrder);
    if (saved && !saved->isEmpty()) {
        m_dictionaryOrder = *saved;
    } else {
        m_dictionaryOrder = DictionaryOrder::migrated(
            m_store.stringIfPresent(u"dictionarySource"_s), m_dictionaries.activeIdentifiers(),
            m_dictionaries.isChineseEnglish);
        m_store.setValue(kDictionaryOrder, m_dictionaryOrder);
        m_store.remove(u"dictionarySource"_s);
    }

    m_launchAtLogin = LaunchAtLogin::isEnabled();

    for (const QString& obsolete :
         {u"reclaimNotchBandOnExternalScreens"_s, u"ignoresRemoteClipboard"_s,
          u"resultRetentionSeconds"_s, u"autoHideSeconds"_s, u"textLengthLimit"_s})
        m_store.remove(obsolete);
    connect(&m_store, &DefaultsStore::valueChanged, this, &Preferences::adoptStoredValue);
}

void Preferences::adoptStoredValue(const QString& key) {
    const auto adopt = [this](auto& field, auto value, const QString& property) {
        if (field == value)
            return;
        field = std::move(value);
        Q_EMIT changed(property);
    };
    if (key == kHistoryEnabled) {
        adopt(m_vocabularyEnabled, m_store.boolValue(kHistoryEnabled, true),
              u"vocabularyEnabled"_s);
    } else if (key == kHoverDwellSeconds) {
        adopt(m_hoverDwellSeconds, m_store.doubleValue(kHoverDwellSeconds, 0.3),
              u"hoverDwellSeconds"_s);
    } else if (key == kSpeaksOnLookup) {
        adopt(m_speaksOnLookup, m_store.boolValue(kSpeaksOnLookup, false), u"speaksOnLookup"_s);
    } else if (key == kReopenTarget) {
        adopt(m_reopenTarget,
              m_store.stringValue(kReopenTarget) == u"notebook"_s ? ReopenTarget::notebook
                                                                  : ReopenTarget::settings,
              u"reopenTarget"_s);
    } else if (key == kRemovedDictionaries) {
        adopt(m_removedDictionaries,
              m_store.stringListIfPresent(kRemovedDictionaries).value_or(QStringList()),
              u"removedDictionaries"_s);
    } else if (key == kDictionaryOrder) {
        // An order removed or emptied elsewhere leaves the one in use as it is.
        const std::optional<QStringList> saved = m_store.stringListIfPresent(kDictionaryOrder);
        if (saved && !saved->isEmpty())
            adopt(m_dictionaryOrder, *saved, u"dictionaryOrder"_s);
    }
}

QString Preferences::rawValue(ReopenTarget target) {
    return target == ReopenTarget::notebook ? u"notebook"_s : u"settings"_s;
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

void Preferences::setLengthLimit(TranslationLimit limit) {
    if (limit == m_lengthLimit)
        return;
    m_lengthLimit = limit; // not stored: every start begins at the standard limit
    Q_EMIT changed(u"lengthLimit"_s);
}

void Preferences::setVocabularyEnabled(bool enabled) {
    m_vocabularyEnabled = enabled;
    m_store.setValue(kHistoryEnabled, enabled);
    Q_EMIT changed(u"vocabularyEnabled"_s);
}

void Preferences::setDictionaryOrder(const QStringList& order) {
    m_dictionaryOrder = order;
    m_store.setValue(kDictionaryOrder, order);
    Q_EMIT changed(u"dictionaryOrder"_s);
}

void Preferences::setRemovedDictionaries(const QStringList& removed) {
    m_removedDictionaries = removed;
    m_store.setValue(kRemovedDictionaries, removed);
    Q_EMIT changed(u"removedDictionaries"_s);
}

void Preferences::setSpeaksOnLookup(bool speaks) {
    m_speaksOnLookup = speaks;
    m_store.setValue(kSpeaksOnLookup, speaks);
    Q_EMIT changed(u"speaksOnLookup"_s);
}

void Preferences::setHoverDwellSeconds(double seconds) {
    m_hoverDwellSeconds = seconds;
    m_store.setValue(kHoverDwellSeconds, seconds);
    Q_EMIT changed(u"hoverDwellSeconds"_s);
}

void Preferences::setReopenTarget(ReopenTarget target) {
    m_reopenTarget = target;
    m_store.setValue(kReopenTarget, rawValue(target));
    Q_EMIT changed(u"reopenTarget"_s);
}

void Preferences::setLaunchAtLogin(bool enabled) {
    m_launchAtLogin = enabled;
    Q_EMIT changed(u"launchAtLogin"_s);
    if (!m_isSyncingLaunchAtLogin)
        applyLaunchAtLogin(enabled);
}

void Preferences::applyLaunchAtLogin(bool enabled) {
    const std::optional<QString> failure = LaunchAtLogin::setEnabled(enabled);
    m_launchAtLoginFailure =
        failure ? std::optional(u"开机自启设置失败："_s + *failure) : std::nullopt;
    Q_EMIT changed(u"launchAtLoginFailure"_s);
    if (failure)
        syncLaunchAtLoginFromSystem();
}

void Preferences::syncLaunchAtLoginFromSystem() {
    m_isSyncingLaunchAtLogin = true;
    setLaunchAtLogin(LaunchAtLogin::isEnabled());
    m_isSyncingLaunchAtLogin = false;
}
