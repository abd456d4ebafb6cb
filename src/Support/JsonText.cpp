#include "Support/JsonText.h"

#include <algorithm>

namespace {

bool needsEscape(char byte)
{
    return byte == '"' || byte == '\\' || (byte >= 0 && byte < 0x20);
}

bool isPlain(QChar character)
{
    const char16_t code = character.unicode();
    return code >= 0x20 && code < 0x7f && code != u'"' && code != u'\\';
}

void appendPlain(QByteArray& json, QStringView text)
{
    const qsizetype size = json.size();
    json.resize(size + text.size());
    std::ranges::transform(text, json.data() + size,
        [](QChar character) { return static_cast<char>(character.unicode()); });
}

void appendEscaped(QByteArray& json, QStringView text)
{
    constexpr QByteArrayView digits = "0123456789abcdef";
    for (const char byte : text.toUtf8()) {
        if (!needsEscape(byte))
            json.append(byte);
        else if (byte >= 0x20)
            json.append('\\').append(byte);
        else
            json.append("\\u00").append(digits[byte >> 4]).append(digits[byte & 0xf]);
    }
}

} // namespace

void appendJsonString(QByteArray& json, QStringView text)
{
    json.append('"');
    // Most texts are times, colours and names of states.
    if (std::ranges::all_of(text, isPlain))
        appendPlain(json, text);
    else
        appendEscaped(json, text);
    json.append('"');
}
