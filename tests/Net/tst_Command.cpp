#include "Net/Command.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

using Texts = std::initializer_list<QStringView>;

/// What a line spells, as the log would write it.
QString spelled(QStringView line)
{
    const std::optional<Command> command = Command::parse(line);
    return command ? command->description() : u"no command"_s;
}

/// Names a row after its line, whatever that consists of.
void addLine(const char* group, const QString& line, const QString& expected = u"no command"_s)
{
    QByteArray name;
    for (const QChar c : line.first(std::min<qsizetype>(line.size(), 40)))
        name += c > u' ' && c < u'\x7f' ? QByteArray(1, c.toLatin1())
                                        : '<' + QByteArray::number(c.unicode(), 16) + '>';
    QTest::addRow("%s: %s", group, name.constData()) << line << expected;
}

/// A row is a line, a bar, and what takes the place of %1 in what the line spells.
void addLines(const char* group, Texts rows, const QString& expected = u"%1"_s,
    const QString& beforeEveryLine = {})
{
    for (const QStringView row : rows) {
        const qsizetype bar = row.lastIndexOf(u" | "_s);
        addLine(
            group, beforeEveryLine + row.first(bar).toString(), expected.arg(row.sliced(bar + 3)));
    }
}

void addMessages(const char* group, Texts rows)
{
    addLines(group, rows, u"message(\"%1\")"_s);
}

void addNonCommands(const char* group, Texts lines, const QString& beforeEveryLine = {})
{
    for (const QStringView line : lines)
        addLine(group, beforeEveryLine + line.toString());
}

} // namespace

class CommandTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void spells_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<QString>("expected");

        addLines("keyword",
            {u"STOPTIME | stop", u"START | start", u"TIME | toggleClock",
                u"timeofday | toggleClock", u"BLACK | toggleBlackout", u"pause | pause",
                u"FLASH | strobe", u"STROBE | strobe", u"ATTENTION | strobe", u"+1 | addMinute",
                u"-1 | subtractMinute", u"CLEARMSG | clearMessage", u"ClearMsg | clearMessage",
                u"clearmsg | clearMessage", u"RESET | reset", u"NEXT | nextCue",
                u"PREV | prevCue"});
        addNonCommands("keyword",
            {u"", u"STOP", u"START 5", u"STARTS", u"START\nPAUSE", u"+2", u"G", u"PAUSE;"});

        addLines("minutes",
            {u"go 5 | go(minutes: 5.0)", u"GO2.5 | go(minutes: 2.5)", u"Go -3 | go(minutes: -3.0)",
                u"GO | start", u"go \t  | start", u"set 10 | set(minutes: 10.0)",
                u"SET 1e1 | set(minutes: 10.0)", u"SET-.5 | set(minutes: -0.5)"});
        addNonCommands(
            "minutes", {u"GO 5 min", u"GOOD", u"GO GO 5", u"SET", u"SET 5,5", u"SETTER"});
        addLines("literal",
            {u"007 | 7.0", u".5 | 0.5", u"5. | 5.0", u"-0 | -0.0", u"-.25E+1 | -2.5",
                u"0.0001 | 0.0001", u"1e-5 | 1e-05", u"1e16 | 1e+16", u"5e-324 | 5e-324",
                u"1e-999 | 0.0", u"-1e999 | -inf", u"0x10 | 16.0", u"-0x1.8P-1 | -0.75",
                u"inf | inf", u"-Infinity | -inf", u"+NaN | nan"},
            u"go(minutes: %1)"_s, u"go"_s);
        addNonCommands("literal",
            {u".", u"-", u"+-5", u"- 5", u"1e", u"e5", u"5f", u"1 2", u"5,5", u"1.2.3", u"0x",
                u"0x1p", u"infinit", u"nan(1)", u"\u0665", u"5\u00b2", u"5\u0301"},
            u"go"_s);

        addLines("cue",
            {u"cue 3 | 3", u"CUE+2 | 2", u"CUE 0 | 0", u"CUE -1 | -1", u"CUE -0 | 0",
                u"CUE \t +007 | 7", u"CUE 9223372036854775807 | 9223372036854775807",
                u"CUE -9223372036854775808 | -9223372036854775808"},
            u"cue(%1)"_s);
        addNonCommands("cue",
            {u"CUE", u"CUE 9223372036854775808", u"CUE -9223372036854775809", u"CUE +", u"CUE +-2",
                u"CUE ++2", u"CUE + 2", u"CUE 2.0", u"CUE 0x2", u"CUE 3 4", u"CUE \u0663"});

        addMessages("message",
            {u"MSG | ", u"MSGBOX | BOX", u"msg  Hello  World   | Hello  World",
                u"MSG a\r\nb | a\\r\\nb", u"Msg Straße \u017f | Straße \u017f",
                u"MSG e\u0301 \u00e9 | e\u0301 \u00e9", u"MSG 日本 \U0001f600 | 日本 \U0001f600",
                u"MSG say \"go\" \\o/ | say \\\"go\\\" \\\\o/", u"MSG a\tb\nc | a\\tb\\nc",
                u"MSG \x01\x1b\x7f\u0085! | \\u{01}\\u{1b}\\u{7f}\\u{85}!"});
        const QString longText(100'000, u'x');
        addLine("message", u"MSG"_s + longText, u"message(\"%1\")"_s.arg(longText));

        addLines("space around", {u"  pause \r\n | pause", u"\tRESET\n | reset"});
        for (const QChar space :
            u"\t\n\v\f\r \u0085\u00a0\u1680\u2000\u2001\u2002\u2003\u2004\u2005"
            "\u2006\u2007\u2008\u2009\u200a\u2028\u2029\u202f\u205f\u3000"_s)
            addLine("space around", space + u"NEXT"_s + space, u"nextCue"_s);
        addNonCommands("space around", {u" \r\n\t", u"\ufeffPAUSE"});
        // A payload may be set off by spaces and tabs, but not by line breaks.
        addLines("space inside",
            {u"GO\t \t5 | go(minutes: 5.0)", u"GO\u00a05 | go(minutes: 5.0)", u"GO\u2003 | start",
                u"SET\u2003\u30005 | set(minutes: 5.0)", u"CUE\u202f3 | cue(3)"});
        addMessages("space inside",
            {u"MSG\u3000a\u00a0 | a", u"MSG \n a | \\n a", u"MSG\r\na | \\r\\na",
                u"MSG\u2029a | \\u{2029}a"});
        addNonCommands("space inside", {u"SET\n5", u"GO\t\n5", u"GO\v5", u"GO\u20285", u"PA USE"});

        // The upper-case form of one letter may be two letters, or an ASCII one.
        addLines("upper case",
            {u"\u017ftart | start", u"\ufb05art | start", u"\ufb06ROBE | strobe",
                u"\ufb02a\u017fh | strobe", u"t\u0131me | toggleClock",
                u"BLAC\u212a | toggleBlackout", u"blac\u212a | toggleBlackout",
                u"\u017fet 5 | set(minutes: 5.0)"});
        addNonCommands("upper case", {u"T\u0130ME", u"\uff27\uff2f 5"});
        // With an accent, or with whatever else joins it, a letter is another one.
        addNonCommands("joined",
            {u"PAUSE\u0301", u"PAUS\u00c9", u"NEXT\ufe0f", u"GO\u0301", u"GO\u0301 5", u"G\u00d3 5",
                u"GO\u200d5", u"CUE\u0308 3"});
        // U+0345 joins the letter before it, and in upper case is a letter of its own.
        addLines("cut", {u"go\u0345 5 | go(minutes: 5.0)"});
        addMessages("cut",
            {u"msg\u0345x | x", u"msg\u00e9 | \u00e9", u"msge\u0301 | e\u0301",
                u"MSG\U0001f469\u200d\U0001f467 | \U0001f469\u200d\U0001f467"});

        addMessages("NUL", {u"MSG a\0b | a\\u{00}b"_s, u"MSG\0 | \\u{00}"_s});
        addNonCommands(
            "NUL", {u"\0"_s, u"PAUSE\0"_s, u"\0PAUSE"_s, u"GO\0 5"_s, u"GO 5\0"_s, u"CUE 3\0"_s});
    }
    void spells()
    {
        QFETCH(const QString, line);
        QTEST(spelled(line), "expected");
    }
};

QTEST_GUILESS_MAIN(CommandTest)
#include "tst_Command.moc"
