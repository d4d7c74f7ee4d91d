#pragma once

#include "dictionary/formats/DictionaryDefect.h"

#include <QByteArray>
#include <QString>

// The description file (.ifo) of a StarDict dictionary: what the other files must hold.
struct StarDictInfo {
    QString version;
    QString bookname;
    quint64 wordCount = 0;
    quint64 synonymCount = 0;
    quint64 indexFileSize = 0; // of the uncompressed .idx
    int offsetBits = 32;       // width of the entry offsets in the .idx: 32 or 64
    // One type letter per part of every entry; empty when each part names its own type.
    QByteArray sameTypeSequence;

    static OrDefect<StarDictInfo> parse(const QByteArray& bytes);
};
