#include "ui/settings/FilterPage.h"

#include "filter/RejectReason.h"
#include "filter/TextFilter.h"
#include "settings/FilterPreferences.h"
#include "ui/settings/SettingsForm.h"

#include <QCheckBox>
#include <QLabel>
#include <QStringList>
#include <QVBoxLayout>
#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

// The refusals' own words, in the order the filter numbers them.
QString reasons(bool ignorable) {
    QStringList words;
    for (int raw = 0; const std::optional<RejectReason> reason = RejectReasons::fromRawValue(raw);
         ++raw) {
        if (*reason == RejectReason::empty || *reason == RejectReason::duplicate)
            continue;
        if (TextFilter::ignorable().contains(*reason) == ignorable)
            words.append(RejectReasons::description(*reason));
    }
    return words.join(u"、"_s);
}

} // namespace

FilterPage::FilterPage(SettingsContext& context, QWidget* parent)
    : QWidget(parent), m_showsEverything(new QCheckBox(u"显示全部查询结果"_s, this)) {
    QVBoxLayout* column = SettingsForm::pageColumn(this, u"过滤"_s);
    column->addWidget(SettingsForm::hint(
        u"Quillet 只查看起来像英文单词或句子的文本。被拦下的内容会记在事件日志里，原因写在"
        u"「拦截」一行。"_s));
    m_showsEverything->setObjectName(u"showsEverything"_s);
    m_showsEverything->setChecked(context.filter.showsEverything());
    column->addWidget(m_showsEverything);
    column->addWidget(SettingsForm::hint(u"打开后，复制的文本即使属于以下情况也照样查询："_s +
                                         reasons(true) + u"。"_s));
    column->addWidget(SettingsForm::hint(u"无论开关如何，这些内容始终不查："_s + reasons(false) +
                                         u"。划词、快捷键和悬停取词也始终按规则过滤。"_s));

    FilterPreferences& filter = context.filter;
    connect(m_showsEverything, &QCheckBox::toggled, &filter, [&filter](bool on) {
        if (filter.showsEverything() != on)
            filter.setShowsEverything(on);
    });
    connect(&filter, &SettingsObject::changed, m_showsEverything,
            [this, &filter] { m_showsEverything->setChecked(filter.showsEverything()); });
}
