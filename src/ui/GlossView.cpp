#include "ui/GlossView.h"

#include "ui/FlowLayout.h"
#include "ui/GlossPieceView.h"
#include "ui/PanelStyle.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QRegularExpression>
#include <QStringList>
#include <QVBoxLayout>
#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kEntrySenses = 3;

bool holdsLettersOrDigits(const QString& text) {
    return std::any_of(text.begin(), text.end(), [](QChar c) { return c.isLetterOrNumber(); });
}

// "1 放弃  2 投降", numbered as the dictionary tabs number their senses.
QString sensesHtml(const QStringList& senses) {
    if (senses.size() == 1)
        return senses.first().toHtmlEscaped();
    QStringList items;
    for (qsizetype i = 0; i < senses.size(); ++i)
        items.append(u"<span style=\"white-space:nowrap\"><span style=\"color:%1;font-weight:600\">"
                     u"%2</span>&nbsp;%3</span>"_s.arg(PanelStyle::css(PanelStyle::tertiaryText()))
                         .arg(i + 1)
                         .arg(senses[i].toHtmlEscaped()));
    return items.join(u"&nbsp;&nbsp;&nbsp; "_s);
}

} // namespace

GlossView::GlossView(QWidget* parent)
    : QWidget(parent), m_flow(new QWidget(this)), m_flowLayout(new FlowLayout(m_flow)),
      m_original(PanelStyle::label(PanelStyle::latinFont(13), PanelStyle::Tone::secondary, this)),
      m_headword(PanelStyle::label(PanelStyle::latinFont(20, QFont::DemiBold),
                                   PanelStyle::Tone::primary, this)),
      m_senses(PanelStyle::label(PanelStyle::textFont(17), PanelStyle::Tone::primary, this)) {
    auto* kind =
        PanelStyle::label(PanelStyle::textFont(12, QFont::Medium), PanelStyle::Tone::primary, this);
    kind->setObjectName(u"glossLabel"_s);
    kind->setProperty("role", u"label"_s);
    kind->setText(u"逐词释义"_s);
    kind->setToolTip(u"没有可用的翻译模型，先逐词给出词典释义"_s);

    auto* fullTranslation = new QPushButton(u"获取整句翻译…"_s, this);
    fullTranslation->setObjectName(u"fullTranslationButton"_s);
    fullTranslation->setProperty("role", u"link"_s);
    fullTranslation->setFont(PanelStyle::textFont(12));
    fullTranslation->setFocusPolicy(Qt::NoFocus);
    fullTranslation->setCursor(Qt::PointingHandCursor);
    connect(fullTranslation, &QPushButton::clicked, this, &GlossView::fullTranslationRequested);

    auto* header = new QHBoxLayout;
    header->setContentsMargins(0, 0, 0, 0);
    header->addWidget(kind, 0, Qt::AlignVCenter);
    header->addStretch(1);
    header->addWidget(fullTranslation, 0, Qt::AlignVCenter);

    m_flowLayout->setWordSpacing(7);
    m_flowLayout->setLineSpacing(8);
    m_original->setWordWrap(true);
    m_headword->setWordWrap(true);
    m_senses->setTextFormat(Qt::RichText);
    m_senses->setWordWrap(true);

    auto* layout = new QVBoxLayout(this);
    // Room on the right for the scroll bar, as in the other result layouts.
    layout->setContentsMargins(0, 0, 4, 0);
    layout->setSpacing(10);
    layout->addLayout(header);
    layout->addWidget(m_flow);
    layout->addWidget(m_original);
    layout->addWidget(m_headword);
    layout->addWidget(m_senses);
}

void GlossView::setPieces(const QList<GlossPiece>& pieces) {
    m_flowLayout->clear();
    const qsizetype glossed = std::count_if(
        pieces.begin(), pieces.end(), [](const GlossPiece& piece) { return piece.isGlossed(); });
    m_showsEntry = glossed == 1;
    if (m_showsEntry)
        showEntry(pieces, *std::find_if(pieces.begin(), pieces.end(),
                                        [](const GlossPiece& piece) { return piece.isGlossed(); }));
    else
        showFlow(pieces);
    // The layouts above keep the height they measured for the old pieces until told.
    updateGeometry();
}

void GlossView::showEntry(const QList<GlossPiece>& pieces, const GlossPiece& piece) {
    m_flow->hide();
    // The whole English only when it holds more than this piece and its punctuation.
    QString original;
    bool more = false;
    for (const GlossPiece& other : pieces) {
        original += other.text;
        more |= !other.isGlossed() && holdsLettersOrDigits(other.text);
    }
    m_original->setText(original.simplified());
    m_original->setVisible(more);
    m_headword->setText(piece.name());
    m_headword->show();
    m_senses->setText(sensesHtml(piece.senses.mid(0, kEntrySenses)));
    m_senses->show();
}

void GlossView::showFlow(const QList<GlossPiece>& pieces) {
    m_original->hide();
    m_headword->hide();
    m_senses->hide();
    static const QRegularExpression word(u"\\S+"_s);
    // Whether a space came just before the next piece: only there may a line break.
    bool spaceBefore = true;
    for (const GlossPiece& piece : pieces) {
        if (piece.text.isEmpty())
            continue;
        if (piece.isGlossed()) {
            m_flowLayout->addWidget(new GlossPieceView(piece, piece.text.simplified(), m_flow),
                                    spaceBefore || piece.text.front().isSpace());
        } else {
            // Plain text flows word by word.
            for (const QRegularExpressionMatch& match : word.globalMatch(piece.text))
                m_flowLayout->addWidget(new GlossPieceView(GlossPiece{}, match.captured(), m_flow),
                                        match.capturedStart() > 0 || spaceBefore);
        }
        spaceBefore = piece.text.back().isSpace();
    }
    m_flow->show();
}
