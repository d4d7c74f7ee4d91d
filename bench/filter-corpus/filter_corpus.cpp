// filter_corpus [CORPUS] [--show CATEGORY[/SUB] (--passed N | --refused N)]
//
// Runs the capture filter over the labelled corpus that bench/filter-corpus/build-corpus
// writes (default: ~/.cache/quillet/filter-corpus) and prints, for each category and
// sub-category, how much of it the filter refuses and for which reasons, then the headline
// rates and their targets. --show prints N records of a category that went the given way.
// Texts are judged as copied text with the default settings: "show everything" off, the
// standard length limit, no previous query.
#include "filter/CaptureFilter.h"
#include "filter/RejectReason.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStandardPaths>
#include <QStringList>
#include <algorithm>
#include <cstdio>
#include <map>
#include <optional>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

// What the filter decided about one text.
struct Verdict {
    std::optional<RejectReason> reason;
    bool heldSecrets = false;
};

// The only call into the filter.
Verdict judge(const QString& text, const QDateTime& now) {
    const CaptureFilter::Capture capture{text, CaptureFilter::Channel::clipboard};
    const std::optional<CaptureFilter::Refusal> refusal =
        CaptureFilter::firstRejection(capture, CaptureFilter::Settings{}, std::nullopt, now);
    if (!refusal)
        return {std::nullopt, false};
    return {refusal->reason, refusal->keepsNoCopy()};
}

struct Tally {
    qint64 records = 0; // judged on their content; the too long ones are counted apart
    qint64 tooLong = 0;
    qint64 refused = 0;
    qint64 heldSecrets = 0;
    std::map<RejectReason, qint64> reasons;

    void add(const Verdict& verdict) {
        if (verdict.reason == RejectReason::tooLong) {
            ++tooLong;
            return;
        }
        ++records;
        heldSecrets += verdict.heldSecrets ? 1 : 0;
        if (verdict.reason) {
            ++refused;
            ++reasons[*verdict.reason];
        }
    }
    Tally& operator+=(const Tally& other) {
        records += other.records;
        tooLong += other.tooLong;
        refused += other.refused;
        heldSecrets += other.heldSecrets;
        for (const auto& [reason, count] : other.reasons)
            reasons[reason] += count;
        return *this;
    }
};

double percent(qint64 part, qint64 whole) {
    return whole == 0 ? 0.0 : 100.0 * double(part) / double(whole);
}

struct Category {
    QString name;
    bool mustPass = false;
    Tally total;
    Tally longTokens; // random tokens of 16 characters or more
    QStringList subOrder;
    QHash<QString, Tally> subs;
};

// The rates the rules are judged by.
struct Headline {
    const char* title;
    QStringList categories;
    bool longTokensOnly;
    double target; // percent refused
    bool atMost;
};

const Headline kHeadlines[] = {
    {"real English refused",
     {u"prose-fortunes"_s, u"prose-sentences"_s, u"words"_s},
     false,
     0.5,
     true},
    {"random tokens of 16+ characters refused", {u"random-tokens"_s}, true, 99.0, false},
    {"secrets in text refused", {u"secrets-in-text"_s}, false, 99.0, false},
    {"multi-line code refused",
     {u"code-c"_s, u"code-python"_s, u"code-shell"_s},
     false,
     95.0,
     false},
};

constexpr qint64 kShortestLongToken = 16;

struct Example {
    QString label;
    QString text;
    QString source;
    Verdict verdict;
};

struct ShowRequest {
    QString category; // "words" or "words/names"
    bool refused = false;
    qsizetype count = 0;
    std::vector<Example> matches;

    bool wants(const QString& category, const QString& sub, const Verdict& verdict) const {
        if (count == 0 || verdict.reason == RejectReason::tooLong ||
            verdict.reason.has_value() != refused)
            return false;
        return this->category == category || this->category == category + u'/' + sub;
    }
};

QString reasonList(const Tally& tally) {
    std::vector<std::pair<qint64, RejectReason>> sorted;
    for (const auto& [reason, count] : tally.reasons)
        sorted.emplace_back(count, reason);
    std::sort(sorted.begin(), sorted.end(), [](const auto& a, const auto& b) {
        return a.first != b.first ? a.first > b.first : a.second < b.second;
    });
    QStringList parts;
    for (const auto& [count, reason] : sorted)
        parts << RejectReasons::caseName(reason) + u' ' + QString::number(count);
    return parts.join(u", "_s);
}

