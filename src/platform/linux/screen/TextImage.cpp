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

int mostCommonLevel(const QImage& gray, const QRect& within) {
    std::array<int, 256> counts{};
    for (int y = within.top(); y <= within.bottom(); ++y) {
        const uchar* row = gray.constScanLine(y);
        for (int x = within.left(); x <= within.right(); ++x)
            ++counts[row[x]];
    }
    return int(std::max_element(counts.begin(), counts.end()) - counts.begin());
}

int darkestLevel(const QImage& gray, const QRect& within) {
    int darkest = 255;
    for (int y = within.top(); y <= within.bottom(); ++y) {
        const uchar* row = gray.constScanLine(y);
        darkest = std::min<int>(darkest,
                                *std::min_element(row + within.left(), row + within.right() + 1));
    }
    return darkest;
}

// Columns inked on most rows: the edge of a window or a frame, or another window's dark
// ground beside this one. They are not text, and they would join every row into one band.
QList<bool> ruleColumns(const QImage& gray, int threshold) {
    QList<int> inkRows(gray.width(), 0);
    for (int y = 0; y < gray.height(); ++y) {
        const uchar* row = gray.constScanLine(y);
        for (int x = 0; x < gray.width(); ++x)
            inkRows[x] += row[x] < threshold;
    }
    QList<bool> rule(gray.width(), false);
    for (int x = 0; x < gray.width(); ++x)
        rule[x] = inkRows[x] * 10 > gray.height() * 7;
    return rule;
}

// Runs of rows holding ink, top to bottom, looking only at the columns `from`…`to` that are
// not rules.
QList<InkBand> inkBands(const QImage& gray, int threshold, const QList<bool>& rule, int from,
                        int to) {
    QList<InkBand> bands;
    int start = -1; // the first row of the band being walked, if any
    for (int y = 0; y <= gray.height(); ++y) {
        bool ink = false;
        if (y < gray.height()) {
            const uchar* row = gray.constScanLine(y);
            for (int x = from; x < to && !ink; ++x)
                ink = row[x] < threshold && !rule[x];
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

// The columns around the centre up to the nearest rule on either side: the pane the pointer
// is in.
QRect paneAroundCentre(const QImage& gray, const QList<bool>& rule) {
    const int centre = gray.width() / 2;
    int left = centre;
    while (left > 0 && !rule[left - 1])
        --left;
    int right = centre;
    while (right + 1 < gray.width() && !rule[right + 1])
        ++right;
    return QRect(left, 0, right - left + 1, gray.height());
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
    // The ground is judged where the pointer is: around it the capture may take in another
    // window, or the desktop, of another colour.
    const QRect middle = aroundPoint ? QRect(gray.width() / 4, gray.height() / 4, gray.width() / 2,
                                             gray.height() / 2)
                                           .intersected(gray.rect())
                                     : gray.rect();
    int background = middle.isEmpty() ? 255 : mostCommonLevel(gray, middle);
    // Light text on a dark ground (dark themes, terminals) is turned the way it was trained.
    if (background < 128) {
        gray.invertPixels();
        background = 255 - background;
    }
    QList<InkBand> bands;
    QRect pane = gray.rect();
    const int darkest = middle.isEmpty() ? 255 : darkestLevel(gray, middle);
    if (background - darkest >= minContrast) {
        const int threshold = (background + darkest) / 2;
        const QList<bool> rule = ruleColumns(gray, threshold);
        if (aroundPoint && !rule[gray.width() / 2])
            pane = paneAroundCentre(gray, rule);
        // Around a point, the line is found near the point: text farther out may sit higher
        // or lower (another column, a margin note) and would merge with it.
        const int from = aroundPoint ? std::max(pane.left(), gray.width() / 4) : 0;
        const int to = aroundPoint ? std::min(pane.right() + 1, gray.width() - gray.width() / 4)
                                   : gray.width();
        bands = inkBands(gray, threshold, rule, from, to);
    }

    QRect crop = gray.rect();
    int lineHeight = typicalHeight(bands);
    if (aroundPoint) {
        const std::optional<InkBand> line = centreLine(bands, gray.height());
        // A band filling most of the capture is a picture or lines run together: read it all.
        if (line && line->height() <= gray.height() * 6 / 10) {
            const int pad = std::max(2, line->height() / 5);
            crop = QRect(pane.left(), line->first - pad, pane.width(), line->height() + 2 * pad)
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
