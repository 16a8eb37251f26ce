#pragma once

#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>
#include <QVariantMap>
#include <QVector>

#include "fault_plan.h"
#include "sample_market.h"

/// A condition for a part of a JSON value.
struct ScenarioCheck {
    enum class Op { Same, Equals, Contains, Matches, Count, Near };

    QString path;  ///< "rows.0.tradingAccount"; empty for the whole
    Op op = Op::Equals;
    QString value;  ///< of Same: JSON inside a list
    QString text;   ///< as written in the file
};

/// What is recorded of a running client, for scenarios to expect.
enum class RecordKind { Request, Answer, Failure, TimeOut, Push, Gate, Event, Tick, Log };

struct ScenarioStep {
    enum class Kind {
        Setting,
        Fault,
        ClearFaults,
        ClockSet,
        ClockAdvance,
        Start,       ///< up to the loaded accounts
        Begin,       ///< up to the log-in
        StartFails,  ///< like Start, which must fail
        Ready,       ///< waits for the accounts
        Push,
        Message,  ///< stores a business message for a user and pushes it
        Patch,    ///< offers a patch of the client and pushes it
        Tick,
        Gate,
        Deal,      ///< of the day, into the neighbouring data plug-in's book
        Position,  ///< likewise
        Order,     ///< likewise
        Book,      ///< checks what the book has of an account
        BookReload,
        Messages,        ///< compares the messages of server, table and memory
        MessagesRepair,  ///< the same, with missing ones pushed again
        Call,
        Expect,
        ExpectIdle,  ///< no request is under way
    };

    Kind kind = Kind::Start;
    int line = 0;
    QString text;        ///< the line as written
    QString name;        ///< setting, topic, symbol, gate, function, or what is expected
    int nameColumn = 1;  ///< column of the name of what is expected
    QString value;       ///< of a setting, a gate's state, a tick's source
    QString user;        ///< of a start, a push and a message
    QStringList values;  ///< arguments of a call
    QList<QVariantMap> rows;
    ::Fault fault;
    QDateTime time;  ///< of ClockSet
    qint64 ms = 0;   ///< of ClockAdvance
    int limitMs = 0;
    RecordKind record = RecordKind::Request;
    bool negative = false;
    int count = -1;      ///< this many, neither more nor fewer; negative for one or more
    int occurrence = 0;  ///< the checks apply to this one only, from 1; 0 for any
    QVector<ScenarioCheck> checks;
};

/// The steps that one process plays.
struct ScenarioSection {
    int line = 1;
    QVector<ScenarioStep> steps;
};

/// The largest history of orders in a scenario's market, which is made before each play.
constexpr int kScenarioHistoryOrders = 400;

struct Scenario {
    Scenario() { market.historyOrders = kScenarioHistoryOrders; }

    QString fileName;
    MarketOptions market;
    int ticksPerSecond = 1;  ///< of each subscribed symbol; 0: only those of the steps
    QVector<ScenarioSection> sections;
};
