#include "notice_questions.h"

#include <QFile>
#include <QJsonArray>
#include <QSet>
#include <QSettings>
#include <QTemporaryDir>
#include <algorithm>
#include <cstdio>
#include <deque>
#include <memory>
#include <mutex>
#include <utility>

#include "exact_json.h"
#include "menus_command.h"
#include "message_listener.h"
#include "message_places.h"
#include "messages_command.h"
#include "output.h"
#include "remind_command.h"
#include "risk_command.h"
#include "server_asker.h"
#include "settings_codec.h"
#include "start_up_wait.h"
#include "vocabulary/fields.h"
#include "vocabulary/quindar_msg_type.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"
#include "znbusinessdata/c_business_data_base.h"

namespace {

using Question = ShellOptions::Question;

/// The writer thread looks at its lists once a second.
constexpr int kStoreTries = 15;
constexpr int kStorePauseMs = 200;

CommandAnswer failed(const QString& text) {
    CommandAnswer answer;
    answer.isFault = true;
    answer.lines = QStringList(text);
    answer.json = QJsonObject{{QStringLiteral("error"), text}};
    return answer;
}

/// False with the answer when the messages are not complete in time.
bool awaitMessages(const ShellOptions& options, Client& client, CommandAnswer* answer) {
    if (client.awaitMessages(options.waitSeconds * 1000)) {
        return true;
    }
    *answer = failed(QStringLiteral("the messages were not loaded within %1 s; --wait sets the "
                                    "limit")
                         .arg(options.waitSeconds));
    answer->interrupted = InterruptWatch::hasCome();
    return false;
}

/// Reports messages of the server that the plug-in does not have, as after a catch-up query that
/// failed. False when it reports some.
bool hasAllMessages(WatchedClient& watched) {
    MessageCheck check;
    QString error;
    const bool isComplete =
        !MessagePlacesCheck(watched.client, watched.asking()).lacksMessages(&check, &error);
    if (!isComplete) {
        printError(QStringLiteral("messages of the server that the plug-in does not have: %1; "
                                  "'messages check --repair' fetches them")
                       .arg(check.lacking));
    }
    return isComplete;
}

/// Of these ids, those that the table has and does not show as read.
QStringList unreadInTable(const QStringList& ids) {
    QStringList unread;
    const QList<BusiMessage> rows = messagesOfTable();
    for (const BusiMessage& row : rows) {
        if (ids.contains(row.clientId) && !row.isRead) {
            unread.append(row.clientId);
        }
    }
    return unread;
}

CommandAnswer markRead(const ShellOptions& options, WatchedClient& watched) {
    MessagesCommand messages(watched.client.facade(), watched.asking(), MessageWords::ofPlatform());
    CommandAnswer answer = messages.read(options.messageIds);
    QStringList waiting = unreadInTable(messages.marked());
    for (int i = 0; i < kStoreTries && !waiting.isEmpty() && !InterruptWatch::hasCome(); ++i) {
        watched.client.gate().waitUntil(&InterruptWatch::hasCome, kStorePauseMs);
        waiting = unreadInTable(messages.marked());
    }
    for (const QString& id : qAsConst(waiting)) {
        answer.lines.append(QStringLiteral("%1  not marked in the table yet").arg(id));
        answer.isFault = true;
    }
    return answer;
}

/// A value of the reminder settings as the file on disk has it.
QVariant remindFileValue(const QString& home, const QString& key) {
    const QString file = QStringLiteral("%1/work/%2/busiMsgSetting.ini")
                             .arg(home, CBusinessDataBase::GetInstance()->GetLoginAccount());
    // Settings objects of one path share what they have not written yet, so a copy is read.
    const QTemporaryDir dir;
    const QString copy = dir.filePath(QStringLiteral("copy.ini"));
    if (!QFile::copy(file, copy)) {
        return {};
    }
    QSettings settings(copy, QSettings::IniFormat);
    settings.setIniCodec(settingsCodec());
    return settings.value(key);
}

CommandAnswer answerMessages(const ShellOptions& options, WatchedClient& watched) {
    const FacadeLibrary& facade = watched.client.facade();
    const int columns = columnsOfOutput();
    CommandAnswer answer;
    if (!awaitMessages(options, watched.client, &answer)) {
        return answer;
    }
    const RemindCommand::FileValue fileValue = [&options](const QString& key) {
        return remindFileValue(homeOf(options), key);
    };
    switch (options.question) {
        case Question::Read:
            return markRead(options, watched);
        case Question::Check:
            return MessagePlacesCheck(watched.client, watched.asking())
                .answer(options.repair, columns);
        case Question::RemindShow:
            return RemindCommand(facade, watched.asking(), MessageWords::ofPlatform(), fileValue)
                .show(options.remindKind, columns);
        case Question::RemindSet: {
            RemindCommand remind(facade, watched.asking(), MessageWords::ofPlatform(), fileValue);
            return options.remindLevel.isEmpty()
                       ? remind.endToday()
                       : remind.set(options.remindKind, options.remindLevel, options.remindSwitch,
                                    columns);
        }
        default:
            answer = MessagesCommand(facade, watched.asking(), MessageWords::ofPlatform())
                         .list(options.unread, QDate::currentDate(), columns);
            answer.isFault = answer.isFault || !hasAllMessages(watched);
            return answer;
    }
}

/// Records on their way from the message thread to the main thread.
class TailQueue {
public:
    explicit TailQueue(MainLoopGate& gate) : m_gate(gate) {}

