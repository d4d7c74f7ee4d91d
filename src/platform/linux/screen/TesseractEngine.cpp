#include "platform/linux/screen/TesseractEngine.h"

#include <QFileInfo>
#include <string>
#include <tesseract/baseapi.h>
#include <tesseract/ocrclass.h>
#include <tesseract/resultiterator.h>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

const QString systemDataFolder = u"/usr/share/tesseract-ocr/5/tessdata"_s;
constexpr const char* language = "eng";

// The word lists pull the line model toward dictionary words; screen text holds names and
// made-up words, and the tests' prose reads as exactly without them.
const std::vector<std::string> loadVariables = {"load_system_dawg", "load_freq_dawg"};
const std::vector<std::string> loadValues = {"0", "0"};

bool cancelRequested(void* stop, int) {
    return static_cast<const std::atomic<bool>*>(stop)->load(std::memory_order_relaxed);
}

} // namespace

QString TesseractEngine::dataFolder() {
    const QString prefix = qEnvironmentVariable("TESSDATA_PREFIX");
    return prefix.isEmpty() ? systemDataFolder : prefix;
}

bool TesseractEngine::isInstalled(const QString& dataFolder) {
    return QFileInfo(dataFolder + u"/eng.traineddata"_s).isReadable();
}

std::unique_ptr<TesseractEngine> TesseractEngine::load(const QString& dataFolder) {
    // Checked first: Tesseract says a missing model on standard error only.
    if (!isInstalled(dataFolder))
        return nullptr;
    auto api = std::make_unique<tesseract::TessBaseAPI>();
    const QByteArray folder = QFileInfo(dataFolder).absoluteFilePath().toLocal8Bit();
    if (api->Init(folder.constData(), language, tesseract::OEM_LSTM_ONLY, nullptr, 0,
                  &loadVariables, &loadValues, false) != 0)
        return nullptr;
    // Its progress notes would go to standard error.
    api->SetVariable("debug_file", "/dev/null");
    return std::unique_ptr<TesseractEngine>(new TesseractEngine(std::move(api)));
}

TesseractEngine::TesseractEngine(std::unique_ptr<tesseract::TessBaseAPI> api)
    : m_api(std::move(api)) {}

TesseractEngine::~TesseractEngine() {
    if (m_api)
        m_api->End();
}

TesseractEngine::Result TesseractEngine::recognise(const TextImage& image,
                                                   Clock::time_point deadline,
                                                   const std::atomic<bool>& stop) {
    const QImage& gray = image.gray;
    m_api->SetPageSegMode(image.oneLine ? tesseract::PSM_SINGLE_LINE : tesseract::PSM_AUTO);
    m_api->SetImage(gray.constBits(), gray.width(), gray.height(), 1, int(gray.bytesPerLine()));
    // Screens are about 96 dots per inch; the scaling made the glyphs that much finer.
    m_api->SetSourceResolution(qRound(96 * image.scale));

    tesseract::ETEXT_DESC monitor;
    monitor.cancel = &cancelRequested;
    monitor.cancel_this = const_cast<std::atomic<bool>*>(&stop);
    monitor.end_time = deadline;
    const int status = m_api->Recognize(&monitor);
    if (stop.load())
        return Stopped::cancelled;
    if (Clock::now() > deadline) {
        m_api->Clear();
        return Stopped::deadline;
    }
    if (status != 0) {
        m_api->Clear();
        return QList<Word>();
    }

    QList<Word> words;
    std::unique_ptr<tesseract::ResultIterator> it(m_api->GetIterator());
    // Lines are counted over those that gave words, so the numbers have no gaps.
    int engineLine = -1;
    int lastEngineLine = -1;
    int line = -1;
    if (it && !it->Empty(tesseract::RIL_WORD)) {
        do {
            if (it->IsAtBeginningOf(tesseract::RIL_TEXTLINE))
                ++engineLine;
            std::unique_ptr<char[]> text(it->GetUTF8Text(tesseract::RIL_WORD));
            const QString word = QString::fromUtf8(text.get()).trimmed();
            int left, top, right, bottom;
            if (word.isEmpty() ||
                !it->BoundingBox(tesseract::RIL_WORD, &left, &top, &right, &bottom))
                continue;
            const QRectF box(image.toCapture(QPointF(left, top)),
                             image.toCapture(QPointF(right, bottom)));
            if (engineLine != lastEngineLine) {
                lastEngineLine = engineLine;
                ++line;
            }
            words.append(Word{word, box, it->Confidence(tesseract::RIL_WORD), line});
        } while (it->Next(tesseract::RIL_WORD));
    }
    m_api->Clear();
    return words;
}
