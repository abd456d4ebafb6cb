#pragma once

#include <QString>

#include <functional>

/// Takes every message that is logged while it lives, in place of whoever took them before. There
/// is one at a time.
class CapturedLog {
public:
    explicit CapturedLog(std::function<void(const QString&)> take)
    {
        taker = std::move(take);
        m_before = qInstallMessageHandler(
            [](QtMsgType, const QMessageLogContext&, const QString& text) { taker(text); });
    }
    CapturedLog(const CapturedLog&) = delete;
    CapturedLog& operator=(const CapturedLog&) = delete;
    ~CapturedLog() { qInstallMessageHandler(m_before); }

private:
    static inline std::function<void(const QString&)> taker;
    QtMessageHandler m_before;
};
