// Reading text off rendered screens through the whole recognition path: the worker thread,
// the image preparation and Tesseract, with the screen's pixels drawn by the test.
#include "RenderedText.h"
#include "harness/RunningTask.h"
#include "platform/linux/screen/TesseractScreenText.h"

#include <QPainter>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <cstdio>
#include <gtest/gtest.h>
#include <map>
#include <semaphore>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

using Failure = ScreenText::Failure;
using Layout = ScreenText::Layout;
using Recognition = ScreenText::Recognition;

std::optional<Failure> failureOf(const ScreenText::Outcome& outcome) {
    if (const auto* failure = std::get_if<Failure>(&outcome))
        return *failure;
    return std::nullopt;
}

// The crop the word finder reads around a resting pointer.
QRect cropAround(QPointF point) {
    return QRect(qRound(point.x()) - 160, qRound(point.y()) - 32, 320, 64);
}

struct Theme {
    const char* name;
    QColor ground;
    QColor ink;
};
const QList<Theme> themes = {
    {"white", QColor(255, 255, 255), QColor(20, 20, 20)},
    {"light grey", QColor(236, 236, 236), QColor(60, 60, 60)},
    {"dark", QColor(30, 30, 30), QColor(215, 215, 215)},
};
const QStringList families = {u"DejaVu Sans"_s,      u"DejaVu Serif"_s,    u"Liberation Sans"_s,
                              u"Liberation Serif"_s, u"Liberation Mono"_s, u"Noto Sans CJK SC"_s};

struct Tally {
    int found = 0;
    int asked = 0;
    void add(bool hit) {
        ++asked;
        found += hit ? 1 : 0;
    }
    double rate() const { return asked ? 100.0 * found / asked : 0; }
};

using RenderedText::linesOf;
using RenderedText::wordAt;

} // namespace

TEST(ScreenTextRecognition, findsTheWordAtThePointInManyFontsSizesAndThemes) {
    std::map<int, Tally> bySize;
    std::map<std::string, Tally> byTheme;
    int page = 0;
    // One reader for every page, as the agent keeps one engine: the test changes the screen.
    auto shown = std::make_shared<QImage>();
    TesseractScreenText reader([shown] {
        return ScreenGrab(
            [shown](QRect area) { return RenderedText::screenShowing(*shown)()(area); });
    });
    for (const QString& family : families) {
        for (int size = 11; size <= 20; ++size) {
            for (const Theme& theme : themes) {
                const QString text = RenderedText::paragraphs()[page++ % 4];
                const RenderedText::Page rendered =
                    RenderedText::render({family, size, theme.ground, theme.ink}, text);
                *shown = rendered.image;
                for (qsizetype i = page % 5; i < rendered.words.size(); i += 7) {
                    const RenderedText::Word& word = rendered.words[i];
                    const QString expected = RenderedText::bare(word.text);
                    if (expected.isEmpty())
                        continue;
                    // The centre, and every other word a point off to one side and up or down.
                    QList<QPointF> points = {word.box.center()};
                    if (i % 2)
                        points.append(word.box.center() +
                                      QPointF(word.box.width() / 4 * (i % 4 == 1 ? -1 : 1),
                                              word.box.height() / 6 * (i % 3 == 0 ? -1 : 1)));
                    for (QPointF point : points) {
                        const auto outcome =
                            finish(reader.read(cropAround(point), Layout::aroundPoint, 2s));
                        const bool hit = RenderedText::bare(wordAt(outcome, point)) == expected;
                        bySize[size].add(hit);
                        byTheme[theme.name].add(hit);
                    }
                }
            }
        }
    }
    Tally fromThirteen;
    for (const auto& [size, tally] : bySize) {
        std::printf("%2d px: %5.1f %% of %d\n", size, tally.rate(), tally.asked);
        if (size >= 13) {
            fromThirteen.found += tally.found;
            fromThirteen.asked += tally.asked;
        }
    }
    for (const auto& [name, tally] : byTheme)
        std::printf("%s: %5.1f %% of %d\n", name.c_str(), tally.rate(), tally.asked);
    EXPECT_GE(fromThirteen.rate(), 95.0);
}