void printRow(const QString& label, const QString& expect, const Tally& tally) {
    std::printf("%-34s %-7s %8lld %8.2f %% %7.2f %% %5lld  %s\n", qUtf8Printable(label),
                qUtf8Printable(expect), static_cast<long long>(tally.records),
                percent(tally.refused, tally.records), percent(tally.heldSecrets, tally.records),
                static_cast<long long>(tally.tooLong), qUtf8Printable(reasonList(tally)));
}

// The random tokens as a grid: refused share per alphabet and length.
void printTokenGrid(const Category& tokens) {
    QStringList alphabets;
    QList<int> lengths;
    for (const QString& sub : tokens.subOrder) {
        const QString alphabet = sub.section(u'/', 0, 0);
        const int length = sub.section(u'/', 1, 1).toInt();
        if (!alphabets.contains(alphabet))
            alphabets << alphabet;
        if (!lengths.contains(length))
            lengths << length;
    }
    std::sort(lengths.begin(), lengths.end());
    std::printf("\nrandom tokens refused, by alphabet and length\n%-14s", "");
    for (int length : lengths)
        std::printf(" %7d", length);
    std::printf("\n");
    for (const QString& alphabet : alphabets) {
        std::printf("%-14s", qUtf8Printable(alphabet));
        for (int length : lengths) {
            const Tally tally = tokens.subs.value(alphabet + u'/' + QString::number(length));
            if (tally.records == 0)
                std::printf(" %7s", "-");
            else
                std::printf(" %6.1f%%", percent(tally.refused, tally.records));
        }
        std::printf("\n");
    }
}

void printHeadlines(const std::vector<Category>& categories) {
    std::printf("\n%-42s %8s %10s %9s\n", "headline", "records", "refused", "target");
    for (const Headline& headline : kHeadlines) {
        Tally tally;
        for (const Category& category : categories) {
            if (headline.categories.contains(category.name))
                tally += headline.longTokensOnly ? category.longTokens : category.total;
        }
        const double rate = percent(tally.refused, tally.records);
        const bool met = tally.records > 0 &&
                         (headline.atMost ? rate <= headline.target : rate >= headline.target);
        std::printf("%-42s %8lld %8.2f %% %3s %4.1f %%  %s\n", headline.title,
                    static_cast<long long>(tally.records), rate,
                    headline.atMost ? "<=" : ">=", headline.target, met ? "met" : "MISSED");
    }
}

void printExamples(const ShowRequest& show) {
    const qsizetype total = qsizetype(show.matches.size());
    std::printf("\n%lld record(s) of %s %s; showing %lld\n", static_cast<long long>(total),
                qUtf8Printable(show.category), show.refused ? "refused" : "passed",
                static_cast<long long>(std::min(total, show.count)));
    // Spread over the whole category rather than the first few, which often share a source.
    for (qsizetype i = 0; i < std::min(total, show.count); ++i) {
        const Example& example = show.matches[size_t(i * total / std::min(total, show.count))];
        QString about = example.label;
        if (example.verdict.reason)
            about += u" refused: "_s + RejectReasons::caseName(*example.verdict.reason);
        if (!example.source.isEmpty())
            about += u" ("_s + example.source + u')';
        std::printf("----- %s\n%s\n", qUtf8Printable(about), qUtf8Printable(example.text));
    }
}

