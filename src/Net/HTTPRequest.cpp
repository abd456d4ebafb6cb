#include "Net/HTTPRequest.h"

#include "Support/Trap.h"
#include "Support/Utf8.h"

#include <algorithm>
#include <optional>

using namespace Qt::StringLiterals;

namespace {

constexpr QByteArrayView endOfHead = "\r\n\r\n";
constexpr qsizetype longestHead = 65535;

/// The text up to the first separator, having passed over those in front of it. What is left of
/// `text` begins behind the separator.
QStringView takePiece(QStringView& text, QStringView separator)
{
    while (text.startsWith(separator))
        text = text.sliced(separator.size());
    const qsizetype end = text.indexOf(separator);
    const QStringView piece = end < 0 ? text : text.first(end);
    text = end < 0 ? QStringView() : text.sliced(end + separator.size());
    return piece;
}

std::optional<char> hexDigit(char character)
{
    if (character >= '0' && character <= '9')
        return static_cast<char>(character - '0');
    if (character >= 'a' && character <= 'f')
        return static_cast<char>(character - 'a' + 10);
    if (character >= 'A' && character <= 'F')
        return static_cast<char>(character - 'A' + 10);
    return std::nullopt;
}

/// Nothing when an escape is incomplete or the bytes are not UTF-8. A plus sign stays one.
std::optional<QString> percentDecoded(QStringView text)
{
    const QByteArray encoded = text.toUtf8();
    QByteArray bytes;
    bytes.reserve(encoded.size());
    for (qsizetype i = 0; i < encoded.size(); ++i) {
        if (encoded[i] != '%') {
            bytes.append(encoded[i]);
            continue;
        }
        if (i + 2 >= encoded.size())
            return std::nullopt;
        const auto high = hexDigit(encoded[++i]);
        const auto low = hexDigit(encoded[++i]);
        if (!high || !low)
            return std::nullopt;
        bytes.append(static_cast<char>(*high << 4 | *low));
    }
    return decodeUtf8(bytes);
}

void storeParameter(QHash<QString, QString>& query, QStringView parameter)
{
    QStringView value = parameter;
    const QStringView key = takePiece(value, u"=");
    if (key.isEmpty())
        trap(u"a parameter of a web request is made of \"=\" only"_s);
    query.insert(
        percentDecoded(key).value_or(key.toString()), percentDecoded(value).value_or(u""_s));
}

} // namespace

RequestHead readRequest(QByteArrayView received, qsizetype known)
{
    // The end may have begun in what was there before.
    const qsizetype end = received.indexOf(endOfHead, std::max<qsizetype>(0, known - 3));
    if (end >= 0)
        return {RequestHead::State::complete, repairUtf8(received.first(end))};
    if (received.size() > longestHead)
        return {RequestHead::State::tooLong};
    return {};
}

QStringView requestTarget(QStringView header)
{
    QStringView line = takePiece(header, u"\r\n");
    takePiece(line, u" ");
    const QStringView target = takePiece(line, u" ");
    return target.isEmpty() ? QStringView(u"/") : target;
}

ParsedTarget parseTarget(QStringView target)
{
    const qsizetype mark = target.indexOf(u'?');
    if (mark < 0)
        return {target.toString(), {}};
    ParsedTarget parsed {target.first(mark).toString(), {}};
    QStringView query = target.sliced(mark + 1);
    for (QStringView parameter; !(parameter = takePiece(query, u"&")).isEmpty();)
        storeParameter(parsed.query, parameter);
    return parsed;
}

QByteArray encode(const Response& response)
{
    QByteArray bytes;
    bytes.reserve(response.body.size() + 256);
    bytes.append("HTTP/1.1 ")
        .append(response.status)
        .append("\r\nContent-Type: ")
        .append(response.contentType)
        .append("\r\nContent-Length: ")
        .append(QByteArray::number(response.body.size()))
        .append("\r\nCache-Control: no-store\r\n"
                "Access-Control-Allow-Origin: *\r\n"
                "Connection: close\r\n\r\n")
        .append(response.body);
    return bytes;
}
