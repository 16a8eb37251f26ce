#include "client_stage.h"

#include <QDir>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QSettings>
#include <utility>

#include "commonquotahandler/common_quota_handler.h"
#include "day_book.h"
#include "exact_json.h"
#include "exchange_clock.h"
#include "faulty_link.h"
#include "interrupt_watch.h"
#include "local_platform.h"
#include "message_places.h"
#include "recording_link.h"
#include "server_engine.h"
#include "settings_codec.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/fields.h"
#include "znwidget/zn_presenter_class.h"

namespace {

constexpr int kLookAgainMs = 2;
constexpr int kCallLimitMs = 30000;
constexpr int kMessagesPauseMs = 100;
constexpr int kSubscribe = 1;

}  // namespace

/// Records the events that a scenario expects.
class ClientStage::Watcher : public ZnPresenterClass {
public:
    Watcher(std::shared_ptr<ScenarioTape> tape, const QVector<Event>& events)
        : ZnPresenterClass(QStringLiteral("ZNApp.Scenario"), nullptr,
                           IMessageInterface::OwnThreads),
          m_tape(std::move(tape)),
          m_events(events) {
        for (const Event& event : m_events) {
            SubEvent(pluginPid(), event.id, kSubscribe);
        }
    }

    void ProcEventMsg(QString srcId, QVariant eventId, QVariant body) override {
        QJsonObject fields = jsonOfBody(body);
        fields.insert(QStringLiteral("id"), eventId.toInt());
        fields.insert(QStringLiteral("source"), srcId);
        for (const Event& event : m_events) {
            if (event.id == eventId.toInt()) {
                m_tape->add(RecordKind::Event, event.name, fields);
            }
        }
    }

private:
    const std::shared_ptr<ScenarioTape> m_tape;
    const QVector<Event> m_events;
};

ClientStage::ClientStage(const Client::Options& options, std::shared_ptr<ScenarioTape> tape)
    : m_options(options), m_tape(std::move(tape)) {
    m_options.wrapLink = [this](std::unique_ptr<GatewayLink> link) {
        return std::make_unique<RecordingLink>(std::move(link), m_tape);
    };
}

ClientStage::~ClientStage() {
    stop();
}

bool ClientStage::listenTo(const QString& event, QString* error) {
    bool isNumber = false;
    int id = event.toInt(&isNumber, 0);
    if (!isNumber) {
        id = VelmarUtils::GetTorviEventMsgIdByStr(event);
    }
    if (id == 0) {
        *error = QStringLiteral("no event has the name '%1'").arg(event);
        return false;
    }
    m_events.append({id, event});
    return true;
}

bool ClientStage::setSetting(const QString& name, const QString& value, QString* error) {
    QSettings settings(QDir(m_options.homeDir).filePath(QStringLiteral("settings/client.ini")),
                       QSettings::IniFormat);
    settings.setIniCodec(settingsCodec());
    settings.setValue(name, value);
    settings.sync();
    if (settings.status() == QSettings::NoError) {
        return true;
    }
    *error = QStringLiteral("%1 cannot be written").arg(settings.fileName());
    return false;
}

FaultPlan& ClientStage::faults() {
    return *m_options.faults;
}

void ClientStage::setClock(const QDateTime& time) {
    m_time = inExchangeZone(time);
    LocalPlatform::instance().setClock([time = m_time] { return time; });
}

void ClientStage::advanceClock(qint64 ms) {
    setClock((m_time.isValid() ? m_time : exchangeNow()).addMSecs(ms));
}

void ClientStage::platformStarted() {
    if (m_time.isValid()) {
        // Starting the platform has set its clock back to the machine's.
        setClock(m_time);
    }
    auto* const watcher = new Watcher(m_tape, m_events);
    watcher->initPresenter();
    CommonQuotaHandler& feed = CommonQuotaHandler::instance();
    QObject::connect(
        &feed, &CommonQuotaHandler::sigTickDataUpdate, &m_client->gate(),
        [tape = m_tape](const QString& symbol, const QVariantMap& tick, const QString& source) {
            QJsonObject fields = exactJsonObject(tick);
            fields.insert(QStringLiteral("source"), source);
            tape->add(RecordKind::Tick, symbol, fields);
        });
    feed.Init();
}

bool ClientStage::begin(const QString& user, QString* error) {
    if (!user.isEmpty()) {
        m_options.user = user;
    }
    Client::Listener listener;
    listener.platformStarted = [this] { platformStarted(); };
    m_client = std::make_unique<Client>(m_options, listener);
    return m_client->begin(error);
}

bool ClientStage::ready(int limitMs, QString* error) {
    return m_client->awaitAccounts(limitMs, error);
}

int ClientStage::push(const QString& topic, const QVariant& body, const QString& user) {
    ServerEngine* const server = m_client->server();
    return server ? server->push(topic, body, user) : 0;
}

