#include "log_capture.h"

#include <algorithm>
#include <mutex>

#include "wait_for.h"

struct LogCapture::Lines {
    mutable std::mutex lock;  // guards the lines
    std::vector<Line> lines;

    template <class Predicate>
    int countIf(Predicate predicate) const {
        const std::lock_guard<std::mutex> guard(lock);
        return int(std::count_if(lines.cbegin(), lines.cend(), predicate));
    }
};

namespace {

/// Never destroyed, since lines are logged while static objects are destroyed.
struct Captures {
    std::mutex lock;  // guards the members below
    std::vector<std::shared_ptr<LogCapture::Lines>> living;
    QtMessageHandler before = nullptr;
    const bool verbose = qEnvironmentVariableIsSet("VELMAR_TEST_VERBOSE");
};

Captures& captures() {
    static auto* const instance = new Captures;
    return *instance;
}

void record(QtMsgType type, const QMessageLogContext& context, const QString& text) {
    std::vector<std::shared_ptr<LogCapture::Lines>> living;
    QtMessageHandler before = nullptr;
    {
        const std::lock_guard<std::mutex> guard(captures().lock);
        living = captures().living;
        before = captures().before;
    }
    for (const auto& capture : living) {
        const std::lock_guard<std::mutex> guard(capture->lock);
        capture->lines.push_back(
            {type, QString::fromUtf8(context.category), text, std::this_thread::get_id()});
    }
    if (before && (captures().verbose || type == QtFatalMsg)) {
        before(type, context, text);
    }
}

}  // namespace

LogCapture::LogCapture() : m_lines(std::make_shared<Lines>()) {
    const std::lock_guard<std::mutex> guard(captures().lock);
    if (captures().living.empty()) {
        captures().before = qInstallMessageHandler(record);
    }
    captures().living.push_back(m_lines);
}

LogCapture::~LogCapture() {
    const std::lock_guard<std::mutex> guard(captures().lock);
    auto& living = captures().living;
    living.erase(std::remove(living.begin(), living.end(), m_lines), living.end());
    if (living.empty()) {
        qInstallMessageHandler(captures().before);
    }
}

std::vector<LogCapture::Line> LogCapture::lines() const {
    const std::lock_guard<std::mutex> guard(m_lines->lock);
    return m_lines->lines;
}

QStringList LogCapture::texts() const {
    QStringList texts;
    for (const Line& line : lines()) {
        texts.append(line.text);
    }
    return texts;
}

QStringList LogCapture::texts(QtMsgType type) const {
    QStringList texts;
    for (const Line& line : lines()) {
        if (line.type == type) {
            texts.append(line.text);
        }
    }
    return texts;
}

int LogCapture::count(QtMsgType type, const QString& text) const {
    return m_lines->countIf(
        [type, &text](const Line& line) { return line.type == type && line.text == text; });
}

bool LogCapture::contains(const QString& part) const {
    return m_lines->countIf([&part](const Line& line) { return line.text.contains(part); }) > 0;
}

bool LogCapture::contains(QtMsgType type, const QString& part) const {
    return m_lines->countIf([type, &part](const Line& line) {
        return line.type == type && line.text.contains(part);
    }) > 0;
}

bool LogCapture::waitFor(const QString& part, int limitMs) const {
    return ::waitFor([this, &part]() { return contains(part); }, limitMs);
}

void LogCapture::clear() {
    const std::lock_guard<std::mutex> guard(m_lines->lock);
    m_lines->lines.clear();
}
