#include "ui/settings/SettingsPage.h"

#include <iterator>

namespace {

struct PageWords {
    SettingsPage page;
    QStringView title;
    QStringView name;
};

// In the side bar's order.
constexpr PageWords kPages[] = {
    {SettingsPage::general, u"通用", u"general"},
    {SettingsPage::dictionaries, u"词典与翻译", u"dictionaries"},
    {SettingsPage::filter, u"过滤", u"filter"},
    {SettingsPage::notebook, u"单词本", u"notebook"},
    {SettingsPage::permissions, u"权限", u"permissions"},
    {SettingsPage::eventLog, u"事件日志", u"eventLog"},
    {SettingsPage::about, u"关于", u"about"},
};

// Looked up by the page's value, so the table keeps the enumeration's order.
static_assert([] {
    for (int i = 0; i < int(std::size(kPages)); ++i)
        if (static_cast<int>(kPages[i].page) != i)
            return false;
    return true;
}());

const PageWords& wordsOf(SettingsPage page) {
    return kPages[static_cast<int>(page)];
}

} // namespace

const QList<SettingsPage>& SettingsPages::all() {
    static const QList<SettingsPage> pages = [] {
        QList<SettingsPage> list;
        for (const PageWords& words : kPages)
            list.append(words.page);
        return list;
    }();
    return pages;
}

QString SettingsPages::title(SettingsPage page) {
    return wordsOf(page).title.toString();
}

QString SettingsPages::name(SettingsPage page) {
    return wordsOf(page).name.toString();
}
