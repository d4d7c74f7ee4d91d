#pragma once

#include "platform/ScreenText.h"
#include "platform/linux/screen/ScreenGrab.h"

#include <memory>

// Screen text read by Tesseract on a thread of its own, which owns the engine and the
// screen grab. Reads are answered on the main thread; one runs at a time, and a newer read
// replaces one still waiting.
class TesseractScreenText final : public ScreenText {
public:
    // `grabber` is called once, on the recognition thread.
    explicit TesseractScreenText(ScreenGrabFactory grabber);
    ~TesseractScreenText() override;

    bool hasEngine() const override;
    void prepare() override;
    void release() override;
    QCoro::Task<Outcome> read(QRect area, Layout layout, std::chrono::milliseconds limit) override;

private:
    struct Worker;
    std::shared_ptr<Worker> m_worker;
};
