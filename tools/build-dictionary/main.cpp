// build-dictionary <ecdict.sqlite> <dictionary.sqlite>
// Converts ECDICT's database into the word database the program ships.

#include "EcdictConverter.h"

#include <QElapsedTimer>
#include <QString>
#include <cstdio>

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: %s <ecdict.sqlite> <out dictionary.sqlite>\n", argv[0]);
        return 2;
    }
    QElapsedTimer timer;
    timer.start();
    const auto result =
        EcdictConverter::convert(QString::fromLocal8Bit(argv[1]), QString::fromLocal8Bit(argv[2]));
    if (const auto* failure = std::get_if<EcdictConverter::Failure>(&result)) {
        std::fprintf(stderr, "build-dictionary: %s\n", failure->message.toLocal8Bit().constData());
        return 1;
    }
    const auto& summary = std::get<EcdictConverter::Summary>(result);
    std::printf("read %lld ECDICT rows\n", static_cast<long long>(summary.sourceRows));
    std::printf("words: %lld rows\n", static_cast<long long>(summary.words));
    std::printf("forms: %lld rows\n", static_cast<long long>(summary.forms));
    std::printf("phrases: %lld rows\n", static_cast<long long>(summary.phrases));
    std::printf("acronym rows that gave way to an inflection: %lld\n",
                static_cast<long long>(summary.acronymRowsReplaced));
    std::printf("%s: %lld bytes (%.1f MiB) in %.2f s\n", argv[2],
                static_cast<long long>(summary.fileBytes), summary.fileBytes / 1048576.0,
                timer.nsecsElapsed() / 1e9);
    return 0;
}
