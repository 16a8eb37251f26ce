#include "trade_questions.h"

#include <QSet>
#include <memory>

#include "businessdatamanager/business_data_interface.h"
#include "commonquotahandler/common_quota_handler.h"
#include "orders_check.h"
#include "orders_replay.h"
#include "output.h"
#include "profit_command.h"
#include "record_file.h"
#include "start_up_wait.h"
#include "tick_collector.h"
#include "value_command.h"
#include "vocabulary/constants.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "znbusinessdata/c_business_data_base.h"
#include "zndatabase/c_data_base.h"

namespace {

constexpr int kCageWaitMs = 20000;
constexpr int kTickWaitMs = 3000;
/// With --deals: how long the day is before a question about profits.
constexpr int kDealWaitMs = 3000;

/// The table is read once.
OrdersReplay::Successors statusTable() {
    return [table = QMap<QString, QString>(), isRead = false](const QString& status) mutable {
        if (!isRead) {
            isRead = true;
            table =
                CDataBase::GetInstance()->GetStaticValuesBySection(Constants::ORDERSTATUSSWITCH);
        }
        const auto entry = table.constFind(status);
        if (entry == table.constEnd()) {
            return QString();
        }
        // A final status has an entry without codes.
        return entry->isNull() ? QStringLiteral("") : *entry;
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

/// Asks again until the answer reports no difference: what is on its way to the running tables when
/// the streams end still reaches them.
CommandAnswer settled(Client& client, const std::function<CommandAnswer()>& check) {
    constexpr int kTries = 15;
    constexpr int kPauseMs = 200;
    client.endStreams();
    CommandAnswer answer = check();
    for (int i = 0; i < kTries && answer.isFault && !answer.interrupted; ++i) {
        client.gate().waitUntil(&InterruptWatch::hasCome, kPauseMs);
        answer = check();
    }
    return answer;
}

CommandAnswer unknownAccount(const QString& account, const QStringList& known) {
    CommandAnswer answer;
    answer.error = QStringLiteral("no account is called '%1'").arg(account);
    const QStringList close = closeNames(account, known);
    if (!close.isEmpty()) {
        answer.error += QStringLiteral("; similar names: %1").arg(close.join(QStringLiteral(", ")));
    }
    return answer;
}

/// What `show` or `check` of a command about figures answers for the accounts of the options.
template <class Command>
CommandAnswer askFigures(const ShellOptions& options, Client& client, Command& command,
                         const QStringList& all) {
    const QStringList accounts = options.account.isEmpty() ? all : QStringList(options.account);
    if (options.question == ShellOptions::Question::Check) {
        return settled(client, [&] { return command.check(accounts, columnsOfOutput()); });
    }
    return command.show(accounts, columnsOfOutput());
}

QList<QVariantMap> dealsOf(const QString& account) {
    constexpr int kAll = -1;
    int total = 0;
    return BusinessDataInterface::GetExecutionListByAccount(
        {{UserAccount::tradingAccount, account}}, total, 0, kAll, {}, {});
}

QList<QVariantMap> positionsOf(const QString& account) {
    const QString any;
    return BusinessDataInterface::GetPositionListByAccount({{UserAccount::tradingAccount, account}},
                                                           any, any, any, any, any, any);
}

double lastPriceOf(const QString& symbol) {
    return CommonQuotaHandler::instance().getLastPrice(symbol);
}

/// Waits until every position has a price.
void awaitPrices(Client& client, ValueCommand& value, const QStringList& accounts) {
    QStringList missing = value.symbolsWithoutPrice(accounts);
    const auto isPriced = [&missing] {
        while (!missing.isEmpty() && lastPriceOf(missing.last()) > 0) {
            missing.removeLast();
        }
        return missing.isEmpty();
    };
    const auto connection =
        QObject::connect(&CommonQuotaHandler::instance(), &CommonQuotaHandler::sigTickDataUpdate,
                         &client.gate(), [&client] { client.gate().wake(); });
    client.gate().waitUntil([&] { return isPriced() || InterruptWatch::hasCome(); }, kTickWaitMs);
    QObject::disconnect(connection);
}

/// False with the answer when the options name an account that the login does not have.
bool knowsAccount(const ShellOptions& options, CommandAnswer* answer) {
    const QStringList known = Client::platformAccounts();
    if (options.account.isEmpty() || known.contains(options.account)) {
        return true;
    }
    *answer = unknownAccount(options.account, known);
    return false;
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

ExitCode runProfit(const ShellOptions& options) {
    std::unique_ptr<ProfitCommand> profit;
    ClientQuestion question;
    question.isFollowed = options.follow;
    question.answer = [&](WatchedClient& watched) {
        CommandAnswer answer;
        if (!knowsAccount(options, &answer)) {
            return answer;
        }
        if (!profit) {
            watched.client.awaitProfits(options.waitSeconds * 1000);
            if (options.dealRate > 0 && !options.follow) {
                watched.client.gate().waitUntil(&InterruptWatch::hasCome, kDealWaitMs);
            }
            profit = std::make_unique<ProfitCommand>(watched.client.facade(), watched.asking(),
                                                     &dealsOf);
        }
        return askFigures(options, watched.client, *profit, profit->accounts());
    };
    return runQuestion(options, question);
}

ExitCode runValue(const ShellOptions& options) {
    std::unique_ptr<ValueCommand> value;
    ClientQuestion question;
    question.isFollowed = options.follow;
    question.answer = [&](WatchedClient& watched) {
        CommandAnswer answer;
        if (!knowsAccount(options, &answer)) {
            return answer;
        }
        const QStringList all =
            CBusinessDataBase::GetInstance()->GetTradeAccountList({AuthorityType::AccountTrade});
        if (!value) {
            QString error;
            if (!awaitStartUp(watched.client, options.waitSeconds * 1000, &error)) {
                printError(error);
            }
            value =
                std::make_unique<ValueCommand>(watched.client.facade(), watched.asking(),
                                               ValueCommand::Sources{&positionsOf, &lastPriceOf});
            if (options.tickRate > 0) {
                awaitPrices(watched.client, *value,
                            options.account.isEmpty() ? all : QStringList(options.account));
            }
        }
        return askFigures(options, watched.client, *value, all);
    };
    return runQuestion(options, question);
}
