#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>

/// The little of HTTP that the web remote speaks. Whatever comes in, methods, versions and header
/// fields are not looked at.

/// How far a peer has come with the head of its request.
struct RequestHead {
    enum class State { incomplete, complete, tooLong } state = State::incomplete;
    /// The complete head without the blank line that ends it; U+FFFD for what is not UTF-8.
    QString text = {};
};

/// Looks for a head in everything that a peer has sent; the first `known` bytes have been looked
/// through before. More than 65,535 bytes without an end are too long.
[[nodiscard]] RequestHead readRequest(QByteArrayView received, qsizetype known);

/// The second word of the first line, "/" when there is none.
[[nodiscard]] QStringView requestTarget(QStringView header);

struct ParsedTarget {
    /// Everything before the first "?", as it is.
    QString path;
    QHash<QString, QString> query;
};

/// Takes a target apart. A key that is badly percent-encoded is kept raw, such a value is empty.
/// Stops the process (see trap()) on a part of the query that is made of "=" only.
[[nodiscard]] ParsedTarget parseTarget(QStringView target);

/// `status` is a number and its words: "200 OK".
struct Response {
    QByteArrayView status;
    QByteArrayView contentType;
    QByteArray body;
};

/// The response as it goes over the line.
[[nodiscard]] QByteArray encode(const Response& response);