    void put(const QVariantMap& record) {
        {
            const std::lock_guard<std::mutex> guard(m_lock);
            m_records.push_back(record);
        }
        m_gate.wake();
    }
    std::deque<QVariantMap> take() {
        const std::lock_guard<std::mutex> guard(m_lock);
        return std::exchange(m_records, {});
    }

private:
    MainLoopGate& m_gate;
    std::mutex m_lock;  // guards m_records
    std::deque<QVariantMap> m_records;
};

constexpr int kTailStart = 10;

/// Prints records until there are as many as the options ask for.
class TailPrinter {
public:
    explicit TailPrinter(const ShellOptions& options)
        : m_options(options), m_words(MessageWords::ofPlatform()) {}

    /// The latest messages of a list that the exported functions answer.
    void printLatest(const QJsonArray& records) {
        QList<QPair<QDateTime, QVariantMap>> sorted;
        for (const QJsonValue& record : records) {
            const QVariantMap map = record.toObject().toVariantMap();
            m_seen.insert(map.value(System::clientMsgID).toString());
            sorted.append({BusiMessage::ofRecord(map).time, map});
        }
        std::stable_sort(sorted.begin(), sorted.end(), [](const auto& left, const auto& right) {
            return left.first < right.first;
        });
        const int most = m_options.count > 0 ? qMin(m_options.count, kTailStart) : kTailStart;
        for (int i = qMax(0, sorted.size() - most); i < sorted.size(); ++i) {
            print(sorted.at(i).second);
        }
    }
    /// A message that arrived before the list was asked for is in it.
    void printIfUnseen(const QVariantMap& record) {
        if (!m_seen.contains(record.value(System::clientMsgID).toString())) {
            print(record);
        }
    }
    void print(const QVariantMap& record) {
        if (isFull()) {
            return;
        }
        ++m_printed;
        if (m_options.asJson) {
            printJson(exactJsonObject(record), QJsonDocument::Compact);
        } else {
            printTo(stdout, messageTailLine(BusiMessage::ofRecord(record), m_words,
                                            QDate::currentDate(), columnsOfOutput()));
        }
    }
    bool isFull() const { return m_options.count > 0 && m_printed >= m_options.count; }

private:
    const ShellOptions& m_options;
    const MessageWords m_words;
    QSet<QString> m_seen;
    int m_printed = 0;
};

ExitCode runTail(const ShellOptions& options) {
    if (const ExitCode fault = openHome(options)) {
        return fault;
    }
    ProgressBar progress(stderr);
    Client::Listener listener = showOnStderr(progress);
    std::shared_ptr<TailQueue> queue;
    // It must have subscribed before the first message.
    listener.platformStarted = [&queue] {
        auto* const presenter =
            new MessageListener([queue](const QVariantMap& record) { queue->put(record); });
        presenter->initPresenter();
    };
    WatchedClient watched(clientOptions(options), listener);
    Client& client = watched.client;
    queue = std::make_shared<TailQueue>(client.gate());
    CommandAnswer fault;
    if (!watched.start()) {
        return Failed;
    }
    if (!awaitMessages(options, client, &fault)) {
        printError(fault.interrupted ? QStringLiteral("interrupted") : fault.lines.first());
        return Failed;
    }
    const std::deque<QVariantMap> early = queue->take();
    FacadeQuestions facade(client.facade(), watched.asking());
    const bool isComplete = hasAllMessages(watched);
    TailPrinter printer(options);
    printer.printLatest(facade.ask(QStringLiteral("GetAllBusiMsgList"), {}).toArray());
    for (const QVariantMap& record : early) {
        printer.printIfUnseen(record);
    }
    const auto isOver = [&] {
        for (const QVariantMap& record : queue->take()) {
            printer.print(record);
        }
        return printer.isFull() || std::ferror(stdout) != 0 || InterruptWatch::hasCome();
    };
    client.gate().waitUntil(isOver, -1);
    client.stop();
    return std::ferror(stdout) != 0 || !isComplete ? Failed : Well;
}

}  // namespace

