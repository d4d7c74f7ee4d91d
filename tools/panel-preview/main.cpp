// Renders each layout of the lookup panel to a PNG file:
//   QT_QPA_PLATFORM=offscreen panel-preview OUTPUT_DIR [--readme FILE]
// --readme also writes the word result on a strip of desktop, as shown in the README.
// region-overlay.png is the box overlay over a page of text, a box being drawn.

#include "lookup/LookupResult.h"
#include "ui/Icons.h"
#include "ui/NotchPanel.h"
#include "ui/PanelStyle.h"
#include "ui/RegionOverlayWindow.h"

#include <QApplication>
#include <QDir>
#include <QFontMetrics>
#include <QLinearGradient>
#include <QPainter>
#include <QPixmap>
#include <QTextStream>
#include <QWidget>

using namespace Qt::StringLiterals;

namespace {

DictionaryEntry::Section section(const QString& partOfSpeech, QStringList senses,
                                 QList<QStringList> subsenses = {}) {
    return {std::nullopt, partOfSpeech, std::move(senses), std::move(subsenses)};
}

LookupResult::Source concise() {
    DictionaryEntry entry;
    entry.headword = u"water"_s;
    entry.phonetic = u"/ˈwɔːtə/"_s;
    entry.sections = {section(u"名词"_s, {u"水"_s, u"水域"_s, u"海域"_s, u"潮水"_s, u"水位"_s}),
                      section(u"及物动词"_s, {u"给…浇水"_s, u"灌溉"_s, u"供水给"_s}),
                      section(u"不及物动词"_s, {u"流泪"_s, u"流口水"_s})};
    return {u"bundled"_s, u"简明英汉"_s, u"简明英汉词典"_s, {entry}, false};
}

LookupResult::Source learners() {
    DictionaryEntry entry;
    entry.headword = u"water"_s;
    entry.phonetic = u"/ˈwɔːtər/"_s;
    entry.sections = {
        section(u"名词"_s,
                {u"水（由江河湖海和雨水而来的无色液体）"_s, u"一片水域；（某国的）领海"_s},
                {{u"a glass of water 一杯水"_s}, {u"in British waters 在英国领海"_s}}),
        section(u"动词"_s, {u"给（植物）浇水"_s, u"（眼睛）流泪；（嘴）流口水"_s},
                {{u"water the lawn 给草坪浇水"_s}})};
    return {u"stardict:learners"_s, u"英汉学习"_s, u"英汉学习词典"_s, {entry}, false};
}

// A system dictionary's long entry: more senses than fit, so the body scrolls.
LookupResult::Source thesaurus() {
    DictionaryEntry entry;
    entry.headword = u"run"_s;
    entry.phonetic = u"/rʌn/"_s;
    QStringList senses;
    QList<QStringList> examples;
    for (int i = 1; i <= 14; ++i) {
        senses.append(u"第 %1 个义项：以比走快的速度用腿移动，两脚在每一步都短暂离地"_s.arg(i));
        examples.append({u"example sentence number %1 to show the indent 例句"_s.arg(i)});
    }
    entry.sections = {section(u"不及物动词"_s, senses, examples)};
    DictionaryEntry second;
    second.headword = u"run"_s;
    second.homographIndex = 2;
    second.phonetic = u"/rʌn/"_s;
    second.sections = {section(u"名词"_s, {u"跑步"_s, u"奔跑"_s})};
    return {u"stardict:long"_s, u"长词条"_s, u"长词条测试词典"_s, {entry, second}, false};
}

GlossPiece glossed(const QString& text, const QString& headword, QStringList senses,
                   bool isPhrase = false) {
    return {text, headword, std::move(senses), isPhrase};
}

GlossPiece plain(const QString& text) {
    return {text, {}, {}, false};
}

// What the panel shows for a sentence when no translation model runs.
LookupResult sentenceGloss() {
    Gloss gloss;
    gloss.pieces = {glossed(u"She"_s, u"she"_s, {u"她"_s}),
                    plain(u" "_s),
                    glossed(u"made up"_s, u"make up"_s, {u"组成"_s, u"编造"_s}, true),
                    plain(u" "_s),
                    glossed(u"her"_s, u"her"_s, {u"她的"_s}),
                    plain(u" "_s),
                    glossed(u"mind"_s, u"mind"_s, {u"头脑"_s}),
                    plain(u" "_s),
                    glossed(u"to"_s, u"to"_s, {u"到"_s}),
                    plain(u" "_s),
                    glossed(u"look forward to"_s, u"look forward to"_s, {u"期望"_s}, true),
                    plain(u" "_s),
                    glossed(u"the"_s, u"the"_s, {u"这"_s}),
                    plain(u" "_s),
                    glossed(u"ice creams"_s, u"ice cream"_s, {u"冰淇淋"_s}, true),
                    plain(u" at Rosa's, 3 times a week."_s)};
    QString text;
    for (const GlossPiece& piece : gloss.pieces)
        text += piece.text;
    return LookupResult::glossed(text, gloss, std::nullopt);
}

LookupResult phraseGloss() {
    Gloss gloss;
    gloss.pieces = {glossed(u"give up"_s, u"give up"_s, {u"放弃"_s, u"投降"_s, u"停止"_s}, true)};
    return LookupResult::glossed(u"give up"_s, gloss, std::nullopt);
}

// A page of a book as a reader shows it, for the overlay to be drawn over.
struct Page {
    QPixmap pixmap;
    QRect phrase; // where "the evening sky" stands
};

Page readingPage(QSize size) {
    Page page;
    page.pixmap = QPixmap(size * 2);
    page.pixmap.setDevicePixelRatio(2);
    page.pixmap.fill(QColor(250, 248, 243));
    QPainter painter(&page.pixmap);
    painter.setRenderHint(QPainter::TextAntialiasing);
    QFont title = PanelStyle::latinFont(22, QFont::DemiBold);
    painter.setFont(title);
    painter.setPen(QColor(40, 40, 40));
    const int left = 80;
    painter.drawText(QPoint(left, 80), u"Chapter Three"_s);
    const QFont body = PanelStyle::latinFont(17);
    painter.setFont(body);
    const QFontMetrics metrics(body);
    const QStringList lines = {
        u"The quiet water of the lake reflected the evening sky, and"_s,
        u"for a long while nobody spoke. Far off, a heron lifted itself"_s,
        u"from the reeds and crossed the bay with slow, deliberate wings."_s,
        u"She had come back to the house after eleven years, expecting"_s,
        u"to find it changed; instead the porch still leaned, the paint"_s,
        u"still peeled, and the old clock in the hall still ran late."_s,
    };
    int baseline = 130;
    for (const QString& line : lines) {
        painter.drawText(QPoint(left, baseline), line);
        baseline += metrics.lineSpacing() + 8;
    }
    const QString before = u"The quiet water of the lake reflected "_s;
    const int phraseLeft = left + metrics.horizontalAdvance(before);
    const int phraseWidth = metrics.horizontalAdvance(u"the evening sky"_s);
    page.phrase =
        QRect(phraseLeft - 4, 130 - metrics.ascent() - 6, phraseWidth + 7, metrics.height() + 12);
    return page;
}

class Renderer {
public:
    explicit Renderer(QDir output) : m_output(std::move(output)) {}

