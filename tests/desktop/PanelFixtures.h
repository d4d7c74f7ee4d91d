#pragma once

#include "harness/QtPrinters.h"
#include "lookup/LookupResult.h"
#include "ui/NotchPanel.h"

#include <QAbstractButton>
#include <QCoreApplication>
#include <QEnterEvent>
#include <QList>
#include <QString>
#include <QStringList>
#include <QTest>
#include <QWidget>
#include <chrono>
#include <memory>
#include <ostream>

// Names a parameterised case's result instead of dumping its bytes.
inline void PrintTo(const LookupResult& result, std::ostream* out) {
    *out << result.term.toStdString();
}

// Results, recorded actions and pointer helpers shared by the panel's desktop tests.
namespace PanelFixtures {

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

inline DictionaryEntry entry(const QString& headword, const QString& phonetic,
                             const QStringList& nounSenses) {
    DictionaryEntry result;
    result.headword = headword;
    result.phonetic = phonetic;
    result.sections = {{std::nullopt, u"名词"_s, nounSenses, {}}};
    return result;
}

inline LookupResult::Source bundled(const QString& word = u"water"_s) {
    return {u"bundled"_s,
            u"简明英汉"_s,
            u"简明英汉词典"_s,
            {entry(word, u"/ˈwɔːtə/"_s, {u"水"_s, u"水域"_s})},
            false};
}

inline LookupResult::Source oxford() {
    return {u"stardict:oxford"_s,
            u"牛津"_s,
            u"牛津英汉双解"_s,
            {entry(u"water"_s, u"/ˈwɔːtər/"_s, {u"水（无色液体）"_s})},
            false};
}

inline LookupResult wordResult(const QString& word = u"water"_s) {
    return LookupResult::dictionaryAnswer(word, bundled(word));
}

inline LookupResult sentenceResult() {
    return LookupResult::translated(u"The water is cold."_s, u"水很冷。"_s, std::nullopt);
}

inline GlossPiece glossed(const QString& text, const QString& headword, const QStringList& senses,
                          bool isPhrase = false) {
    return {text, headword, senses, isPhrase};
}

inline GlossPiece plain(const QString& text) {
    return {text, {}, {}, false};
}

// "She made up her mind to look forward to the ice creams." as the gloss engine pieces it.
inline LookupResult glossResult() {
    Gloss gloss;
    gloss.pieces = {glossed(u"She"_s, u"she"_s, {u"她"_s}),
                    plain(u" "_s),
                    glossed(u"made up"_s, u"make up"_s, {u"组成"_s, u"编造"_s}, true),
                    plain(u" "_s),
                    glossed(u"her"_s, u"her"_s, {u"她的"_s}),
                    plain(u" "_s),
                    glossed(u"mind"_s, u"mind"_s, {u"头脑"_s, u"介意"_s}),
                    plain(u" "_s),
                    glossed(u"to"_s, u"to"_s, {u"到"_s}),
                    plain(u" "_s),
                    glossed(u"look forward to"_s, u"look forward to"_s, {u"期望"_s}, true),
                    plain(u" "_s),
                    glossed(u"the"_s, u"the"_s, {u"这"_s}),
                    plain(u" "_s),
                    glossed(u"ice creams"_s, u"ice cream"_s, {u"冰淇淋"_s}, true),
                    plain(u"."_s)};
    QString text;
    for (const GlossPiece& piece : gloss.pieces)
        text += piece.text;
    return LookupResult::glossed(text, gloss, std::nullopt);
}

// A gloss of `words` plain-glossed words ("reading0 reading1 …"), for long texts.
inline LookupResult glossOfWords(int words) {
    Gloss gloss;
    for (int i = 0; i < words; ++i) {
        if (i > 0)
            gloss.pieces.append(plain(u" "_s));
        gloss.pieces.append(glossed(u"reading%1"_s.arg(i), u"reading"_s, {u"阅读"_s}));
    }
    gloss.pieces.append(plain(u"."_s));
    QString text;
    for (const GlossPiece& piece : gloss.pieces)
        text += piece.text;
    return LookupResult::glossed(text, gloss, std::nullopt);
}

// Every call the panel makes through its actions, in order.
struct Recorder {
    QStringList copied, spoken, opened, starToggles, sourceRequests, downloads;
    int retries = 0;
    int translationSettingsOpened = 0;
    bool starred = false;
    QList<LookupResult::Source> sources{bundled(), oxford()};

    LookupPresenter::Actions actions() {
        LookupPresenter::Actions a;
        a.copy = [this](const QString& text) {
            copied.append(text);
        };
        a.speak = [this](const QString& word) {
            spoken.append(word);
        };
        a.openInDictionary = [this](const QString& word) {
            opened.append(word);
        };
        a.isStarred = [this](const LookupResult&) {
            return starred;
        };
        a.toggleStar = [this](const LookupResult& result) {
            starToggles.append(result.term);
            starred = !starred;
            return starred;
        };
        a.wordSources = [this](const QString& term) {
            sourceRequests.append(term);
            return sources;
        };
        a.downloadLanguagePack = [this](const QString& query) {
            downloads.append(query);
        };
        a.retryLastRejection = [this] {
            ++retries;
        };
        a.openTranslationSettings = [this] {
            ++translationSettingsOpened;
        };
        return a;
    }
};

// Short delays so tests wait milliseconds, not the five seconds the user gets.
inline NotchPanel::Timings fastTimings() {
    NotchPanel::Timings timings;
    timings.autoHide = 150ms;
    timings.hoverExpand = 0ms;
    timings.hoverLeave = 60ms;
    timings.animation = 0ms;
    return timings;
}

// Synthetic crossing events: the same path the window system's events take into the
// panel, without moving the real pointer.
inline void pointerEnters(NotchPanel& panel) {
    QWidget* window = panel.window();
    const QPointF inside(window->width() / 2.0, 5);
    QEnterEvent event(inside, inside, window->mapToGlobal(inside));
    QCoreApplication::sendEvent(window, &event);
}

inline void pointerLeaves(NotchPanel& panel) {
    QEvent event(QEvent::Leave);
    QCoreApplication::sendEvent(panel.window(), &event);
}

inline QAbstractButton* button(NotchPanel& panel, const QString& name) {
    return panel.window()->findChild<QAbstractButton*>(name);
}

inline QAbstractButton* tab(NotchPanel& panel, const QString& sourceId) {
    for (QAbstractButton* candidate :
         panel.window()->findChildren<QAbstractButton*>(u"sourceTab"_s)) {
        if (candidate->property("sourceId").toString() == sourceId)
            return candidate;
    }
    return nullptr;
}

inline bool waitForState(NotchPanel& panel, NotchPanel::State state, int timeoutMs = 3000) {
    return QTest::qWaitFor([&] { return panel.state() == state; }, timeoutMs);
}

} // namespace PanelFixtures
