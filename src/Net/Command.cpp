#include "Net/Command.h"

#include "Support/NumberText.h"
#include "Support/Overloaded.h"

#include <QTextBoundaryFinder>

#include <array>
#include <charconv>
#include <cmath>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

using Action = Command::Action;

constexpr std::array<std::pair<QStringView, Action>, 15> keywords {{
    {u"STOPTIME", Action::stop},
    {u"START", Action::start},
    {u"TIME", Action::toggleClock},
    {u"TIMEOFDAY", Action::toggleClock},
    {u"BLACK", Action::toggleBlackout},
    {u"PAUSE", Action::pause},
    {u"FLASH", Action::strobe},
    {u"STROBE", Action::strobe},
    {u"ATTENTION", Action::strobe},
    {u"+1", Action::addMinute},
    {u"-1", Action::subtractMinute},
    {u"CLEARMSG", Action::clearMessage},
    {u"RESET", Action::reset},
    {u"NEXT", Action::nextCue},
    {u"PREV", Action::prevCue},
}};

constexpr std::array<std::pair<Action, QStringView>, 12> actionNames {{
    {Action::start, u"start"},
    {Action::stop, u"stop"},
    {Action::toggleClock, u"toggleClock"},
    {Action::toggleBlackout, u"toggleBlackout"},
    {Action::pause, u"pause"},
    {Action::strobe, u"strobe"},
    {Action::addMinute, u"addMinute"},
    {Action::subtractMinute, u"subtractMinute"},
    {Action::clearMessage, u"clearMessage"},
    {Action::reset, u"reset"},
    {Action::nextCue, u"nextCue"},
    {Action::prevCue, u"prevCue"},
}};

bool isAscii(QStringView text)
{
    return std::ranges::all_of(text, [](QChar c) { return c.unicode() < 0x80; });
}

/// No keyword or prefix is longer, however its characters are composed. What lies behind has no
/// part in finding one, and normalizing it could take seconds.
constexpr qsizetype longestKey = 32;

/// The upper-case copy of the line's head that keywords are looked for in, in a form in which
/// texts that differ only in how their characters are composed are equal.
QString keyOf(QStringView line)
{
    QString key = line.first(std::min(line.size(), longestKey)).toString().toUpper();
    return isAscii(key) ? key : key.normalized(QString::NormalizationForm_D);
}

/// The position after the first `count` user-perceived characters.
qsizetype positionAfter(qsizetype count, QStringView text)
{
    if (isAscii(text.first(std::min(count + 1, text.size()))))
        return std::min(count, text.size());
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text.data(), text.size());
    for (; count > 0 && finder.position() < text.size(); --count)
        finder.toNextBoundary();
    return finder.position();
}

/// Whether the key begins with the whole characters of `prefix`: a last letter that carries an
/// accent is another letter.
bool hasPrefix(const QString& key, QStringView prefix)
{
    return key.startsWith(prefix) && positionAfter(prefix.size(), key) == prefix.size();
}

bool isSpaceOrTab(QChar c)
{
    return c == u'\t' || c.category() == QChar::Separator_Space;
}

/// What follows the first `count` characters of a trimmed line, without spaces and tabs before it.
/// Line breaks are kept.
QStringView payload(qsizetype count, QStringView line)
{
    QStringView rest = line.sliced(positionAfter(count, line));
    while (!rest.isEmpty() && isSpaceOrTab(rest.front()))
        rest = rest.sliced(1);
    return rest;
}

/// At most one sign, then decimal digits and nothing else, within 64 bits.
std::optional<qint64> integer(QStringView text)
{
    if (text.startsWith(u'+') && !text.startsWith(u"+-"))
        text = text.sliced(1);
    const QByteArray bytes = text.toUtf8();
    qint64 value = 0;
    const auto [end, error] = std::from_chars(bytes.begin(), bytes.end(), value);
    if (error != std::errc() || end != bytes.end())
        return std::nullopt;
    return value;
}

/// The operation with its payload, if there is one.
template <typename Operation, typename Payload>
std::optional<Command> commandWith(const std::optional<Payload>& payload)
{
    if (!payload)
        return std::nullopt;
    return Command {Operation {*payload}};
}

std::optional<Command> parseSet(QStringView text)
{
    return commandWith<Command::Set>(parseNumber(text));
}

std::optional<Command> parseGo(QStringView text)
{
    if (text.isEmpty())
        return Command {Action::start};
    return commandWith<Command::Go>(parseNumber(text));
}

std::optional<Command> parseCue(QStringView text)
{
    return commandWith<Command::Cue>(integer(text));
}

std::optional<Command> parseMessage(QStringView text)
{
    return Command {Command::Message {text.toString()}};
}

using PayloadParser = std::optional<Command> (*)(QStringView);

constexpr std::array<std::pair<QStringView, PayloadParser>, 4> prefixes {{
    {u"SET", parseSet},
    {u"GO", parseGo},
    {u"CUE", parseCue},
    {u"MSG", parseMessage},
}};

/// The shortest digits that read back the same, always with a point or an exponent.
QString describe(double value)
{
    if (std::isnan(value))
        return u"nan"_s;
    if (std::isinf(value))
        return value < 0 ? u"-inf"_s : u"inf"_s;
    const double size = std::abs(value);
    const bool isPlain = size == 0 || (size >= 1e-4 && size < 1e16);
    std::array<char, 32> buffer {};
    const auto [end, error] = std::to_chars(buffer.begin(), buffer.end(), value,
        isPlain ? std::chars_format::fixed : std::chars_format::scientific);
    QString text = QString::fromLatin1(buffer.data(), end - buffer.data());
    if (isPlain && !text.contains(u'.'))
        text += u".0";
    return text;
}

/// Line and paragraph separators would break the line that the text is quoted in.
bool isControl(QChar c)
{
    return c.category() == QChar::Other_Control || c.category() == QChar::Separator_Line
        || c.category() == QChar::Separator_Paragraph;
}

QString describe(const QString& text)
{
    QString quoted = u"\""_s;
    for (const QChar c : text) {
        if (c == u'"' || c == u'\\')
            quoted += u'\\';
        if (c == u'\n')
            quoted += u"\\n";
        else if (c == u'\r')
            quoted += u"\\r";
        else if (c == u'\t')
            quoted += u"\\t";
        else if (isControl(c))
            quoted += u"\\u{%1}"_s.arg(c.unicode(), 2, 16, QLatin1Char('0'));
        else
            quoted += c;
    }
    return quoted + u'"';
}

} // namespace

std::optional<Command> Command::parse(QStringView text)
{
    const QStringView line = text.trimmed();
    if (line.isEmpty())
        return std::nullopt;
    const QString key = keyOf(line);
    for (const auto& [keyword, action] : keywords) {
        if (key == keyword && line.size() <= longestKey)
            return Command {action};
    }
    for (const auto& [prefix, parsePayload] : prefixes) {
        if (hasPrefix(key, prefix))
            return parsePayload(payload(prefix.size(), line));
    }
    return std::nullopt;
}

QString Command::description() const
{
    return std::visit(
        Overloaded {
            [](const Set& set) { return u"set(minutes: "_s + describe(set.minutes) + u')'; },
            [](const Go& go) { return u"go(minutes: "_s + describe(go.minutes) + u')'; },
            [](const Message& message) { return u"message("_s + describe(message.text) + u')'; },
            [](const Cue& cue) { return u"cue("_s + QString::number(cue.number) + u')'; },
            [](Action action) {
                return std::ranges::find(
                    actionNames, action, &decltype(actionNames)::value_type::first)
                    ->second.toString();
            },
        },
        operation);
}
