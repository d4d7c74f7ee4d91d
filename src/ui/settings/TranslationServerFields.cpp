#include "ui/settings/TranslationServerFields.h"

#include "settings/SettingTypes.h"
#include "settings/TranslationSettings.h"
#include "ui/PanelStyle.h"

#include <QComboBox>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QStyle>

using namespace Qt::StringLiterals;

namespace {

using Api = TranslationSettings::Api;

QLabel* caption(const QString& text, QWidget* parent) {
    QLabel* label =
        PanelStyle::label(PanelStyle::textFont(13), PanelStyle::Tone::secondary, parent);
    label->setText(text);
    return label;
}

QLabel* problemLabel(const QString& name, QWidget* parent) {
    QLabel* label = PanelStyle::label(PanelStyle::textFont(12), PanelStyle::Tone::primary, parent);
    label->setObjectName(name);
    label->setProperty("tone", u"warning"_s);
    label->setWordWrap(true);
    label->hide();
    return label;
}

QLineEdit* lineField(const QString& name, QWidget* parent) {
    auto* field = new QLineEdit(parent);
    field->setObjectName(name);
    field->setFont(PanelStyle::latinFont(13));
    return field;
}

// The field's frame turns the warning colour while its text is refused.
void markProblem(QLineEdit* field, QLabel* problem, const QString& text) {
    problem->setText(text);
    problem->setVisible(!text.isEmpty());
    const bool marked = !text.isEmpty();
    if (field->property("problem").toBool() == marked)
        return;
    field->setProperty("problem", marked);
    field->style()->unpolish(field);
    field->style()->polish(field);
}

} // namespace

TranslationServerFields::TranslationServerFields(TranslationSettings& settings, QWidget* parent)
    : QWidget(parent), m_settings(settings), m_endpoint(lineField(u"endpointField"_s, this)),
      m_endpointProblem(problemLabel(u"endpointProblem"_s, this)), m_api(new QComboBox(this)),
      m_model(lineField(u"modelField"_s, this)),
      m_modelProblem(problemLabel(u"modelProblem"_s, this)) {
    m_endpoint->setPlaceholderText(TranslationSettings::defaultEndpoint);
    m_model->setPlaceholderText(TranslationSettings::defaultModel);
    m_api->setObjectName(u"apiField"_s);
    m_api->setFont(PanelStyle::textFont(13));
    m_api->addItem(u"Ollama"_s, static_cast<int>(Api::ollama));
    m_api->addItem(u"OpenAI 兼容"_s, static_cast<int>(Api::openAi));

    auto* layout = new QGridLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setHorizontalSpacing(12);
    layout->setVerticalSpacing(6);
    layout->addWidget(caption(u"服务地址"_s, this), 0, 0);
    layout->addWidget(m_endpoint, 0, 1);
    layout->addWidget(m_endpointProblem, 1, 1);
    layout->addWidget(caption(u"服务类型"_s, this), 2, 0);
    layout->addWidget(m_api, 2, 1, Qt::AlignLeft);
    layout->addWidget(caption(u"模型"_s, this), 3, 0);
    layout->addWidget(m_model, 3, 1);
    layout->addWidget(m_modelProblem, 4, 1);
    layout->setColumnStretch(1, 1);

    for (const Settings::Id setting :
         {Settings::Id::endpoint, Settings::Id::api, Settings::Id::model})
        showStored(setting);
    connect(m_endpoint, &QLineEdit::editingFinished, this, &TranslationServerFields::saveEndpoint);
    connect(m_api, &QComboBox::activated, this, &TranslationServerFields::saveApi);
    connect(m_model, &QLineEdit::editingFinished, this, &TranslationServerFields::saveModel);
    connect(&m_settings, &TranslationSettings::changed, this, &TranslationServerFields::showStored);
}

void TranslationServerFields::saveEndpoint() {
    const std::optional<QUrl> endpoint = TranslationSettings::parseEndpoint(m_endpoint->text());
    if (!endpoint) {
        markProblem(m_endpoint, m_endpointProblem,
                    u"地址无效，未保存：请填写以 http:// 或 https:// 开头、带主机名的地址，"
                    "例如 http://127.0.0.1:11434"_s);
        return;
    }
    markProblem(m_endpoint, m_endpointProblem, QString());
    // Shown as stored, e.g. without the trailing "/".
    m_endpoint->setText(endpoint->toString());
    // Leaving an unchanged field writes nothing.
    if (*endpoint != m_settings.endpoint())
        m_settings.setEndpoint(*endpoint);
}

void TranslationServerFields::saveApi(int index) {
    const auto api = static_cast<Api>(m_api->itemData(index).toInt());
    if (api != m_settings.api())
        m_settings.setApi(api);
}

void TranslationServerFields::saveModel() {
    const std::optional<QString> model = Settings::ModelName::parse(m_model->text());
    if (!model) {
        markProblem(m_model, m_modelProblem, u"模型名称无效，未保存：不能为空，也不能含空格"_s);
        return;
    }
    markProblem(m_model, m_modelProblem, QString());
    m_model->setText(*model);
    if (*model != m_settings.model())
        m_settings.setModel(*model);
}

void TranslationServerFields::showStored(Settings::Id setting) {
    // Someone typing keeps their text; it is saved or refused when they are done.
    switch (setting) {
    case Settings::Id::endpoint:
        if (!m_endpoint->hasFocus()) {
            m_endpoint->setText(m_settings.endpoint().toString());
            markProblem(m_endpoint, m_endpointProblem, QString());
        }
        break;
    case Settings::Id::api:
        m_api->setCurrentIndex(m_api->findData(static_cast<int>(m_settings.api())));
        break;
    case Settings::Id::model:
        if (!m_model->hasFocus()) {
            m_model->setText(m_settings.model());
            markProblem(m_model, m_modelProblem, QString());
        }
        break;
    default:
        break;
    }
}
