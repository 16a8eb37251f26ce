#include "market_questions.h"

#include <cstdio>

#include "accounts_command.h"
#include "commonquotahandler/common_quota_handler.h"
#include "output.h"
#include "reference_table.h"
#include "rules_command.h"
#include "symbols_command.h"
#include "ticks_command.h"
#include "znbusinessdata/c_business_data_base.h"

namespace {

constexpr int kCageWaitSeconds = 20;
constexpr int kTickWaitMs = 3000;

/// Waits for the cage and, unless ticks are off, for a tick of the symbol.
RulesFacts gatherFacts(const ShellOptions& options, Client& client, const QVariantMap& tick) {
    RulesFacts facts = RulesFacts::ofPlatform(options.symbol);
    facts.cageWaitSeconds = kCageWaitSeconds;
    // The new issues are loaded behind the cage and before the messages.
    if (client.awaitCage(kCageWaitSeconds * 1000)) {
        client.awaitMessages(kCageWaitSeconds * 1000);
    }
    if (options.tickRate > 0) {
        client.gate().waitUntil([&tick] { return !tick.isEmpty() || InterruptWatch::hasCome(); },
                                kTickWaitMs);
    }
    facts.tick = tick;
    return facts;
}

}  // namespace

ExitCode runAccounts(const ShellOptions& options) {
    ClientQuestion question;
    question.answer = [&options](WatchedClient& watched) {
        AccountsCommand accounts(watched.client.facade(), watched.asking(),
                                 Client::platformAccounts());
        return options.account.isEmpty() ? accounts.list(columnsOfOutput())
                                         : accounts.why(options.account, columnsOfOutput());
    };
    return runQuestion(options, question);
}

ExitCode runSymbols(const ShellOptions& options) {
    bool isLoaded = true;
    ClientQuestion question;
    question.answer = [&](WatchedClient&) {
        ReferenceTable& securities = ReferenceTable::of(ReferenceKind::Security);
        isLoaded = securities.load();
        if (!isLoaded) {
            CommandAnswer answer;
            answer.error = QStringLiteral("the securities cannot be read; see the log");
            return answer;
        }
        return findSymbols(securities.records(), options.symbol, columnsOfOutput());
    };
    const ExitCode code = runQuestion(options, question);
    return isLoaded ? code : Failed;
}

ExitCode runRules(const ShellOptions& options) {
    QVariantMap tick;  // outlives the client, whose end still takes ticks
    ClientQuestion question;
    question.prepare = [&options](Client::Options& client) {
        client.tickSymbols.append(options.symbol);
    };
    question.beforeStart = [&](WatchedClient& watched) {
        MainLoopGate& gate = watched.client.gate();
        QObject::connect(&CommonQuotaHandler::instance(), &CommonQuotaHandler::sigTickDataUpdate,
                         &gate, [&](const QString& symbol, const QVariantMap& one) {
                             if (symbol == options.symbol) {
                                 tick = one;
                                 gate.wake();
                             }
                         });
    };
    question.answer = [&](WatchedClient& watched) {
        RulesCommand rules(watched.client.facade(), watched.asking(), options.language);
        return rules.explain(options.symbol, gatherFacts(options, watched.client, tick),
                             columnsOfOutput());
    };
    return runQuestion(options, question);
}

ExitCode runTicks(const ShellOptions& options) {
    if (const ExitCode fault = openHome(options)) {
        return fault;
    }
    Client::Options withTicks = clientOptions(options);
    withTicks.tickSymbols += options.watched;
    TicksCommand ticks(options.watched, options.count);
    bool isPrinting = false;
    bool outputFailed = false;
    ProgressBar progress(stderr);
    Client::Listener listener = showOnStderr(progress);
    listener.platformStarted = [] { CommonQuotaHandler::instance().Init(); };
    WatchedClient watched(withTicks, listener);
    Client& client = watched.client;
    QObject::connect(&CommonQuotaHandler::instance(), &CommonQuotaHandler::sigTickDataUpdate,
                     &client.gate(), [&](const QString& symbol, const QVariantMap& tick) {
                         const QString line = isPrinting ? ticks.take(symbol, tick) : QString();
                         if (!line.isEmpty()) {
                             outputFailed = outputFailed || !printTo(stdout, line);
                             client.gate().wake();
                         }
                     });
    QString error;
    if (!client.begin(&error)) {
        printError(error);
        return Failed;
    }
    for (const QString& symbol : options.watched) {
        if (CBusinessDataBase::GetInstance()->GetSecurityDetailsBySymbol(symbol).isEmpty()) {
            printError(QStringLiteral("no security is called '%1'").arg(symbol));
            return WrongUsage;
        }
    }
    printError(client.ticksText());
    isPrinting = true;
    outputFailed = !printTo(stdout, TicksCommand::title());
    client.gate().waitUntil(
        [&] { return ticks.over() || outputFailed || InterruptWatch::hasCome(); }, -1);
    client.stop();
    return outputFailed ? Failed : Well;
}
