#include "settings/DictionaryOrder.h"

#include <QHash>

using namespace Qt::StringLiterals;

namespace DictionaryOrder {

QString bundled() {
    return u"bundled"_s;
}

QString generalDictionary() {
    return u"com.apple.dictionary.AppleDictionary"_s;
}

QStringList defaultOrder(const QStringList& active, const IsChineseEnglish& isChineseEnglish) {
    QStringList bilingual;
    QStringList others;
    for (const QString& identifier : active) {
        if (identifier == generalDictionary())
            continue;
        (isChineseEnglish(identifier) ? bilingual : others) << identifier;
    }
    QStringList order{bundled()};
    order << bilingual << others;
    if (active.contains(generalDictionary()))
        order << generalDictionary();
    return order;
}

QStringList migrated(const std::optional<QString>& legacy, const QStringList& active,
                     const IsChineseEnglish& isChineseEnglish) {
    if (legacy == u"systemAny"_s) {
        QStringList order;
        for (const QString& identifier : active)
            if (identifier != generalDictionary())
                order << identifier;
        order << bundled();
        if (active.contains(generalDictionary()))
            order << generalDictionary();
        return order;
    }
    QStringList order = defaultOrder(active, isChineseEnglish);
    if (legacy == u"bundledFirst"_s) {
        order.removeAll(bundled());
        order.prepend(bundled());
    }
    return order;
}

QStringList resolve(const QStringList& saved, const QSet<QString>& removed,
                    const QStringList& active) {
    const QStringList available = QStringList{bundled()} + active;
    QStringList order;
    for (const QString& identifier : saved)
        if (available.contains(identifier) && !removed.contains(identifier))
            order << identifier;
    for (const QString& identifier : available)
        if (!order.contains(identifier) && !removed.contains(identifier))
            order << identifier;
    return order;
}

QStringList arranged(const QStringList& saved, const QStringList& shown) {
    QStringList leading;
    QHash<QString, QStringList> followers;
    const QString* anchor = nullptr;
    for (const QString& identifier : saved) {
        if (shown.contains(identifier))
            anchor = &identifier;
        else if (anchor)
            followers[*anchor].append(identifier);
        else
            leading.append(identifier);
    }
    QStringList order = leading;
    for (const QString& identifier : shown)
        order << identifier << followers.value(identifier);
    return order;
}

} // namespace DictionaryOrder