TEST(ScreenTextRecognition, readsARegionLineByLine) {
    const QList<RenderedText::Style> styles = {
        {u"DejaVu Sans"_s, 15, themes[0].ground, themes[0].ink},
        {u"Liberation Serif"_s, 16, themes[2].ground, themes[2].ink},
        {u"Noto Sans CJK SC"_s, 14, themes[1].ground, themes[1].ink},
    };
    for (const RenderedText::Style& style : styles) {
        SCOPED_TRACE(style.family.toStdString());
        const RenderedText::Page page =
            RenderedText::render(style, RenderedText::paragraphs().join(u' '), {800, 300});
        TesseractScreenText reader(RenderedText::screenShowing(page.image));
        const auto outcome = finish(reader.read(page.image.rect(), Layout::block, 5s));
        ASSERT_TRUE(std::holds_alternative<Recognition>(outcome));
        const QStringList lines = linesOf(std::get<Recognition>(outcome));
        // The page holds as many lines as fit; the last may be cut by its bottom edge.
        const qsizetype whole = std::min(lines.size(), page.lines.size()) - 1;
        ASSERT_GE(whole, 5);
        for (qsizetype i = 0; i < whole; ++i)
            EXPECT_EQ(lines[i].simplified(), page.lines[i].simplified()) << "line " << i;
    }
}

TEST(ScreenTextRecognition, findsAWordBesideAnotherWindowAndAFrame) {
    // A light window whose text starts near its left edge, with the desktop's dark ground and
    // the window's frame inside the crop around the word: the ground where the pointer is
    // decides which way the text is inked, and the frame joins no line.
    for (const Theme& theme : {themes[0], themes[2]}) {
        SCOPED_TRACE(theme.name);
        RenderedText::Page page = RenderedText::render(
            {u"DejaVu Sans"_s, 13, theme.ground, theme.ink}, RenderedText::paragraphs()[1]);
        QImage screen(page.image.width() + 140, page.image.height(), QImage::Format_RGB32);
        screen.fill(theme.ground.lightness() > 128 ? QColor(8, 8, 8) : QColor(240, 240, 240));
        QPainter painter(&screen);
        // The page's own margin cut away: its text starts a few pixels from the frame, so the
        // dark ground fills nearly half the crop, and a title bar above takes from the rest.
        painter.drawImage(140, 0, page.image, 16, 0);
        painter.fillRect(QRect(138, 0, 2, screen.height()), QColor(120, 140, 200));
        painter.fillRect(QRect(140, 0, screen.width() - 140, 18), QColor(150, 160, 190));
        painter.end();
        TesseractScreenText reader(RenderedText::screenShowing(screen));
        for (int i = 0; i < 3; ++i) {
            const RenderedText::Word& word = page.words[i];
            const QPointF point = word.box.center() + QPointF(140 - 16, 0);
            EXPECT_EQ(RenderedText::bare(wordAt(
                          finish(reader.read(cropAround(point), Layout::aroundPoint, 2s)), point)),
                      RenderedText::bare(word.text));
        }
    }
}

// Reads that cannot succeed end with a clear outcome, and the reader keeps working.
class ScreenTextFaults : public testing::Test {
protected:
    RenderedText::Page page = RenderedText::render({u"DejaVu Sans"_s, 15, Qt::white, Qt::black},
                                                   RenderedText::paragraphs()[0]);

    static QString firstWordOf(ScreenText& reader, const RenderedText::Page& page) {
        const QPointF point = page.words[0].box.center();
        return RenderedText::bare(
            wordAt(finish(reader.read(cropAround(point), Layout::aroundPoint, 2s)), point));
    }
};

TEST_F(ScreenTextFaults, aSinglePixelReadsNoWords) {
    TesseractScreenText reader(RenderedText::screenShowing(page.image));
    const auto outcome = finish(reader.read(QRect(30, 30, 1, 1), Layout::block, 2s));
    ASSERT_TRUE(std::holds_alternative<Recognition>(outcome));
    EXPECT_EQ(std::get<Recognition>(outcome).area, QRect(30, 30, 1, 1));
    EXPECT_TRUE(std::get<Recognition>(outcome).words.isEmpty());
}

TEST_F(ScreenTextFaults, anAreaOffTheScreenFailsToCapture) {
    TesseractScreenText reader(RenderedText::screenShowing(page.image));
    EXPECT_EQ(failureOf(finish(reader.read(QRect(-400, -100, 320, 64), Layout::aroundPoint, 2s))),
              Failure::captureFailed);
    EXPECT_EQ(firstWordOf(reader, page), u"The"_s);
}

