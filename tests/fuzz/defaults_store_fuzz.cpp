// libFuzzer target: arbitrary bytes as the settings file. Loading never crashes, whatever
// cannot be read is kept aside byte for byte, and whatever can be read survives a rewrite.
#include "settings/DefaultsStore.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <cstdint>
#include <cstdlib>

using namespace Qt::StringLiterals;

namespace {

void require(bool condition) {
    if (!condition)
        std::abort();
}

QByteArray read(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static QTemporaryDir folder;
    require(folder.isValid());
    QDir(folder.path()).removeRecursively(); // also clears files set aside by the last input
    QDir().mkpath(folder.path());
    const QString path = folder.path() + u"/defaults.json"_s;
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    {
        QFile file(path);
        require(file.open(QIODevice::WriteOnly));
        require(file.write(bytes) == bytes.size());
    }

    int notices = 0;
    DefaultsStore store(path, [&](const QString&) { ++notices; });
    if (notices > 0) {
        require(notices == 1 && store.storedKeys().isEmpty() && !QFile::exists(path));
        const QStringList aside = QDir(folder.path()).entryList(QDir::Files);
        require(aside.size() == 1 && read(folder.path() + u'/' + aside[0]) == bytes);
        return 0;
    }

    store.setValue(u"fuzz.touched"_s, true);
    require(store.lastWriteSucceeded());
    DefaultsStore reloaded(path, [&](const QString&) { ++notices; });
    require(notices == 0);
    require(reloaded.storedValues() == store.storedValues());
    return 0;
}
