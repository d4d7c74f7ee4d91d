#include "lookup/GlossTranslationEngine.h"

#include <QCoroFuture>
#include <QPromise>
#include <QThreadPool>

GlossTranslationEngine::GlossTranslationEngine(const BundledDictionary& words,
                                               const PhraseBook& phrases, QObject* parent)
    : TranslationEngine(parent), m_glosser(words, phrases) {}

QCoro::Task<TranslationOutcome> GlossTranslationEngine::translate(QString text,
                                                                  CancellationToken token) {
    if (token.isCancelled())
        co_return Cancelled{};
    auto promise = std::make_shared<QPromise<Gloss>>();
    QFuture<Gloss> future = promise->future();
    promise->start();
    // The worker holds a copy of the glosser, which only refers to its sources: those must
    // outlive any lookup in flight (the programs' are the process's own).
    QThreadPool::globalInstance()->start([promise, glosser = m_glosser, text] {
        promise->addResult(glosser.gloss(text));
        promise->finish();
    });
    Gloss gloss = co_await future;
    if (token.isCancelled())
        co_return Cancelled{};
    co_return gloss;
}

QCoro::Task<PreparationOutcome>
GlossTranslationEngine::prepareInteractively(CancellationToken token) {
    if (token.isCancelled())
        co_return Cancelled{};
    co_return TranslationAssetsReady{};
}
