#include "Support/JsonText.h"

#include <algorithm>

namespace {

bool needsEscape(char byte)
{
    return byte == '"' || byte == '\\' || (byte >= 0 && byte < 0x20);
}

void appendEscaped(QByteArray& json, char byte)
{
    constexpr QByteArrayView digits = "0123456789abcdef";
    if (byte == '"' || byte == '\\') {
        json.append('\\').append(byte);
        return;
    }
    json.append("\\u00").append(digits[byte >> 4]).append(digits[byte & 0xf]);
}

} // namespace

void appendJsonString(QByteArray& json, QStringView text)
{
    const QByteArray bytes = text.toUtf8();
    json.append('"');
    if (std::ranges::none_of(bytes, needsEscape)) {
        json.append(bytes).append('"');
        return;
    }
    for (const char byte : bytes) {
        if (needsEscape(byte))
            appendEscaped(json, byte);
        else
            json.append(byte);
    }
    json.append('"');
}
