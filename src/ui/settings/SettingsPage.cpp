#include "ui/settings/SettingsPage.h"

using namespace Qt::StringLiterals;

const QList<SettingsPage>& SettingsPages::all() {
    static const QList<SettingsPage> pages{SettingsPage::general,     SettingsPage::dictionaries,
                                           SettingsPage::filter,      SettingsPage::notebook,
                                           SettingsPage::permissions, SettingsPage::eventLog,
                                           SettingsPage::about};
    return pages;
}

QString SettingsPages::title(SettingsPage page) {
    switch (page) {
    case SettingsPage::general:
        return u"通用"_s;
    case SettingsPage::dictionaries:
        return u"词典与翻译"_s;
    case SettingsPage::filter:
        return u"过滤"_s;
    case SettingsPage::notebook:
        return u"单词本"_s;
    case SettingsPage::permissions:
        return u"权限"_s;
    case SettingsPage::eventLog:
        return u"事件日志"_s;
    case SettingsPage::about:
        return u"关于"_s;
    }
    return {};
}

QString SettingsPages::name(SettingsPage page) {
    switch (page) {
    case SettingsPage::general:
        return u"general"_s;
    case SettingsPage::dictionaries:
        return u"dictionaries"_s;
    case SettingsPage::filter:
        return u"filter"_s;
    case SettingsPage::notebook:
        return u"notebook"_s;
    case SettingsPage::permissions:
        return u"permissions"_s;
    case SettingsPage::eventLog:
        return u"eventLog"_s;
    case SettingsPage::about:
        return u"about"_s;
    }
    return {};
}
