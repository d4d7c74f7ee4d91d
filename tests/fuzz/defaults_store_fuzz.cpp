// libFuzzer target: arbitrary bytes as the settings file. Loading never crashes nor changes
// the file; the first write keeps what cannot be read aside byte for byte, and whatever can
// be read survives a rewrite.
#include "FuzzCheck.h"
#include "settings/DefaultsStore.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <cstdint>
#include <cstdlib>

using namespace Qt::StringLiterals;

namespace {

QByteArray read(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static QTemporaryDir folder;
    require(folder.isValid(), "a scratch folder");
    QDir(folder.path()).removeRecursively(); // also clears files set aside by the last input
    QDir().mkpath(folder.path());
    const QString path = folder.path() + u"/defaults.json"_s;
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    {
        QFile file(path);
        require(file.open(QIODevice::WriteOnly), "the file is written");
        require(file.write(bytes) == bytes.size(), "the file is written");
    }

    int notices = 0;
    DefaultsStore store(path, [&](const QString&) { ++notices; });
    require(notices == 0 && read(path) == bytes, "loading leaves the file as it found it");

    store.setValue(u"fuzz.touched"_s, true);
    require(!store.writeFailure(), "the file can be written");
    if (notices > 0) {
        require(notices == 1 && store.storedKeys() == QStringList{u"fuzz.touched"_s},
                "an unreadable file is set aside once, and nothing of it is read");
        QStringList aside = QDir(folder.path()).entryList(QDir::Files);
        aside.removeOne(u"defaults.json"_s);
        require(aside.size() == 1 && read(folder.path() + u'/' + aside[0]) == bytes,
                "the file set aside holds every byte");
    }
    const int before = notices;
    DefaultsStore reloaded(path, [&](const QString&) { ++notices; });
    require(notices == before, "what was written reads back without complaint");
    require(reloaded.storedValues() == store.storedValues(), "what was written reads back");
    return 0;
}
