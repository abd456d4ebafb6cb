#include "Support/Utf8.h"

#include <QStringDecoder>

std::optional<QString> decodeUtf8(QByteArrayView bytes)
{
    if (!bytes.isValidUtf8())
        return std::nullopt;
    constexpr auto keepByteOrderMark =
        QStringDecoder::Flag::Stateless | QStringDecoder::Flag::ConvertInitialBom;
    return QStringDecoder(QStringDecoder::Utf8, keepByteOrderMark)(bytes);
}
