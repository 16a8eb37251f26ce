#pragma once

#include <QString>
#include <QtGlobal>

#include <functional>

/// Calls a function whenever a line that contains a text is logged, on the logging thread and
/// before it goes on. A test uses it to look at, or hold up, other code at a place that it cannot
/// reach otherwise. At most one lives in a process, inside the life of any LogCapture that does;
/// every thread that may log such a line has ended before its destructor.
class LogHook {
public:
    LogHook(const QString& part, std::function<void()> act) : m_part(part), m_act(std::move(act)) {
        current() = this;
        m_before = qInstallMessageHandler(handle);
    }
    ~LogHook() {
        qInstallMessageHandler(m_before);
        current() = nullptr;
    }
    Q_DISABLE_COPY(LogHook)

private:
    static LogHook*& current() {
        static LogHook* hook = nullptr;
        return hook;
    }
    static void handle(QtMsgType type, const QMessageLogContext& context, const QString& text) {
        const LogHook& hook = *current();
        if (hook.m_before) {
            hook.m_before(type, context, text);
        }
        if (text.contains(hook.m_part)) {
            hook.m_act();
        }
    }

    const QString m_part;
    const std::function<void()> m_act;
    QtMessageHandler m_before = nullptr;
};
