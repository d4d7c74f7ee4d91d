// The adapters Linux uses for each interface the portable code declares, picked here and
// nowhere else (the desktop's are picked in desktop/LinuxDesktop.cpp, which the command line
// does not load).
#include "logs/EventLog.h"
#include "lookup/OnDemandTranslationEngine.h"
#include "platform/Platform.h"
#include "platform/SystemDictionaryBridge.h"
#include "platform/TranslationEngineFactory.h"
#include "platform/linux/dictionaries/DictionaryDiscovery.h"
#include "platform/linux/dictionaries/StarDictDictdShelf.h"
#include "platform/linux/translation/ModelServerEntry.h"

#include <QFileInfo>
#include <QLibrary>
#include <dlfcn.h>

using namespace Qt::StringLiterals;

// Installed dictionaries: the StarDict and dictd files in the standard folders, read by one
// shelf shared by the whole process and listed through one discovery.
namespace {

StarDictDictdShelf& shelf() {
    static StarDictDictdShelf shared(&StarDictDictdShelf::standardFolders,
                                     &StarDictDictdShelf::reportToEventLog);
    return shared;
}

// Made on first use, which is on the main thread: lookups run there.
DictionaryDiscovery& discovery() {
    static DictionaryDiscovery shared(shelf(), &StarDictDictdShelf::standardFolders,
                                      TimerSource::system());
    return shared;
}

// Packages install under /usr; every other standard folder is in the user's home.
QList<SystemDictionaryBridge::Folder> folders(const StarDictDictdShelf::Folders& found) {
    QList<SystemDictionaryBridge::Folder> listed;
    for (const QString& path : found.starDict)
        listed.append({path, u"StarDict"_s, !path.startsWith(u"/usr/"_s)});
    for (const QString& path : found.dictd)
        listed.append({path, u"dictd"_s, !path.startsWith(u"/usr/"_s)});
    return listed;
}

} // namespace

void Platform::install() {
    SystemDictionaryBridge::use({
        .isAvailable = [] { return true; },
        .activeDictionaries = [] { return discovery().dictionaries(); },
        .rawDefinition =
            [](const QString& word, const SystemDictionaryBridge::Handle& handle) {
                return shelf().definition(word, handle.identifier);
            },
        .followChanges = [] { discovery().start(); },
        .whenListed =
            [](QObject* context, std::function<void()> listener) {
                QObject::connect(&discovery(), &DictionaryDiscovery::listed, context,
                                 std::move(listener));
            },
        .folders = [] { return folders(StarDictDictdShelf::standardFolders()); },
    });
}

// Sentence translation: a local model server's client, in a library of its own beside this
// one, opened the first time a lookup needs it.
namespace TranslationEngineFactory {
namespace {

QString besideThisLibrary(const QString& fileName) {
    Dl_info info{};
    static const int anchor = 0;
    if (dladdr(&anchor, &info) == 0 || !info.dli_fname)
        return fileName;
    return QFileInfo(QString::fromLocal8Bit(info.dli_fname)).absolutePath() + u'/' + fileName;
}

std::unique_ptr<TranslationEngine> openModelServer(TranslationSettings& settings, EventLog& log,
                                                   Waiter waiter) {
    // Never unloaded: its engines' code and Qt metadata must outlive every engine.
    static QLibrary* const library = [] {
        auto* opened = new QLibrary(besideThisLibrary(u"libquillet_model_server.so"_s));
        opened->setLoadHints(QLibrary::PreventUnloadHint);
        return opened;
    }();
    using Open = TranslationEngine* (*)(TranslationSettings*, EventLog*, int);
    const auto open = reinterpret_cast<Open>(library->resolve("quillet_open_model_server"));
    if (!open) {
        log.append(EventLog::Kind::error, u"无法载入翻译组件："_s + library->errorString());
        return nullptr;
    }
    return std::unique_ptr<TranslationEngine>(open(&settings, &log, int(waiter)));
}

} // namespace

std::unique_ptr<TranslationEngine> create(TranslationSettings& settings, EventLog& log,
                                          Waiter waiter) {
    return std::make_unique<OnDemandTranslationEngine>(
        [&settings, &log, waiter] { return openModelServer(settings, log, waiter); }, log);
}

} // namespace TranslationEngineFactory
