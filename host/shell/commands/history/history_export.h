#pragma once

#include <QDate>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>
#include <functional>

#include "facade_questions.h"
#include "row_writer.h"

/// What a list of the past is asked for.
struct HistoryRequest {
    QString list;                   ///< one of historyLists()
    QStringList accounts;           ///< trading accounts, or products of "appraisement"
    bool hasMarginAccount = false;  ///< of "funds": whether one of them is a margin account
    QDate from;
    QDate to;
    QDate today;
    QStringList tradeDays;  ///< of the range, yyyyMMdd; of "funds" and "appraisement"
    int pageSize = 1000;    ///< of "orders" and "deals"
};

/// Passes the rows of a list to a writer, part by part, with the exported functions: a page of
/// orders or deals, 30 days of delivery, statistics or funds, a day of margin accounts, a day of a
/// product. What was written before a failure or an interrupt stays. For one thread.
class HistoryExport {
public:
    struct Outcome {
        bool isInterrupted = false;
        QString fault;  ///< why the list is not complete; empty when it is
        bool isComplete() const { return !isInterrupted && fault.isEmpty(); }
    };
    using OnProgress = std::function<void(qint64 done, qint64 total)>;
    /// What was not received since its last call: accounts and days.
    using TakeLost = std::function<QStringList()>;

    /// `onProgress` gets rows or parts, whatever the total counts. Without `takeLost` every answer
    /// that is not a page counts as complete.
    HistoryExport(FacadeQuestions& facade, RowWriter& writer, OnProgress onProgress,
                  TakeLost takeLost = {});

    /// The writer has begun; its end is the caller's.
    Outcome run(const HistoryRequest& request);

private:
    /// Where an answer has its rows.
    enum class Place { Result, ResultMap, Output };
    struct Part {
        QString function;
        QStringList arguments;
        Place place = Place::Result;
    };

    Outcome runPages(const HistoryRequest& request);
    Outcome runParts(const QList<Part>& parts);
    QList<Part> partsOf(const HistoryRequest& request) const;
    bool write(const QJsonArray& rows, int from, Outcome* outcome);
    /// Sets the outcome when something of the part was not received.
    bool isWhole(int part, int parts, Outcome* outcome) const;
    /// Sets the outcome when the function could not be called.
    bool wasCalled(const QString& function, Outcome* outcome) const;

    FacadeQuestions& m_facade;
    RowWriter& m_writer;
    const OnProgress m_onProgress;
    const TakeLost m_takeLost;
};
