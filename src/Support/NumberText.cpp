#include "Support/NumberText.h"

#include <QByteArray>

#include <algorithm>
#include <cstdlib>

#include <locale.h>

std::optional<double> parseNumber(QStringView text)
{
    static const locale_t cLocale = newlocale(LC_ALL_MASK, "C", nullptr);

    // strtod would skip white space, and would take a parenthesis after "nan".
    const auto isPossible = [](QChar c) { return c.unicode() < 0x80 && c != u'('; };
    if (text.isEmpty() || text.front().isSpace() || !std::ranges::all_of(text, isPossible))
        return std::nullopt;
    const QByteArray bytes = text.toLatin1();
    char* end = nullptr;
    const double value = strtod_l(bytes.constData(), &end, cLocale);
    if (end != bytes.constEnd())
        return std::nullopt;
    return value;
}
