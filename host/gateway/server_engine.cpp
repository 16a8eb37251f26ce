#include "server_engine.h"

#include <algorithm>

#include "gateway_log.h"
#include "message_type.h"
#include "packed_body.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "whole_number.h"
#include "znmsg/c_pack_message_common.h"

namespace {

// Where the older messages look for the text of a failure.
inline const QString kFailureText = QStringLiteral("58");
inline const QString kRefused = QStringLiteral("1");

QVariant pack(const QString& msgType, const QVariant& clientMsgId, const HandlerAnswer& answer) {
    CPackMessageCommon packer;
    packer.AddVaule(System::msgType, msgType);
    if (clientMsgId.isValid()) {
        packer.AddVaule(System::clientMsgID, clientMsgId);
    }
    const bool refused = !answer.refusal.isEmpty();
    const int count = refused ? 0 : answer.rows.size();
    packer.AddVaule(System::subGroupNumber, count);
    packer.AddVaule(System::totalSize, answer.totalSize < 0 || refused ? count : answer.totalSize);
    packer.AddVaule(System::textDescription, answer.refusal);
    if (refused) {
        packer.AddVaule(System::requestExeStatus, kRefused);
        packer.AddVaule(kFailureText, answer.refusal);
        return packer.GetPackedMsg(false);
    }
    packer.AddVaule(System::requestExeStatus, answer.successStatus);
    packer.AddRowVaule(answer.header);
    for (const QVariantMap& row : answer.rows) {
        packer.AddRow();
        packer.AddRowVaule(row);
    }
    return packer.GetPackedMsg(false);
}

/// Leaves the rows that the header tells of; without a number there all are meant. False with a
/// text for what is no number, and where it tells of more than there are.
bool cutToToldRows(const QString& msgType, const QVariantMap& header, QList<QVariantMap>* rows,
                   QString* refusal) {
    const QVariant value = header.value(System::subGroupNumber);
    if (!value.isValid()) {
        return true;
    }
    const std::optional<int> told = wholeNumberOf(value);
    if (!told || *told < 0) {
        *refusal = QStringLiteral("消息%1的数据行数无效：%2").arg(msgType, value.toString());
        return false;
    }
    if (*told > rows->size()) {
        *refusal = QStringLiteral("消息%1应有%2行数据，实有%3行")
                       .arg(msgType)
                       .arg(*told)
                       .arg(rows->size());
        return false;
    }
    *rows = rows->mid(0, *told);
    return true;
}

}  // namespace

ServerHandlers standardHandlers() {
    ServerHandlers handlers;
    addSessionHandlers(handlers);
    addAccountHandlers(handlers);
    addAuthorityHandlers(handlers);
    addSubscriptionHandlers(handlers);
    addProfileHandlers(handlers);
    addCageHandlers(handlers);
    return handlers;
}

ServerEngine::ServerEngine(std::shared_ptr<const MarketStore> store,
                           std::shared_ptr<ServerState> state)
    : m_store(std::move(store)),
      m_state(state ? std::move(state) : ServerState::inMemory()),
      m_handlers(standardHandlers()) {}

std::shared_ptr<ServerEngine> ServerEngine::open(const QString& storeFile, QString* error,
                                                 std::shared_ptr<ServerState> state) {
    auto store = MarketStore::open(storeFile, error);
    return store ? std::make_shared<ServerEngine>(std::move(store), std::move(state)) : nullptr;
}

void ServerEngine::addHandler(const QString& msgType, const ServerHandler& handler) {
    m_handlers.insert(msgType, handler);
}

Session ServerEngine::openSession(std::weak_ptr<PushTarget> target) {
    return m_subscriptions.open(std::move(target));
}

void ServerEngine::closeSession(const Session& session) {
    m_subscriptions.close(session);
}

QVariant ServerEngine::handle(const Session& session, const QString& envelopeType,
                              const QVariant& body) {
    QList<QVariantMap> rows = rowsOfPackedBody(body);
    const QVariantMap header = rows.takeFirst();
    const QString msgType = messageTypeOf(envelopeType, header);
    QString refusal;
    const bool isWhole = cutToToldRows(msgType, header, &rows, &refusal);
    const ServerCall call{session, msgType, header, rows, *m_store, m_subscriptions, *m_state};
    const HandlerAnswer answer = isWhole ? dispatch(call) : HandlerAnswer::refused(refusal);
    if (!answer.refusal.isEmpty()) {
        qCInfo(lcGateway).noquote() << "ServerEngine refused" << msgType << "under" << envelopeType
                                    << ":" << answer.refusal;
    }
    return pack(msgType, call.header.value(System::clientMsgID), answer);
}

HandlerAnswer ServerEngine::dispatch(const ServerCall& call) const {
    // Every request has at least its type in the header; garbage reads as an empty one.
    if (call.header.isEmpty()) {
        return HandlerAnswer::refused(QStringLiteral("消息%1的内容无法解析").arg(call.msgType));
    }
    const auto handler = m_handlers.constFind(call.msgType);
    if (handler == m_handlers.cend()) {
        return HandlerAnswer::refused(QStringLiteral("不支持的消息类型：%1").arg(call.msgType));
    }
    return (*handler)(call);
}

int ServerEngine::push(const QString& topic, const QVariant& body, const QString& userId) {
    const auto targets = m_subscriptions.targets(topic, userId);
    for (const auto& target : targets) {
        target->pushed(topic, body);
    }
    return targets.size();
}

QStringList ServerEngine::messageTypes() const {
    QStringList types = m_handlers.keys();
    std::sort(types.begin(), types.end());
    return types;
}
