#include "Support/Utf8.h"

#include <QStringDecoder>

std::optional<QString> decodeUtf8(QByteArrayView bytes)
{
    if (!bytes.isValidUtf8())
        return std::nullopt;
    return repairUtf8(bytes);
}

QString repairUtf8(QByteArrayView bytes)
{
    constexpr auto keepByteOrderMark =
        QStringDecoder::Flag::Stateless | QStringDecoder::Flag::ConvertInitialBom;
    return QStringDecoder(QStringDecoder::Utf8, keepByteOrderMark)(bytes);
}