    bool save(QWidget* window, const QString& name) {
        QApplication::processEvents();
        const QString path = m_output.filePath(name + u".png"_s);
        if (!window->grab().save(path)) {
            QTextStream(stderr) << "cannot write " << path << '\n';
            return false;
        }
        return true;
    }

    // The panel hanging from the top edge of a desktop-like backdrop.
    static bool saveOnDesktop(QWidget* window, const QString& path) {
        QApplication::processEvents();
        const QPixmap panel = window->grab();
        const qreal scale = panel.devicePixelRatio();
        const QSize size(panel.width() / scale + 220, panel.height() / scale + 70);
        QPixmap canvas(size * 2);
        canvas.setDevicePixelRatio(2);
        QPainter painter(&canvas);
        painter.setRenderHint(QPainter::Antialiasing);
        QLinearGradient backdrop(0, 0, size.width(), size.height());
        backdrop.setColorAt(0, QColor(94, 129, 172));
        backdrop.setColorAt(0.55, QColor(163, 140, 176));
        backdrop.setColorAt(1, QColor(235, 176, 140));
        painter.fillRect(QRect(QPoint(), size), backdrop);
        painter.drawPixmap(QPointF((size.width() - panel.width() / scale) / 2, 0), panel);
        painter.end();
        return canvas.save(path);
    }

private:
    QDir m_output;
};

} // namespace

