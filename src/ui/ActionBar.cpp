#include "ui/ActionBar.h"

#include "ui/Icons.h"
#include "ui/PanelStyle.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QToolButton>

using namespace Qt::StringLiterals;

ActionBar::ActionBar(QWidget* parent)
    : QWidget(parent),
      m_source(PanelStyle::label(PanelStyle::textFont(12), PanelStyle::Tone::tertiary, this)) {
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(2);
    m_source->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    layout->addWidget(m_source, 1);

    m_star = addButton(u"starButton"_s, u"star"_s, u"收藏"_s);
    m_copy = addButton(u"copyButton"_s, u"copy"_s, u"复制"_s);
    QToolButton* speak = addButton(u"speakButton"_s, u"speak"_s, u"朗读"_s);
    m_open = addButton(u"openButton"_s, u"book"_s, u"在词典中打开"_s);
    connect(m_star, &QToolButton::clicked, this, &ActionBar::starClicked);
    connect(m_copy, &QToolButton::clicked, this, &ActionBar::copyClicked);
    connect(speak, &QToolButton::clicked, this, &ActionBar::speakClicked);
    connect(m_open, &QToolButton::clicked, this, &ActionBar::openClicked);

    m_copiedReset.setSingleShot(true);
    m_copiedReset.setInterval(1200);
    connect(&m_copiedReset, &QTimer::timeout, this,
            [this] { m_copy->setIcon(Icons::panel(u"copy"_s)); });
}

QToolButton* ActionBar::addButton(const QString& objectName, const QString& icon,
                                  const QString& tip) {
    auto* button = new QToolButton(this);
    button->setObjectName(objectName);
    button->setProperty("role", u"action"_s);
    button->setIcon(Icons::panel(icon));
    button->setIconSize(QSize(20, 20));
    button->setFixedSize(30, 30);
    button->setToolTip(tip);
    button->setAccessibleName(tip);
    button->setFocusPolicy(Qt::NoFocus);
    button->setCursor(Qt::PointingHandCursor);
    layout()->addWidget(button);
    return button;
}

void ActionBar::setSourceName(const QString& name) {
    m_source->setText(name);
}

void ActionBar::setStarred(bool starred) {
    m_starred = starred;
    m_star->setIcon(Icons::panel(starred ? u"star-filled"_s : u"star"_s));
    m_star->setToolTip(starred ? u"取消收藏"_s : u"收藏"_s);
    m_star->setAccessibleName(m_star->toolTip());
}

void ActionBar::setOpenVisible(bool visible) {
    m_open->setVisible(visible);
}

void ActionBar::confirmCopied() {
    m_copy->setIcon(Icons::panel(u"check"_s));
    m_copiedReset.start();
}