ExitCode runMessages(const ShellOptions& options) {
    if (options.question == Question::Tail) {
        return runTail(options);
    }
    ClientQuestion question;
    question.answer = [&options](WatchedClient& watched) {
        return answerMessages(options, watched);
    };
    return runQuestion(options, question);
}

ExitCode runMenus(const ShellOptions& options) {
    ClientQuestion question;
    question.answer = [](WatchedClient& watched) {
        ServerAsker server(watched.client);
        const QString user = CBusinessDataBase::GetInstance()->GetLoginAccount();
        const ServerAsker::Answer all = server.ask(Velmar_MsgType::getSysMenuRequest,
                                                   {{UserAccount::menuType, MenuType::client}});
        const ServerAsker::Answer ofUser =
            server.ask(Quindar_MsgType::menuConfigurationRequest,
                       {{UserAccount::menuType, MenuType::client}, {UserAccount::userID, user}});
        if (!all.error.isEmpty() || !ofUser.error.isEmpty()) {
            CommandAnswer answer = failed(QStringLiteral("the menus were not received: %1")
                                              .arg(all.error.isEmpty() ? ofUser.error : all.error));
            answer.interrupted = all.interrupted || ofUser.interrupted;
            return answer;
        }
        MenusCommand menus(watched.client.facade(), watched.asking(), {all.rows, ofUser.rows});
        return menus.tree(columnsOfOutput());
    };
    return runQuestion(options, question);
}

ExitCode runRisk(const ShellOptions& options) {
    ClientQuestion question;
    question.answer = [&options](WatchedClient& watched) {
        QString error;
        if (!awaitStartUp(watched.client, options.waitSeconds * 1000, &error)) {
            CommandAnswer answer = failed(error);
            answer.interrupted = InterruptWatch::hasCome();
            return answer;
        }
        ServerAsker server(watched.client);
        const QVariantMap ofUser{
            {UserAccount::loginUserId, CBusinessDataBase::GetInstance()->GetLoginAccount()}};
        const ServerAsker::Answer notices =
            server.askPages(Velmar_MsgType::queryProductRiskInfoRequest, {});
        const ServerAsker::Answer types =
            server.askPages(Velmar_MsgType::QueryRiskSecurityFlagInfoRequest, ofUser);
        const ServerAsker::Answer monitored =
            server.ask(Velmar_MsgType::QueryMonitorSymbolsRequest, ofUser);
        if (notices.interrupted || types.interrupted || monitored.interrupted) {
            CommandAnswer answer;
            answer.interrupted = true;
            return answer;
        }
        RiskCommand risk(watched.client.facade(), watched.asking());
        return risk.show(options.symbol, {{notices.rows, notices.error},
                                          {types.rows, types.error},
                                          {monitored.rows, monitored.error}});
    };
    return runQuestion(options, question);
}
