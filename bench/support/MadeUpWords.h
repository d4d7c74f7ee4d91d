#pragma once

#include <QString>

// `prefix` then n in base 26 written with a–z: distinct words of ASCII letters, none of them
// in the word database when the prefix is "zz".
inline QString madeUpWord(const QString& prefix, int n) {
    QString text;
    do {
        text.prepend(QChar(u'a' + n % 26));
        n /= 26;
    } while (n > 0);
    return prefix + text;
}