bool ClientStage::putMessage(const QString& user, const QVariantMap& message, QString* error) {
    ServerEngine* const server = m_client->server();
    if (!server) {
        *error = QStringLiteral("the client has no server");
        return false;
    }
    const QString& receiver = user.isEmpty() ? m_options.user : user;
    return server->publishMessage(receiver, message, nullptr, nullptr, error);
}

bool ClientStage::hasMessageSubscriber(const QString& user) const {
    const ServerEngine* const server = m_client->server();
    return server && server->hasMessageSubscriber(user.isEmpty() ? m_options.user : user);
}

bool ClientStage::putPatch(const QVariantMap& patch, QString* error) {
    ServerEngine* const server = m_client->server();
    if (!server) {
        *error = QStringLiteral("the client has no server");
        return false;
    }
    return server->publishPatch(patch, nullptr, error);
}

bool ClientStage::hasPatchSubscriber() const {
    const ServerEngine* const server = m_client->server();
    return server && server->hasPatchSubscriber();
}

void ClientStage::tick(const QString& symbol, const QVariantMap& fields, const QString& source) {
    LocalPlatform::instance().publishTick(symbol, fields, source);
}

void ClientStage::setGate(const QString& gate, const QString& netState) {
    if (FaultyLink* const link = m_client->link()) {
        link->setGate(gate, netState);
    }
}

DayBook* ClientStage::book(QString* error) const {
    DayBook* const book = m_client->book();
    if (!book) {
        *error = QStringLiteral("the client has no book of the day");
    }
    return book;
}

bool ClientStage::putDeal(const QVariantMap& deal, QString* error) {
    DayBook* const to = book(error);
    return to && to->putDeal(deal, error);
}

bool ClientStage::putPosition(const QVariantMap& position, QString* error) {
    DayBook* const to = book(error);
    return to && to->setPosition(position, error);
}

bool ClientStage::putOrder(const QVariantMap& order, QString* error) {
    DayBook* const to = book(error);
    return to && to->putOrder(order, error);
}

bool ClientStage::readBook(const QString& account, QJsonObject* answer, QString* error) {
    const DayBook* const from = book(error);
    if (!from) {
        return false;
    }
    if (!Client::platformAccounts().contains(account)) {
        *error = QStringLiteral("no account is called '%1'").arg(account);
        return false;
    }
    const auto listOf = [](const QList<QVariantMap>& rows) {
        QJsonArray list;
        for (const QVariantMap& row : rows) {
            list.append(exactJsonObject(row));
        }
        return list;
    };
    const QVariantMap filter{{UserAccount::tradingAccount, account}};
    *answer = {{QStringLiteral("cash"), from->cash(account)},
               {QStringLiteral("cashMoved"), from->cashMoved(account)},
               {QStringLiteral("positions"), listOf(from->positions(filter))},
               {QStringLiteral("orders"), listOf(from->orders(filter, 0, -1, nullptr))},
               {QStringLiteral("executions"), listOf(from->executions(filter, 0, -1, nullptr))}};
    return true;
}

bool ClientStage::reloadBook(QString* error) {
    DayBook* const to = book(error);
    return to && to->reload(error);
}

FacadeAsk ClientStage::asking() {
    return
        [this](const FacadeFunction& function, const QStringList& arguments, QJsonObject* answer) {
            return m_client->call(function, arguments, kCallLimitMs, answer);
        };
}

bool ClientStage::checkMessages(QJsonObject* answer, QString* error) {
    MessageCheck check;
    if (!MessagePlacesCheck(*m_client, asking()).compare(&check, error)) {
        return false;
    }
    *answer = check.asJson();
    if (!check.agrees()) {
        // Each look sends requests, which the scenario records.
        m_client->gate().waitUntil(&InterruptWatch::hasCome, kMessagesPauseMs);
    }
    return true;
}

bool ClientStage::repairMessages(QString* error) {
    MessageCheck check;
    MessagePlacesCheck places(*m_client, asking());
    if (!places.compare(&check, error)) {
        return false;
    }
    places.pushAgain(check.missing);
    return true;
}

bool ClientStage::call(const QString& function, const QStringList& arguments, QJsonObject* answer,
                       QString* error) {
    const FacadeFunction* const chosen = m_client->facade().choose(function, arguments, error);
    if (!chosen) {
        return false;
    }
    if (!m_client->call(*chosen, arguments, kCallLimitMs, answer)) {
        *error = QStringLiteral("%1 did not return").arg(function);
        return false;
    }
    return true;
}

int ClientStage::pendingRequests() const {
    return LocalPlatform::instance().pendingRequestCount();
}

bool ClientStage::waitUntil(const std::function<bool()>& predicate, int limitMs) {
    // The predicate may depend on any thread's work, which does not wake the gate: poll.
    QElapsedTimer timer;
    timer.start();
    while (!predicate()) {
        if (timer.elapsed() >= limitMs || InterruptWatch::hasCome()) {
            return false;
        }
        m_client->gate().waitUntil([] { return false; }, kLookAgainMs);
    }
    return true;
}

void ClientStage::stop() {
    if (m_client) {
        m_client->stop();
    }
}
