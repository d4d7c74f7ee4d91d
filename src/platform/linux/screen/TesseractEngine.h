#pragma once

#include "platform/linux/screen/TextImage.h"

#include <QList>
#include <QRectF>
#include <QString>
#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <variant>

namespace tesseract {
class TessBaseAPI;
}

// One Tesseract instance with its English model. Not thread-safe: one per thread, created,
// used and destroyed there.
class TesseractEngine {
public:
    struct Word {
        QString text;
        QRectF box; // capture coordinates
        double confidence;
        int line;
    };
    enum class Stopped { deadline, cancelled };
    using Result = std::variant<QList<Word>, Stopped>;
    using Clock = std::chrono::steady_clock;

    // The folder holding the English model: TESSDATA_PREFIX when set, else the system's.
    static QString dataFolder();
    // The English model is there to load (a look at one file).
    static bool isInstalled(const QString& dataFolder);
    // Nothing when the model is missing or does not load.
    static std::unique_ptr<TesseractEngine> load(const QString& dataFolder);
    ~TesseractEngine();

    // Reads the words of `image`, in reading order. Stops at `deadline`, or as soon as `stop`
    // turns true.
    Result recognise(const TextImage& image, Clock::time_point deadline,
                     const std::atomic<bool>& stop);

private:
    explicit TesseractEngine(std::unique_ptr<tesseract::TessBaseAPI> api);
    std::unique_ptr<tesseract::TessBaseAPI> m_api;
};
