#pragma once

#include <QDateTime>
#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <functional>

#include "fault_plan.h"

/// What a scenario is played on: a client with its server. Main thread only; functions that return
/// false set the error text.
class ScenarioStage {
public:
    virtual ~ScenarioStage() = default;

    /// Makes an event, by name or number, go to the tape once the client is started.
    virtual bool listenTo(const QString& event, QString* error) = 0;
    virtual bool setSetting(const QString& name, const QString& value, QString* error) = 0;
    virtual FaultPlan& faults() = 0;
    /// Stops the clock at a time, or moves it on and leaves it there.
    virtual void setClock(const QDateTime& time) = 0;
    virtual void advanceClock(qint64 ms) = 0;

    /// Starts the client up to the log-in; an empty user means the sample market's standard login.
    virtual bool begin(const QString& user, QString* error) = 0;
    /// Waits until the accounts are loaded.
    virtual bool ready(int limitMs, QString* error) = 0;

    /// Returns the number of sessions that the push was sent to.
    virtual int push(const QString& topic, const QVariant& body, const QString& user) = 0;
    /// Stores a business message for a user, the client's when empty, and pushes it to the user's
    /// subscribers. False with a text when the server refuses it.
    virtual bool putMessage(const QString& user, const QVariantMap& message, QString* error) = 0;
    /// Whether a client has subscribed to the user's business messages.
    virtual bool hasMessageSubscriber(const QString& user) const = 0;
    /// Makes the server offer a patch of the client and push it to the subscribers. False with a
    /// text when the server refuses it.
    virtual bool putPatch(const QVariantMap& patch, QString* error) = 0;
    /// Whether a client has subscribed to patches.
    virtual bool hasPatchSubscriber() const = 0;
    virtual void tick(const QString& symbol, const QVariantMap& fields, const QString& source) = 0;
    virtual void setGate(const QString& gate, const QString& netState) = 0;
    /// Put a record into the book of the neighbouring data plug-in, which may refuse it.
    virtual bool putDeal(const QVariantMap& deal, QString* error) = 0;
    virtual bool putPosition(const QVariantMap& position, QString* error) = 0;
    virtual bool putOrder(const QVariantMap& order, QString* error) = 0;
    /// What the book has of an account: "cash", "cashMoved" by the day's deals, "positions",
    /// "orders" and "executions".
    virtual bool readBook(const QString& account, QJsonObject* answer, QString* error) = 0;
    /// Makes the book reckon its positions again from the opening and the day's records.
    virtual bool reloadBook(QString* error) = 0;
    /// Compares the messages of server, table and memory by server id: "agrees", the numbers of
    /// compared messages "server", "table" and "memory", "earlier", "memoryOnly" and
    /// "differences".
    virtual bool checkMessages(QJsonObject* answer, QString* error) = 0;
    /// Makes the server push those of its messages that are not in memory once more.
    virtual bool repairMessages(QString* error) = 0;
    virtual bool call(const QString& function, const QStringList& arguments, QJsonObject* answer,
                      QString* error) = 0;
    virtual int pendingRequests() const = 0;

    /// Evaluates the predicate repeatedly, with the main loop running, until it is true or the
    /// limit is over; returns its last value.
    virtual bool waitUntil(const std::function<bool()>& predicate, int limitMs) = 0;
};