// Reads one category file, judging each record as it is read.
bool measure(const QString& path, Category& category, ShowRequest& show, const QDateTime& now) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "filter_corpus: cannot read %s\n", qUtf8Printable(path));
        return false;
    }
    qint64 lineNumber = 0;
    while (!file.atEnd()) {
        const QByteArray line = file.readLine();
        ++lineNumber;
        if (line.trimmed().isEmpty())
            continue;
        QJsonParseError error;
        const QJsonObject record = QJsonDocument::fromJson(line, &error).object();
        if (error.error != QJsonParseError::NoError || !record.value(u"text"_s).isString()) {
            std::fprintf(stderr, "filter_corpus: %s:%lld: not a record\n", qUtf8Printable(path),
                         static_cast<long long>(lineNumber));
            return false;
        }
        const QString text = record.value(u"text"_s).toString();
        const QString sub = record.value(u"sub"_s).toString();
        const Verdict verdict = judge(text, now);
        category.total.add(verdict);
        if (record.value(u"length"_s).toInteger() >= kShortestLongToken)
            category.longTokens.add(verdict);
        if (!sub.isEmpty()) {
            if (!category.subs.contains(sub))
                category.subOrder << sub;
            category.subs[sub].add(verdict);
        }
        if (show.wants(category.name, sub, verdict)) {
            const QString label = category.name + (sub.isEmpty() ? QString() : u'/' + sub) +
                                  u" line "_s + QString::number(lineNumber);
            show.matches.push_back({label, text, record.value(u"source"_s).toString(), verdict});
        }
    }
    return true;
}

int usage() {
    std::fprintf(stderr, "usage: filter_corpus [CORPUS] [--show CATEGORY[/SUB] "
                         "(--passed N | --refused N)]\n");
    return 2;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    QString directory = QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) +
                        u"/quillet/filter-corpus"_s;
    ShowRequest show;
    const QStringList arguments = app.arguments().mid(1);
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments[i];
        const bool hasValue = i + 1 < arguments.size();
        if (argument == u"--show" && hasValue) {
            show.category = arguments[++i];
        } else if ((argument == u"--passed" || argument == u"--refused") && hasValue) {
            show.refused = argument == u"--refused";
            bool isNumber = false;
            show.count = arguments[++i].toLongLong(&isNumber);
            if (!isNumber || show.count < 0)
                return usage();
        } else if (!argument.startsWith(u'-')) {
            directory = argument;
        } else {
            return usage();
        }
    }
    if (show.category.isEmpty() != (show.count == 0))
        return usage();

    QFile manifestFile(directory + u"/manifest.json"_s);
    if (!manifestFile.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr,
                     "filter_corpus: no corpus in %s (run bench/filter-corpus/build-corpus)\n",
                     qUtf8Printable(directory));
        return 1;
    }
    const QJsonObject manifest = QJsonDocument::fromJson(manifestFile.readAll()).object();
    if (manifest.value(u"categories"_s).toArray().isEmpty()) {
        std::fprintf(stderr, "filter_corpus: %s lists no categories\n",
                     qUtf8Printable(manifestFile.fileName()));
        return 1;
    }

    std::vector<Category> categories;
    const QDateTime now = QDateTime::currentDateTimeUtc();
    QElapsedTimer timer;
    timer.start();
    qint64 records = 0;
    for (const QJsonValue& entry : manifest.value(u"categories"_s).toArray()) {
        const QString name = entry[u"name"_s].toString();
        Category category{name, entry[u"expect"_s].toString() == u"pass"};
        if (!measure(QDir(directory).filePath(name + u".jsonl"_s), category, show, now))
            return 1;
        records += category.total.records + category.total.tooLong;
        categories.push_back(std::move(category));
    }
    const double seconds = double(timer.nsecsElapsed()) / 1e9;

    std::printf("corpus %s (seed %lld): %lld records, judged in %.2f s\n\n",
                qUtf8Printable(directory),
                static_cast<long long>(manifest.value(u"seed"_s).toInteger()),
                static_cast<long long>(records), seconds);
    std::printf("%-34s %-7s %8s %10s %9s %5s  %s\n", "category", "expect", "records", "refused",
                "secret", "long", "refused for");
    for (const Category& category : categories) {
        printRow(category.name, category.mustPass ? u"pass"_s : u"refuse"_s, category.total);
        for (const QString& sub : category.subOrder)
            printRow(u"  "_s + sub, QString(), category.subs.value(sub));
    }
    for (const Category& category : categories) {
        if (category.name == u"random-tokens")
            printTokenGrid(category);
    }
    printHeadlines(categories);
    std::printf("\n\"refused\" and \"secret\" (held secrets) are shares of the records judged; "
                "\"long\" counts records over the length limit, left out of every share.\n");
    if (show.count > 0)
        printExamples(show);
    return 0;
}
