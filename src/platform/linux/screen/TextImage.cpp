#include "platform/linux/screen/TextImage.h"

#include <QList>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <optional>

namespace {

// The recogniser reads best when a line of text (ascender to descender) is about this tall;
// screen text of 11–20 px is two to four times smaller.
constexpr double targetLineHeight = 40;
constexpr double maxScale = 4;
// Keeps a screen-sized region from growing into an image too large to read in time.
constexpr qint64 maxScaledPixels = 12'000'000;
constexpr int margin = 10;
// Below this contrast between ground and ink there is no text to read.
constexpr int minContrast = 40;

struct InkBand {
    int first;
    int last;
    int height() const { return last - first + 1; }
};

int mostCommonLevel(const QImage& gray) {
    std::array<int, 256> counts{};
    for (int y = 0; y < gray.height(); ++y) {
        const uchar* row = gray.constScanLine(y);
        for (int x = 0; x < gray.width(); ++x)
            ++counts[row[x]];
    }
    return int(std::max_element(counts.begin(), counts.end()) - counts.begin());
}

int darkestLevel(const QImage& gray) {
    int darkest = 255;
    for (int y = 0; y < gray.height(); ++y) {
        const uchar* row = gray.constScanLine(y);
        darkest = std::min<int>(darkest, *std::min_element(row, row + gray.width()));
    }
    return darkest;
}

// Runs of rows holding ink, top to bottom.
QList<InkBand> inkBands(const QImage& gray, int background) {
    QList<InkBand> bands;
    const int darkest = darkestLevel(gray);
    if (background - darkest < minContrast)
        return bands;
    const int threshold = (background + darkest) / 2;
    int start = -1; // the first row of the band being walked, if any
    for (int y = 0; y <= gray.height(); ++y) {
        bool ink = false;
        if (y < gray.height()) {
            const uchar* row = gray.constScanLine(y);
            ink = std::any_of(row, row + gray.width(), [&](uchar v) { return v < threshold; });
        }
        if (ink && start < 0)
            start = y;
        if (!ink && start >= 0) {
            bands.append({start, y - 1});
            start = -1;
        }
    }
    return bands;
}

// The line under the pointer: the band through the centre row, or one a row or two away
// (the pointer resting just above or below the glyphs).
std::optional<InkBand> centreLine(const QList<InkBand>& bands, int height) {
    const int centre = height / 2;
    constexpr int reach = 2;
    for (const InkBand& band : bands)
        if (band.first - reach <= centre && centre <= band.last + reach)
            return band;
    return std::nullopt;
}

int typicalHeight(const QList<InkBand>& bands) {
    // Rules, underlines and specks are not lines of text.
    QList<int> heights;
    for (const InkBand& band : bands)
        if (band.height() >= 5)
            heights.append(band.height());
    if (heights.isEmpty())
        return 0;
    std::nth_element(heights.begin(), heights.begin() + heights.size() / 2, heights.end());
    return heights[heights.size() / 2];
}

} // namespace

TextImage prepareTextImage(const QImage& capture, bool aroundPoint) {
    TextImage prepared;
    prepared.margin = margin;
    QImage gray = capture.convertToFormat(QImage::Format_Grayscale8);
    int background = mostCommonLevel(gray);
    // Light text on a dark ground (dark themes, terminals) is turned the way it was trained.
    if (background < 128) {
        gray.invertPixels();
        background = 255 - background;
    }
    const QList<InkBand> bands = inkBands(gray, background);

    QRect crop = gray.rect();
    int lineHeight = typicalHeight(bands);
    if (aroundPoint) {
        const std::optional<InkBand> line = centreLine(bands, gray.height());
        // A band filling most of the capture is a picture or lines run together: read it all.
        if (line && line->height() <= gray.height() * 6 / 10) {
            const int pad = std::max(2, line->height() / 5);
            crop = QRect(0, line->first - pad, gray.width(), line->height() + 2 * pad)
                       .intersected(gray.rect());
            lineHeight = line->height();
            prepared.oneLine = true;
        }
    }
    double scale = lineHeight > 0 ? std::clamp(targetLineHeight / lineHeight, 1.0, maxScale) : 1.0;
    const double pixels = double(crop.width()) * crop.height();
    if (pixels * scale * scale > double(maxScaledPixels))
        scale = std::max(1.0, std::sqrt(double(maxScaledPixels) / pixels));
    prepared.scale = scale;
    prepared.origin = crop.topLeft();

    QImage body = gray.copy(crop);
    if (scale != 1.0)
        body = body.scaled(qRound(crop.width() * scale), qRound(crop.height() * scale),
                           Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
                   .convertToFormat(QImage::Format_Grayscale8);
    prepared.gray =
        QImage(body.width() + 2 * margin, body.height() + 2 * margin, QImage::Format_Grayscale8);
    prepared.gray.fill(255);
    for (int y = 0; y < body.height(); ++y)
        std::memcpy(prepared.gray.scanLine(y + margin) + margin, body.constScanLine(y),
                    size_t(body.width()));
    return prepared;
}
