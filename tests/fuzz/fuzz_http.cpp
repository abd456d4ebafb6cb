// Everything that a web browser sends, from its bytes to the answer. The first byte says in what
// pieces the rest arrives.

#include "Net/HTTPRequest.h"
#include "Net/WebRemoteServer.h"
#include "Support/Trap.h"

#include <algorithm>
#include <cstdlib>

using namespace Qt::StringLiterals;

namespace {

struct Trapped { };

[[noreturn]] void fail(const char* reason)
{
    qCritical("%s", reason);
    std::abort();
}

void require(bool condition, const char* reason)
{
    if (!condition)
        fail(reason);
}

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

void checkResponse(const QByteArray& response)
{
    require(response.startsWith("HTTP/1.1 200 OK\r\nContent-Type: ")
            || response.startsWith("HTTP/1.1 404 Not Found\r\nContent-Type: text/plain\r\n"),
        "no status line");
    const qsizetype end = response.indexOf("\r\n\r\n");
    const QByteArray length =
        "\r\nContent-Length: " + QByteArray::number(response.size() - end - 4) + "\r\n";
    require(end > 0 && response.first(end).contains(length), "wrong length");
}

/// The trap, if it closed, had its reason.
void respondTo(const WebRemoteServer& server, const RequestHead& head)
{
    const bool mayTrap = hasNamelessParameter(requestTarget(head.text));
    try {
        const QByteArray response = server.respond(head.text);
        require(!mayTrap, "answered a parameter without a name");
        checkResponse(response);
    } catch (const Trapped&) {
        require(mayTrap, "stopped without a reason");
    }
}

} // namespace

/// Stands in for the one that ends the process.
void trap(const QString& /*reason*/)
{
    throw Trapped();
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static WebRemoteServer server(0);
    server.onCommand = [](const QString& text) { require(!text.isEmpty(), "empty command"); };
    if (size == 0)
        return 0;
    const QByteArrayView bytes(data + 1, static_cast<qsizetype>(size - 1));
    const RequestHead head = readInPieces(bytes, data[0] + 1);
    const RequestHead whole = readRequest(bytes, 0);
    if (whole.state != RequestHead::State::complete) {
        require(head.state == whole.state, "pieces change the state");
        return 0;
    }
    // A head that is found at once may have been given up halfway.
    if (head.state == RequestHead::State::complete)
        require(head.text == whole.text, "pieces change the head");
    respondTo(server, whole);
    return 0;
}
