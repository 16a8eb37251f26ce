#pragma once

#include <QHash>
#include <QList>
#include <QString>
#include <QVariantMap>
#include <functional>

#include "market_store.h"
#include "server_state.h"
#include "subscriptions.h"
#include "vocabulary/values.h"

class MessageCentre;

/// A request as a handler receives it.
struct ServerCall {
    Session session;
    QString msgType;
    QVariantMap header;
    QList<QVariantMap> rows;  ///< data rows
    const MarketStore& store;
    Subscriptions& subscriptions;
    ServerState& state;
    MessageCentre& messages;
    QString gate = {};   ///< the NetGateType that the request came through
    int gateLosses = 0;  ///< Subscriptions::losses() of the gate when the request came in

    /// A field of the request: of its header, or of its first data row.
    QVariant value(const QString& key) const {
        const auto it = header.constFind(key);
        if (it != header.cend()) {
            return *it;
        }
        return rows.isEmpty() ? QVariant() : rows.first().value(key);
    }
    QString text(const QString& key) const { return value(key).toString(); }
};

/// What a handler answers.
struct HandlerAnswer {
    QString refusal;  ///< why nothing was done; empty for a success
    QList<QVariantMap> rows;
    qint64 totalSize = -1;  ///< rows that the server has; negative means those of this answer
    QVariantMap header;     ///< further fields of the header
    /// A text; the older messages use a number.
    QVariant successStatus = RequestExeStatus::success;

    static HandlerAnswer refused(const QString& text) {
        HandlerAnswer answer;
        answer.refusal = text;
        return answer;
    }
    static HandlerAnswer storeFailed() { return refused(QStringLiteral("服务端数据读取失败")); }
};

using ServerHandler = std::function<HandlerAnswer(const ServerCall&)>;
/// Handlers by message type. They run on the threads of any link, several at the same time.
using ServerHandlers = QHash<QString, ServerHandler>;
