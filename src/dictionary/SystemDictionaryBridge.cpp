#include "platform/SystemDictionaryBridge.h"

// The OS's functions, set once at start-up before any other thread runs.
namespace SystemDictionaryBridge {
namespace {

Backend& backend() {
    static Backend installed;
    return installed;
}

} // namespace

void use(Backend chosen) {
    backend() = std::move(chosen);
}

void followChanges() {
    if (backend().followChanges)
        backend().followChanges();
}

void whenListed(QObject* context, std::function<void()> listener) {
    if (backend().whenListed)
        backend().whenListed(context, std::move(listener));
}

QList<Folder> folders() {
    return backend().folders ? backend().folders() : QList<Folder>();
}

bool isAvailable() {
    return backend().isAvailable && backend().isAvailable();
}

QList<Handle> activeDictionaries() {
    return backend().activeDictionaries ? backend().activeDictionaries() : QList<Handle>();
}

std::optional<QString> rawDefinition(const QString& word, const Handle& handle) {
    if (!backend().rawDefinition)
        return std::nullopt;
    return backend().rawDefinition(word, handle);
}

} // namespace SystemDictionaryBridge
