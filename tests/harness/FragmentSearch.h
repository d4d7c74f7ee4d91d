#pragma once

#include <QByteArrayView>
#include <QList>
#include <QString>
#include <QStringList>
#include <unordered_map>
#include <vector>

// Looks for what is left of some texts in a large image of bytes (a core dump, a log): any
// run of `fragmentLength` consecutive characters of one of them, stored as UTF-8 or as
// UTF-16LE, the two forms a program keeps text in. A run rather than the whole text finds a
// copy that was cut, partly overwritten or split across buffers. One pass over the image
// whatever the number of texts.
class FragmentSearch {
public:
    enum class Encoding { utf8, utf16 };
    struct Hit {
        qsizetype text = 0; // index into the texts
        Encoding encoding = Encoding::utf8;
        qsizetype offset = 0; // in the image
        QString fragment;
    };

    static constexpr qsizetype defaultFragmentLength = 12;

    // Texts shorter than the fragment length are looked for whole.
    explicit FragmentSearch(const QStringList& texts,
                            qsizetype fragmentLength = defaultFragmentLength);

    // At most `limit` hits, in the order of the image; the overlapping runs of one copy
    // count once.
    QList<Hit> find(QByteArrayView image, qsizetype limit = 50) const;
    bool occursIn(QByteArrayView image) const { return !find(image, 1).isEmpty(); }

private:
    struct Fragment {
        qsizetype text;
        Encoding encoding;
        QByteArray bytes;
        QString characters;
    };

    // Fragments by their first eight bytes, and a coarse filter on the same key that most
    // places of the image fail at once.
    std::unordered_map<quint64, std::vector<Fragment>> m_fragments;
    std::vector<bool> m_filter;
};
