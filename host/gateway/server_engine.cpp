#include "server_engine.h"

#include <algorithm>

#include "gateway_log.h"
#include "handler_families.h"
#include "message_type.h"
#include "packed_body.h"
#include "patch_offers.h"
#include "row_count.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"
#include "znmsg/c_pack_message_common.h"

namespace {

// The older messages read the text of a failure from this field.
inline const QString kFailureText = QStringLiteral("58");
inline const QString kRefused = QStringLiteral("1");

QVariant pack(const QString& msgType, const QVariant& clientMsgId, const HandlerAnswer& answer) {
    CPackMessageCommon packer;
    packer.AddVaule(System::msgType, answerHeaderTypeOf(msgType));
    if (clientMsgId.isValid()) {
        packer.AddVaule(System::clientMsgID, clientMsgId);
    }
    const bool refused = !answer.refusal.isEmpty();
    const int count = refused ? 0 : answer.rows.size();
    const qint64 total = answer.totalSize < 0 || refused ? count : answer.totalSize;
    packer.AddVaule(System::subGroupNumber, count);
    packer.AddVaule(System::totalSize, total);
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

/// Keeps as many rows as the header states, all of them when it states no number. False with a text
/// for an invalid number and for one larger than the number of rows.
bool cutToStatedRows(const QString& msgType, const QVariantMap& header, QList<QVariantMap>* rows,
                     QString* refusal) {
    int count = 0;
    switch (readRowCount(header, rows->size(), &count)) {
        case RowCount::Missing:
            return true;
        case RowCount::Stated:
            *rows = rows->mid(0, count);
            return true;
        case RowCount::Invalid:
            *refusal = QStringLiteral("消息%1的数据行数无效：%2")
                           .arg(msgType, header.value(System::subGroupNumber).toString());
            return false;
        case RowCount::TooLarge:
            *refusal = QStringLiteral("消息%1应有%2行数据，实有%3行")
                           .arg(msgType)
                           .arg(count)
                           .arg(rows->size());
            return false;
    }
    return false;
}

}  // namespace

ServerEngine::ServerEngine(std::shared_ptr<const MarketStore> store,
                           std::shared_ptr<ServerState> state)
    : m_store(std::move(store)),
      m_state(state ? std::move(state) : ServerState::inMemory()),
      m_messages(std::make_unique<MessageCentre>(*m_store, *m_state)),
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

void ServerEngine::loseGate(const Session& session, const QString& gate) {
    const int dropped = m_subscriptions.loseGate(session, gate);
    if (dropped > 0) {
        qCInfo(lcGateway).noquote()
            << "ServerEngine dropped" << dropped << "subscriptions with" << gate;
    }
}

int ServerEngine::gateLosses(const Session& session, const QString& envelopeType) const {
    return m_subscriptions.losses(session, gateOf(envelopeType));
}

QVariant ServerEngine::handle(const Session& session, const QString& envelopeType,
                              const QVariant& body) {
    return handle(session, envelopeType, body, gateLosses(session, envelopeType));
}

QVariant ServerEngine::handle(const Session& session, const QString& envelopeType,
                              const QVariant& body, int lossesBefore) {
    QList<QVariantMap> rows = rowsOfPackedBody(body);
    const QVariantMap header = rows.takeFirst();
    const QString msgType = messageTypeOf(envelopeType, header);
    QString refusal;
    const bool isWhole = cutToStatedRows(msgType, header, &rows, &refusal);
    const ServerCall call{session,     msgType,     header,
                          rows,        *m_store,    m_subscriptions,
                          *m_state,    *m_messages, gateOf(envelopeType),
                          lossesBefore};
    const HandlerAnswer answer = isWhole ? dispatch(call) : HandlerAnswer::refused(refusal);
    if (!answer.refusal.isEmpty()) {
        qCInfo(lcGateway).noquote() << "ServerEngine refused" << msgType << "under" << envelopeType
                                    << ":" << answer.refusal;
    }
    return pack(msgType, call.header.value(System::clientMsgID), answer);
}

HandlerAnswer ServerEngine::dispatch(const ServerCall& call) const {
    // Every request has at least its type in the header; garbage decodes as an empty header.
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

void ServerEngine::setClock(std::function<QDateTime()> clock) {
    m_messages->setClock(std::move(clock));
}

bool ServerEngine::publishMessage(const QString& userId, const QVariantMap& fields,
                                  QVariantMap* stored, int* sessions, QString* error) {
    const auto targets = m_subscriptions.targets(Velmar_MsgType::MessageCenterPushMsg, userId);
    QVariantMap message;
    if (!m_messages->publish(userId, fields, !targets.isEmpty(), &message, error)) {
        return false;
    }
    CPackMessageCommon packer;
    packer.AddRowVaule(message);
    const QVariant body = packer.GetPackedMsg(false);
    for (const auto& target : targets) {
        target->pushed(Velmar_MsgType::MessageCenterPushMsg, body);
    }
    if (stored) {
        *stored = message;
    }
    if (sessions) {
        *sessions = targets.size();
    }
    return true;
}

bool ServerEngine::hasMessageSubscriber(const QString& userId) const {
    return !m_subscriptions.targets(Velmar_MsgType::MessageCenterPushMsg, userId).isEmpty();
}

bool ServerEngine::messagesOf(const QString& userId, MessageCentre::Extent extent,
                              QList<QVariantMap>* messages, QString* error) {
    MessageCentre::Query query;
    query.extent = extent;
    MessageCentre::Page page;
    if (!m_messages->read(userId, query, &page, error)) {
        return false;
    }
    *messages = page.rows;
    return true;
}

bool ServerEngine::publishPatch(const QVariantMap& fields, int* sessions, QString* error) {
    QVariantMap patch;
    if (!PatchOffers(*m_store, *m_state).publish(fields, &patch, error)) {
        return false;
    }
    CPackMessageCommon packer;
    packer.AddVaule(System::SubMsgType, SubscribeTopicSubType::clientPatchInfo);
    packer.AddVaule(System::textDescription, VelmarUtils::TransMap2Str(patch, *error));
    const int reached = push(Velmar_MsgType::ClientPatchInfoPush, packer.GetPackedMsg(false));
    if (sessions) {
        *sessions = reached;
    }
    return true;
}

bool ServerEngine::hasPatchSubscriber() const {
    return !m_subscriptions.targets(Velmar_MsgType::ClientPatchInfoPush).isEmpty();
}

QStringList ServerEngine::messageTypes() const {
    QStringList types = m_handlers.keys();
    std::sort(types.begin(), types.end());
    return types;
}
