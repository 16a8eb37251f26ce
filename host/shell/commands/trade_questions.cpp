#include "trade_questions.h"

#include <QSet>

#include "orders_check.h"
#include "orders_replay.h"
#include "output.h"
#include "record_file.h"
#include "tick_collector.h"
#include "vocabulary/constants.h"
#include "vocabulary/fields.h"
#include "znbusinessdata/c_business_data_base.h"
#include "zndatabase/c_data_base.h"

namespace {

constexpr int kCageWaitMs = 20000;
constexpr int kTickWaitMs = 3000;

/// Each status is read once.
OrdersReplay::Successors statusTable() {
    return [known = QHash<QString, QString>()](const QString& status) mutable {
        if (!known.contains(status)) {
            known.insert(status, CDataBase::GetInstance()->GetStaticCfgValue(
                                     Constants::ORDERSTATUSSWITCH, status));
        }
        return known.value(status);
    };
}

ExitCode runReplay(const ShellOptions& options, const RecordFile& file) {
    ClientQuestion question;
    question.answer = [&file](WatchedClient& watched) {
        OrdersReplay replay(watched.client.facade(), watched.asking(), statusTable());
        return replay.replay(file, columnsOfOutput());
    };
    return runQuestion(options, question);
}

QSet<QString> symbolsOf(const RecordFile& file) {
    QSet<QString> symbols;
    for (const FileRecord& record : file.records) {
        symbols.insert(record.fields.value(Security::symbol).toString());
    }
    symbols.remove(QString());
    return symbols;
}

ExitCode runCheck(const ShellOptions& options, const RecordFile& file) {
    const QSet<QString> symbols = symbolsOf(file);
    TickCollector ticks(symbols);
    ClientQuestion question;
    question.prepare = [&symbols](Client::Options& client) {
        client.tickSymbols += symbols.values();
    };
    question.beforeStart = [&ticks](WatchedClient& watched) {
        ticks.listen(watched.client.gate());
    };
    question.answer = [&](WatchedClient& watched) {
        watched.client.awaitCage(kCageWaitMs);
        if (options.tickRate > 0) {
            ticks.await(kTickWaitMs);
        }
        OrdersCheck check(watched.client.facade(), watched.asking(), ticks.ticks());
        return check.check(file, options.cancels, columnsOfOutput());
    };
    return runQuestion(options, question);
}

}  // namespace

ExitCode runOrders(const ShellOptions& options) {
    RecordFile file;
    QString error;
    if (!readRecordFile(options.recordFile, &file, &error)) {
        printError(error);
        return WrongUsage;
    }
    return options.question == ShellOptions::Question::Replay ? runReplay(options, file)
                                                              : runCheck(options, file);
}

ExitCode runProfit(const ShellOptions&) {
    return Failed;
}

ExitCode runValue(const ShellOptions&) {
    return Failed;
}
