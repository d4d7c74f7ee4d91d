// libFuzzer target: arbitrary bytes as the progress stream of a model download, fed in the
// pieces the network might cut it into.
#include "FuzzCheck.h"
#include "platform/linux/translation/OllamaPullStream.h"

#include <cstdint>

namespace {

struct State {
    double fraction;
    bool succeeded;
    std::optional<QString> error;
    bool operator==(const State&) const = default;
};

State stateOf(const OllamaPullStream& stream) {
    return {stream.fraction(), stream.succeeded(), stream.error()};
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0)
        return 0;
    // The first byte sets where the pieces end; the rest is the stream.
    const int step = 1 + data[0] % 64;
    const QByteArray body =
        QByteArray::fromRawData(reinterpret_cast<const char*>(data) + 1, qsizetype(size) - 1);

    OllamaPullStream whole;
    whole.feed(body);
    whole.finish();

    OllamaPullStream pieces;
    double shown = 0;
    for (qsizetype at = 0; at < body.size(); at += step) {
        pieces.feed(body.mid(at, step));
        require(pieces.fraction() >= shown, "the progress never goes back");
        require(pieces.fraction() >= 0 && pieces.fraction() <= 1, "the progress is a fraction");
        shown = pieces.fraction();
    }
    pieces.finish();
    require(pieces.fraction() >= shown && pieces.fraction() <= 1, "the last progress is sane");
    require(pieces.fraction() < 1 || pieces.succeeded(), "only the server's word finishes");

    // Lines longer than a status can be are refused as they grow, so only below that size
    // does the cutting make no difference.
    if (body.size() <= 64 * 1024)
        require(stateOf(pieces) == stateOf(whole), "where the pieces end makes no difference");
    return 0;
}
