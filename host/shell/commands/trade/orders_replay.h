#pragma once

#include <QHash>
#include <functional>

#include "command_answer.h"
#include "facade_questions.h"
#include "record_file.h"

/// Plays order updates as a keeper of an order table would: the first report of an order is stored
/// without asking; each later one replaces the stored record if CanOrderUpdate agrees. For one
/// thread.
class OrdersReplay {
public:
    /// The status table: the codes that may follow a status, joined with "|".
    using Successors = std::function<QString(const QString& status)>;

    OrdersReplay(const FacadeLibrary& library, const FacadeAsk& ask, const Successors& successors);

    /// One row per update, in the order of the file: the answer, its reason and the stored record
    /// afterwards; then the bad lines, each of which is a fault. Lines are cut to `columns`.
    CommandAnswer replay(const RecordFile& file, int columns);

private:
    struct Step;
    Step take(const QVariantMap& update);

    FacadeQuestions m_facade;
    const Successors m_successors;
    QHash<QString, QVariantMap> m_stored;  ///< by order id
};

/// The bad lines of a file as data.
QJsonValue faultsAsJson(const RecordFile& file);
/// Whether a file has records and no bad line.
bool isUsable(const RecordFile& file);
/// The bad lines of a file, one each, with a line that counts them; a line for a file without
/// records.
QStringList faultLines(const RecordFile& file);
