#pragma once

#include <QDateTime>
#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <functional>

#include "fault_plan.h"

/// What a scenario is played on: a client with its server. The main thread's; a false comes with a
/// text.
class ScenarioStage {
public:
    virtual ~ScenarioStage() = default;

    /// An event, by name or number, that goes to the tape once the client is started.
    virtual bool listenTo(const QString& event, QString* error) = 0;
    virtual bool setSetting(const QString& name, const QString& value, QString* error) = 0;
    virtual FaultPlan& faults() = 0;
    /// Stops the clock at a time, or moves it on and leaves it there.
    virtual void setClock(const QDateTime& time) = 0;
    virtual void advanceClock(qint64 ms) = 0;

    /// The sample market's own login when there is no user. Up to the log-in.
    virtual bool begin(const QString& user, QString* error) = 0;
    /// Up to the loaded accounts.
    virtual bool ready(int limitMs, QString* error) = 0;

    /// How many sessions the push went to.
    virtual int push(const QString& topic, const QVariant& body, const QString& user) = 0;
    virtual void tick(const QString& symbol, const QVariantMap& fields, const QString& source) = 0;
    virtual void setGate(const QString& gate, const QString& netState) = 0;
    virtual bool call(const QString& function, const QStringList& arguments, QJsonObject* answer,
                      QString* error) = 0;
    virtual int pendingRequests() const = 0;

    /// Asks again and again, with the main loop running; what the predicate said last.
    virtual bool waitUntil(const std::function<bool()>& predicate, int limitMs) = 0;
};
