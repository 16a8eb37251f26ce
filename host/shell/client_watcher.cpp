#include "client_watcher.h"

#include <mutex>
#include <utility>

#include "gate_events.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/names.h"
#include "vocabulary/values.h"

namespace {

constexpr int kSubscribe = 1;

}  // namespace

struct ClientSight::Seen {
    mutable std::mutex lock;  // guards what follows
    bool accountsReady = false;
    bool cageLoadOver = false;
    bool profitsReady = false;
    QMap<QString, QString> gates;
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

QMap<QString, QString> ClientSight::gates() const {
    const std::lock_guard<std::mutex> guard(m_seen->lock);
    return m_seen->gates;
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

void ClientSight::setGate(const QString& gate, const QString& netState) {
    const std::lock_guard<std::mutex> guard(m_seen->lock);
    m_seen->gates.insert(gate, netState);
}

ClientWatcher::ClientWatcher(std::shared_ptr<ClientSight> sight, std::function<void()> onChange)
    : ZnPresenterClass(QStringLiteral("ZNApp.LocalClient"), nullptr, IMessageInterface::OwnThreads),
      m_sight(std::move(sight)),
      m_onChange(std::move(onChange)),
      m_accountsEvent(
          VelmarUtils::GetTorviEventMsgIdByStr(EventMsgName::Velmar_Fundaccount_Inited)),
      m_cageEvent(VelmarUtils::GetTorviEventMsgIdByStr(EventMsgName::PRICE_CAGE_INFO_FINISH_INIT)),
      m_profitsEvent(
          VelmarUtils::GetTorviEventMsgIdByStr(EventMsgName::RealizedProfitInitedEvent)) {
    SubEvent(pluginPid(), m_accountsEvent, kSubscribe);
    SubEvent(pluginPid(), m_cageEvent, kSubscribe);
    SubEvent(pluginPid(), m_profitsEvent, kSubscribe);
    for (const GateEvent& event : gateEvents()) {
        SubEvent(pluginPid(), event.id, kSubscribe);
    }
}

void ClientWatcher::ProcEventMsg(QString, QVariant eventId, QVariant body) {
    const int id = eventId.toInt();
    if (id == m_accountsEvent) {
        m_sight->setAccountsReady();
    }
    if (id == m_cageEvent) {
        m_sight->setCageLoadOver();
    }
    if (id == m_profitsEvent) {
        m_sight->setProfitsReady();
    }
    for (const GateEvent& event : gateEvents()) {
        if (id == event.id) {
            m_sight->setGate(event.gate, body.toString());
        }
    }
    m_onChange();
}
