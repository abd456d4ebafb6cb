#include "Support/ControlLog.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <climits>
#include <ctime>
#include <mutex>

#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

Q_LOGGING_CATEGORY(controlLog, "com.quillfen.tarrow.control")

namespace {

/// How long one line may wait for a reader that is merely slow.
constexpr int patienceInMilliseconds = 20;

const char* levelName(QtMsgType type)
{
    switch (type) {
    case QtDebugMsg:
        return "debug";
    case QtInfoMsg:
        return "info";
    case QtWarningMsg:
        return "warning";
    case QtCriticalMsg:
        return "error";
    case QtFatalMsg:
        return "fatal";
    }
    return "info";
}

/// Whether standard error is something that can stop taking bytes, unlike a file.
bool canBlock = true;

bool isWritable(int patience)
{
    pollfd descriptor {STDERR_FILENO, POLLOUT, 0};
    return poll(&descriptor, 1, patience) > 0;
}

/// Writes whole lines to standard error.
class LineWriter {
public:
    void write(const QByteArray& line)
    {
        if (m_dropped > 0 && !tellDropped()) {
            ++m_dropped;
            return;
        }
        if (!writeAll(line, patienceInMilliseconds))
            ++m_dropped;
    }

private:
    /// Once a reader has been waited for in vain it is not waited for again until it reads.
    bool tellDropped()
    {
        const QByteArray notice = (m_lineIsCut ? "\n" : "") + QByteArray::number(m_dropped)
            + " log lines dropped: standard error took no more\n";
        if (!writeAll(notice, 0))
            return false;
        m_dropped = 0;
        return true;
    }

    bool writeAll(QByteArrayView bytes, int patience)
    {
        qsizetype written = 0;
        while (written < bytes.size()) {
            if (canBlock && !isWritable(patience))
                break;
            // A pipe that polls as writable takes this much without blocking.
            const auto chunk = std::min<qsizetype>(bytes.size() - written, PIPE_BUF);
            const auto count =
                ::write(STDERR_FILENO, bytes.data() + written, static_cast<size_t>(chunk));
            if (count < 0 && errno == EINTR)
                continue;
            if (count <= 0)
                break;
            written += count;
        }
        if (written > 0)
            m_lineIsCut = written < bytes.size();
        return written == bytes.size();
    }

    quint64 m_dropped = 0;
    bool m_lineIsCut = false;
};

/// "2026-11-22 20:15:03.250 ". The part that changes once a second is made once a second.
class TimeStamp {
public:
    QByteArrayView now()
    {
        using namespace std::chrono;
        const auto time = floor<milliseconds>(system_clock::now());
        const auto second = floor<seconds>(time);
        if (second != m_second) {
            m_second = second;
            const std::time_t value = system_clock::to_time_t(second);
            std::tm local {};
            localtime_r(&value, &local);
            m_length = std::strftime(m_text.data(), m_text.size(), "%Y-%m-%d %H:%M:%S.", &local);
        }
        auto fraction = static_cast<int>((time - second).count());
        for (size_t digit = 3; digit-- > 0; fraction /= 10)
            m_text[m_length + digit] = static_cast<char>('0' + fraction % 10);
        m_text[m_length + 3] = ' ';
        return {m_text.data(), static_cast<qsizetype>(m_length + 4)};
    }

private:
    std::chrono::sys_seconds m_second {std::chrono::seconds::min()};
    std::array<char, 64> m_text {};
    size_t m_length = 0;
};

void writeMessage(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    // Messages come from every thread.
    static std::mutex mutex;
    static TimeStamp timeStamp;
    static LineWriter writer;

    const std::lock_guard lock(mutex);
    QByteArray line;
    line.reserve(message.size() + 80);
    line += timeStamp.now();
    line += levelName(type);
    if (context.category && qstrcmp(context.category, "default") != 0) {
        line += ' ';
        line += context.category;
    }
    line += ": ";
    line += message.toUtf8().replace('\n', "\\n");
    line += '\n';
    writer.write(line);
}

} // namespace

void installLogOutput()
{
    struct stat status { };
    canBlock = fstat(STDERR_FILENO, &status) != 0 || !S_ISREG(status.st_mode);
    qInstallMessageHandler(writeMessage);
}
