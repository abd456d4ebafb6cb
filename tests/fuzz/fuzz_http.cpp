// Everything that a web browser sends, from its bytes to the answer. The first byte says in what
// pieces the rest arrives.

#include "Fuzzing.h"
#include "ThrowingTrap.h"

#include "Net/HTTPRequest.h"
#include "Net/WebRemoteServer.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

/// The one request that may stop the process.
bool hasNamelessParameter(QStringView target)
{
    const qsizetype mark = target.indexOf(u'?');
    if (mark < 0)
        return false;
    const auto parts = target.sliced(mark + 1).split(u'&', Qt::SkipEmptyParts);
    return std::ranges::any_of(parts, [](QStringView part) {
        return std::ranges::all_of(part, [](QChar character) { return character == u'='; });
    });
}

RequestHead readInPieces(QByteArrayView bytes, qsizetype pieceSize)
{
    for (qsizetype known = 0; known < bytes.size();) {
        const qsizetype size = std::min(known + pieceSize, bytes.size());
        RequestHead head = readRequest(bytes.first(size), known);
        if (head.state != RequestHead::State::incomplete)
            return head;
        known = size;
    }
    return {};
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0)
        return 0;
    const QByteArrayView bytes(data + 1, static_cast<qsizetype>(size - 1));
    const RequestHead head = readInPieces(bytes, data[0] + 1);
    const RequestHead whole = readRequest(bytes, 0);
    if (whole.state != RequestHead::State::complete) {
        require(head.state == whole.state, "pieces change the state");
        return 0;
    }
    // A head that is found at once may have been given up halfway, but not missed.
    require(head.state != RequestHead::State::incomplete, "pieces hide the end");
    if (head.state == RequestHead::State::complete)
        require(head.text == whole.text, "pieces change the head");

    static WebRemoteServer server(0);
    server.onCommand = [](const QString& text) { require(!text.isEmpty(), "empty command"); };
    const bool mayTrap = hasNamelessParameter(requestTarget(whole.text));
    try {
        const QByteArray response = server.respond(whole.text);
        require(!mayTrap && response.startsWith("HTTP/1.1 "), "a wrong answer");
    } catch (const Trapped&) {
        require(mayTrap, "stopped without a reason");
    }
    return 0;
}