TEST_F(ScreenTextFaults, noiseGivesFewWordsOrRunsOutOfTime) {
    QImage noise(1280, 800, QImage::Format_RGB32);
    QRandomGenerator random(7);
    for (int y = 0; y < noise.height(); ++y) {
        auto* row = reinterpret_cast<QRgb*>(noise.scanLine(y));
        for (int x = 0; x < noise.width(); ++x)
            row[x] = 0xff000000u | (random.generate() & 0xffffffu);
    }
    TesseractScreenText reader(RenderedText::screenShowing(noise));
    const auto region = finish(reader.read(noise.rect(), Layout::block, 3s));
    if (const auto* recognition = std::get_if<Recognition>(&region))
        EXPECT_LE(recognition->words.size(), 20);
    else
        EXPECT_EQ(std::get<Failure>(region), Failure::timedOut);
    const auto point = finish(reader.read(QRect(480, 368, 320, 64), Layout::aroundPoint, 2s));
    ASSERT_TRUE(std::holds_alternative<Recognition>(point));
    EXPECT_LE(std::get<Recognition>(point).words.size(), 5);
}

TEST_F(ScreenTextFaults, aTightLimitStopsABigReadAndTheNextReadWorks) {
    const RenderedText::Page big = RenderedText::render(
        {u"DejaVu Serif"_s, 12, Qt::white, Qt::black},
        (RenderedText::paragraphs() + RenderedText::paragraphs()).join(u' '), {1280, 800});
    TesseractScreenText reader(RenderedText::screenShowing(big.image));
    // Loaded first, so the limit runs out inside the recognition rather than before it.
    EXPECT_EQ(firstWordOf(reader, big), u"The"_s);
    EXPECT_EQ(failureOf(finish(reader.read(big.image.rect(), Layout::block, 50ms))),
              Failure::timedOut);
    EXPECT_EQ(firstWordOf(reader, big), u"The"_s);
}

TEST_F(ScreenTextFaults, missingLanguageDataIsEngineMissingUntilItIsBack) {
    const QTemporaryDir empty;
    const QByteArray before = qgetenv("TESSDATA_PREFIX");
    qputenv("TESSDATA_PREFIX", empty.path().toLocal8Bit());
    TesseractScreenText reader(RenderedText::screenShowing(page.image));
    EXPECT_FALSE(reader.hasEngine());
    reader.prepare();
    EXPECT_EQ(failureOf(finish(reader.read(QRect(0, 0, 320, 64), Layout::aroundPoint, 2s))),
              Failure::engineMissing);
    if (before.isEmpty())
        qunsetenv("TESSDATA_PREFIX");
    else
        qputenv("TESSDATA_PREFIX", before);
    // Released and asked again, it looks for the data afresh.
    EXPECT_TRUE(reader.hasEngine());
    reader.release();
    EXPECT_EQ(firstWordOf(reader, page), u"The"_s);
}

TEST_F(ScreenTextFaults, aNewerReadReplacesOneThatWaits) {
    // The first read holds the recognition thread in its capture until the test lets go.
    auto gate = std::make_shared<std::binary_semaphore>(0);
    auto calls = std::make_shared<std::atomic<int>>(0);
    const ScreenGrab show = RenderedText::screenShowing(page.image)();
    TesseractScreenText reader([=] {
        return ScreenGrab([=](QRect area) {
            if ((*calls)++ == 0)
                gate->acquire();
            return show(area);
        });
    });
    const QPointF point = page.words[0].box.center();
    RunningTask first(reader.read(cropAround(point), Layout::aroundPoint, 5s));
    ASSERT_TRUE(QTest::qWaitFor([&] { return calls->load() == 1; }, 5000));
    RunningTask waiting(reader.read(cropAround(point), Layout::aroundPoint, 5s));
    RunningTask newest(reader.read(cropAround(point), Layout::aroundPoint, 5s));
    EXPECT_EQ(failureOf(waiting.outcome()), Failure::superseded);
    EXPECT_FALSE(first.finished());
    gate->release();
    EXPECT_EQ(RenderedText::bare(wordAt(first.outcome(), point)), u"The"_s);
    EXPECT_EQ(RenderedText::bare(wordAt(newest.outcome(), point)), u"The"_s);
}

TEST_F(ScreenTextFaults, aWaylandSessionIsNotAuthorized) {
    qputenv("WAYLAND_DISPLAY", "wayland-0");
    TesseractScreenText reader(RenderedText::screenShowing(page.image));
    EXPECT_EQ(failureOf(finish(reader.read(QRect(0, 0, 320, 64), Layout::aroundPoint, 2s))),
              Failure::notAuthorized);
    qunsetenv("WAYLAND_DISPLAY");
    EXPECT_EQ(firstWordOf(reader, page), u"The"_s);
}