int main(int argc, char** argv) {
    // Twice the density, as on a high-density screen, so the pictures stay sharp.
    if (qEnvironmentVariableIsEmpty("QT_SCALE_FACTOR"))
        qputenv("QT_SCALE_FACTOR", "2");
    QApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    if (arguments.size() < 2) {
        QTextStream(stderr) << "usage: panel-preview OUTPUT_DIR [--readme FILE]\n";
        return 64;
    }
    QDir output(arguments[1]);
    if (!output.mkpath(u"."_s)) {
        QTextStream(stderr) << "cannot create " << arguments[1] << '\n';
        return 1;
    }
    const qsizetype readmeAt = arguments.indexOf(u"--readme"_s);
    const QString readme = readmeAt > 0 ? arguments.value(readmeAt + 1) : QString();

    NotchPanel::Timings instant;
    instant.animation = std::chrono::milliseconds(0);
    NotchPanel panel(instant);
    LookupPresenter::Actions actions;
    actions.isStarred = [](const LookupResult&) {
        return true;
    };
    actions.wordSources = [](const QString&) {
        return QList<LookupResult::Source>{concise(), learners()};
    };
    actions.retryLastRejection = [] {
    };
    panel.setActions(actions);
    QWidget* window = panel.window();
    Renderer renderer(output);
    bool ok = true;

    panel.showAtRest();
    ok &= renderer.save(window, u"collapsed"_s);
    panel.showLoading(u"water"_s, true);
    ok &= renderer.save(window, u"loading"_s);

    panel.show(LookupResult::dictionaryAnswer(u"water"_s, concise()), true);
    ok &= renderer.save(window, u"word"_s);
    if (!readme.isEmpty())
        ok &= Renderer::saveOnDesktop(window, readme);
    panel.selectTab(u"stardict:learners"_s);
    ok &= renderer.save(window, u"word-second-tab"_s);

    panel.show(LookupResult::dictionaryAnswer(u"run"_s, thesaurus()), true);
    ok &= renderer.save(window, u"word-long"_s);

    panel.show(LookupResult::translated(u"The quiet water of the lake reflected the evening sky."_s,
                                        u"平静的湖水映出了傍晚的天空。"_s, std::nullopt),
               true);
    ok &= renderer.save(window, u"sentence"_s);
    panel.show(sentenceGloss(), true);
    ok &= renderer.save(window, u"sentence-gloss"_s);
    panel.show(phraseGloss(), true);
    ok &= renderer.save(window, u"phrase-gloss"_s);

    panel.showFailure(u"词典和翻译里都没有「wtaer」。"_s, true);
    ok &= renderer.save(window, u"failure"_s);
    panel.showRefusal(u"像是网址或文件路径，没有查询"_s);
    ok &= renderer.save(window, u"notice"_s);

    panel.showNeedsLanguagePack(u"Reading is to the mind what exercise is to the body."_s, true);
    ok &= renderer.save(window, u"language-pack"_s);
    panel.showDownloadProgress(0.42);
    ok &= renderer.save(window, u"language-pack-progress"_s);

    ok &= Icons::app().pixmap(QSize(128, 128)).save(output.filePath(u"icon.png"_s));

    const Page page = readingPage(QSize(760, 400));
    RegionOverlayWindow overlay(QRect(QPoint(), QSize(760, 400)), page.pixmap);
    overlay.showDrag(page.phrase.topLeft(), page.phrase.bottomRight());
    ok &= renderer.save(&overlay, u"region-overlay"_s);
    return ok ? 0 : 1;
}
