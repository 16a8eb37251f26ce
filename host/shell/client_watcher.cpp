#include "client_watcher.h"

#include <mutex>
#include <utility>

#include "gate_events.h"
#include "trade_fields.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/values.h"
#include "znmsg/c_un_pack_message_common.h"

namespace {

constexpr int kSubscribe = 1;
constexpr int kKeptDeals = 5;

bool isDealEvent(int id) {
    return id == NeighbourEvent::normalDeal || id == NeighbourEvent::marginDeal;
}

}  // namespace

struct ClientSight::Seen {
    mutable std::mutex lock;  // guards what follows
    bool accountsReady = false;
    bool cageLoadOver = false;
    bool profitsReady = false;
    bool messagesLoaded = false;
    QMap<QString, QString> gates;
    QVector<SeenDeal> deals;
};

ClientSight::ClientSight() : m_seen(std::make_unique<Seen>()) {}

ClientSight::~ClientSight() = default;

bool ClientSight::accountsReady() const {
    const std::lock_guard<std::mutex> guard(m_seen->lock);
    return m_seen->accountsReady;
}

bool ClientSight::cageLoadOver() const {
    const std::lock_guard<std::mutex> guard(m_seen->lock);
    return m_seen->cageLoadOver;
}

bool ClientSight::profitsReady() const {
    const std::lock_guard<std::mutex> guard(m_seen->lock);
    return m_seen->profitsReady;
}

bool ClientSight::messagesLoaded() const {
    const std::lock_guard<std::mutex> guard(m_seen->lock);
    return m_seen->messagesLoaded;
}

QMap<QString, QString> ClientSight::gates() const {
    const std::lock_guard<std::mutex> guard(m_seen->lock);
    return m_seen->gates;
}

QVector<SeenDeal> ClientSight::lastDeals() const {
    const std::lock_guard<std::mutex> guard(m_seen->lock);
    return m_seen->deals;
}

void ClientSight::addDeal(const SeenDeal& deal) {
    const std::lock_guard<std::mutex> guard(m_seen->lock);
    m_seen->deals.append(deal);
    if (m_seen->deals.size() > kKeptDeals) {
        m_seen->deals.removeFirst();
    }
}

void ClientSight::setAccountsReady() {
    const std::lock_guard<std::mutex> guard(m_seen->lock);
    m_seen->accountsReady = true;
}

void ClientSight::setCageLoadOver() {
    const std::lock_guard<std::mutex> guard(m_seen->lock);
    m_seen->cageLoadOver = true;
}

void ClientSight::setProfitsReady() {
    const std::lock_guard<std::mutex> guard(m_seen->lock);
    m_seen->profitsReady = true;
}

void ClientSight::setMessagesLoaded() {
    const std::lock_guard<std::mutex> guard(m_seen->lock);
    m_seen->messagesLoaded = true;
}

void ClientSight::setGate(const QString& gate, const QString& netState) {
    const std::lock_guard<std::mutex> guard(m_seen->lock);
    m_seen->gates.insert(gate, netState);
}

ClientWatcher::ClientWatcher(std::shared_ptr<ClientSight> sight, std::function<void()> onChange,
                             bool keepsDeals)
    : ZnPresenterClass(QStringLiteral("ZNApp.LocalClient"), nullptr, IMessageInterface::OwnThreads),
      m_sight(std::move(sight)),
      m_onChange(std::move(onChange)),
      m_accountsEvent(
          VelmarUtils::GetTorviEventMsgIdByStr(EventMsgName::Velmar_Fundaccount_Inited)),
      m_cageEvent(VelmarUtils::GetTorviEventMsgIdByStr(EventMsgName::PRICE_CAGE_INFO_FINISH_INIT)),
      m_profitsEvent(VelmarUtils::GetTorviEventMsgIdByStr(EventMsgName::RealizedProfitInitedEvent)),
      m_messagesEvent(VelmarUtils::GetTorviEventMsgIdByStr(EventMsgName::BUSI_MSG_LOADED)) {
    SubEvent(pluginPid(), m_accountsEvent, kSubscribe);
    SubEvent(pluginPid(), m_cageEvent, kSubscribe);
    SubEvent(pluginPid(), m_profitsEvent, kSubscribe);
    SubEvent(pluginPid(), m_messagesEvent, kSubscribe);
    for (const GateEvent& event : gateEvents()) {
        SubEvent(pluginPid(), event.id, kSubscribe);
    }
    if (keepsDeals) {
        SubEvent(pluginPid(), NeighbourEvent::normalDeal, kSubscribe);
        SubEvent(pluginPid(), NeighbourEvent::marginDeal, kSubscribe);
    }
}

void ClientWatcher::procDeal(const QVariant& body) {
    CUnPackMessageCommon unpacker;
    unpacker.SetUnPackMsg(body, false);
    const QVariantMap record = unpacker.GetRowValue();
    // Rows that only report a cancel come by the same events.
    if (record.value(UserAccount::ExchangeExecType).toString() != EntrustType::cancelOrder) {
        m_sight->addDeal({QTime::currentTime(), record});
    }
}

void ClientWatcher::ProcEventMsg(QString, QVariant eventId, QVariant body) {
    const int id = eventId.toInt();
    if (isDealEvent(id)) {
        procDeal(body);
        return;
    }
    if (id == m_accountsEvent) {
        m_sight->setAccountsReady();
    }
    if (id == m_cageEvent) {
        m_sight->setCageLoadOver();
    }
    if (id == m_profitsEvent) {
        m_sight->setProfitsReady();
    }
    if (id == m_messagesEvent) {
        m_sight->setMessagesLoaded();
    }
    for (const GateEvent& event : gateEvents()) {
        if (id == event.id) {
            m_sight->setGate(event.gate, body.toString());
        }
    }
    m_onChange();
}
