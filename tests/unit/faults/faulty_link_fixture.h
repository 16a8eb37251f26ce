#pragma once

#include <QStringList>
#include <QtTest>
#include <algorithm>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "faulty_link.h"
#include "scripted_link.h"
#include "vocabulary/fields.h"
#include "wait_for.h"

inline const QString kType = QStringLiteral("120006");

inline QStringList sorted(QStringList lines) {
    lines.sort();
    return lines;
}

inline Fault faultOf(const char* line) {
    Fault fault;
    LineError error;
    if (!readFault(QString::fromUtf8(line), &fault, &error)) {
        qFatal("%s: %s", line, qPrintable(error.toString()));
    }
    return fault;
}

/// Keeps what is reported to it, such as "answer 3", in order.
class Reports : public GatewayLinkListener {
public:
    void onAnswer(quint64 id, const QString& msgType, const QVariant& body) override {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_answerTypes.append(msgType);
        }
        add(QStringLiteral("answer"), id, body);
        QCOMPARE(msgType.isEmpty(), false);
    }
    void onFailure(quint64 id, const QString& reason) override {
        add(QStringLiteral("failure"), id, reason);
    }
    void onTimeOut(quint64 id) override { add(QStringLiteral("timeout"), id, {}); }
    void onPush(const QString& msgType, const QVariant& body) override {
        add(QStringLiteral("push ") + msgType, 0, body);
    }
    void onGateState(const QString& gate, const QString& netState) override {
        add(gate + QLatin1Char(' ') + netState, 0, {});
    }

    QStringList lines() const {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_lines;
    }
    /// The types of the answers, in order.
    QStringList answerTypes() const {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_answerTypes;
    }
    QVariant body(int at) const {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_bodies.value(at);
    }
    int count(const QString& line) const { return lines().count(line); }
    bool waitForLines(int count) const {
        return waitFor([this, count] { return lines().size() >= count; });
    }
    bool calledOn(std::thread::id thread) const {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return std::find(m_threads.begin(), m_threads.end(), thread) != m_threads.end();
    }

private:
    void add(const QString& kind, quint64 id, const QVariant& body) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_lines.append(id ? QStringLiteral("%1 %2").arg(kind).arg(id) : kind);
        m_bodies.append(body);
        m_threads.push_back(std::this_thread::get_id());
    }

    mutable std::mutex m_mutex;  // guards what follows
    QStringList m_lines;
    QStringList m_answerTypes;
    QVariantList m_bodies;
    std::vector<std::thread::id> m_threads;
};

inline GatewayRequest requestOf(quint64 id, const QString& type = kType,
                                const QList<QVariantMap>& rows = {}) {
    GatewayRequest request;
    request.envelopeId = id;
    request.msgType = type;
    request.body = packRows(
        {{System::msgType, type}, {System::clientMsgID, QStringLiteral("c%1").arg(id)}}, rows);
    request.timeOutMs = 10000;
    return request;
}

/// A faulty link over a scripted one that answers with four rows.
struct Fixture {
    explicit Fixture(const QList<const char*>& faults = {}) {
        auto below = std::make_unique<ScriptedLink>();
        script = below.get();
        script->on(kType, ScriptedReply::rows({{{"n", 1}}, {{"n", 2}}, {{"n", 3}}, {{"n", 4}}}));
        for (const char* line : faults) {
            plan->add(faultOf(line));
        }
        link = std::make_unique<FaultyLink>(std::move(below), plan);
        QString error;
        if (!link->start(&reports, &error)) {
            qFatal("%s", qPrintable(error));
        }
    }

    Reports reports;
    const std::shared_ptr<FaultPlan> plan = std::make_shared<FaultPlan>();
    ScriptedLink* script = nullptr;
    std::unique_ptr<FaultyLink> link;
};
