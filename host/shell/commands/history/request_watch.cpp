#include "request_watch.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>
#include <QSet>
#include <mutex>
#include <utility>

#include "message_type.h"
#include "packed_body.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"

namespace {

bool isWatched(const QString& type) {
    static const QSet<QString> types{Velmar_MsgType::queryHistoryAssetDeliveryRequest,
                                     Velmar_MsgType::salesTradeRealGatherHistoryRequest,
                                     Velmar_MsgType::queryHistoryNormalFundRequest,
                                     Velmar_MsgType::queryHistoryMarginFundRequest,
                                     Velmar_MsgType::queryHistoryAppraisementRequest};
    return types.contains(type);
}

/// What a request asks for: the same for each of its attempts.
QString keyOf(const QString& type, QList<QVariantMap> rows) {
    rows.first().remove(System::clientMsgID);
    QJsonArray parts{type};
    for (const QVariantMap& row : qAsConst(rows)) {
        parts.append(QJsonObject::fromVariantMap(row));
    }
    return QString::fromUtf8(QJsonDocument(parts).toJson(QJsonDocument::Compact));
}

QString dayText(const QVariant& day) {
    const QDate date = QDate::fromString(day.toString(), QStringLiteral("yyyyMMdd"));
    return date.isValid() ? date.toString(Qt::ISODate) : day.toString();
}

/// The accounts and days of a request, for the user.
QString subjectOf(const QList<QVariantMap>& rows) {
    const QVariantMap& header = rows.first();
    QStringList accounts;
    for (const QVariantMap& row : rows) {
        for (const QString& field :
             {UserAccount::tradingAccount, AppraisementInfo::ProductRecord}) {
            const QString account = row.value(field).toString();
            if (!account.isEmpty() && !accounts.contains(account)) {
                accounts.append(account);
            }
        }
    }
    QString text = accounts.value(0);
    if (accounts.size() > 1) {
        text += QStringLiteral(" and %1 more").arg(accounts.size() - 1);
    }
    if (header.contains(System::startDate)) {
        return QStringLiteral("%1, %2 to %3")
            .arg(text, dayText(header.value(System::startDate)),
                 dayText(header.value(System::endDate)));
    }
    return QStringLiteral("%1, %2").arg(text, dayText(header.value(System::queryDate)));
}

/// Whether the plug-in takes the answer: a success with the rows that its header counts.
bool isUsable(const QVariant& body) {
    if (!isPackedBody(body)) {
        return false;
    }
    const QList<QVariantMap> rows = rowsOfPackedBody(body);
    const QVariantMap& header = rows.first();
    const int held = rows.size() - 1;
    bool isNumber = held == 0;
    const QVariant count = header.value(System::subGroupNumber);
    const int counted = count.isValid() ? count.toInt(&isNumber) : 0;
    return header.value(System::requestExeStatus).toString() == RequestExeStatus::success &&
           isNumber && counted >= 0 && counted <= held;
}

}  // namespace

/// The requests without a usable answer. Any thread.
class RequestWatch::Requests {
public:
    void sent(const GatewayRequest& request) {
        const QList<QVariantMap> rows = rowsOfPackedBody(request.body);
        const QString type = messageTypeOf(request.msgType, rows.first());
        if (!isWatched(type)) {
            return;
        }
        const std::lock_guard<std::mutex> guard(m_lock);
        m_open[keyOf(type, rows)] = {request.envelopeId, subjectOf(rows)};
    }

    /// Only the answer to the last attempt counts: earlier ones have timed out.
    void answered(quint64 envelopeId, const QVariant& body) {
        const std::lock_guard<std::mutex> guard(m_lock);
        for (auto it = m_open.begin(); it != m_open.end(); ++it) {
            if (it->envelopeId == envelopeId) {
                if (isUsable(body)) {
                    m_open.erase(it);
                } else {
                    it->envelopeId = 0;
                }
                return;
            }
        }
    }

    /// A later answer to the envelope does not reach the plug-in.
    void failed(quint64 envelopeId) { answered(envelopeId, {}); }

    QStringList takeLost() {
        const std::lock_guard<std::mutex> guard(m_lock);
        QStringList texts;
        for (const Open& one : qAsConst(m_open)) {
            texts.append(one.subject);
        }
        m_open.clear();
        return texts;
    }

private:
    struct Open {
        quint64 envelopeId = 0;  ///< of the last attempt; 0 when that has failed
        QString subject;
    };

    std::mutex m_lock;  // guards what follows
    QMap<QString, Open> m_open;
};

class RequestWatch::Link : public GatewayLink, private GatewayLinkListener {
public:
    Link(std::unique_ptr<GatewayLink> below, std::shared_ptr<Requests> requests)
        : m_below(std::move(below)), m_requests(std::move(requests)) {}
    // Not virtual here: a derived part is destroyed.
    ~Link() override { Link::stop(); }
    Q_DISABLE_COPY(Link)

    bool start(GatewayLinkListener* listener, QString* error) override {
        m_listener = listener;
        return m_below->start(this, error);
    }
    void stop() override { m_below->stop(); }
    bool send(const GatewayRequest& request) override {
        m_requests->sent(request);
        return m_below->send(request);
    }
    void loseGate(const QString& gate) override { m_below->loseGate(gate); }

private:
    // The watch comes first: the exported function returns as soon as the platform has the answer.
    void onAnswer(quint64 envelopeId, const QString& msgType, const QVariant& body) override {
        m_requests->answered(envelopeId, body);
        m_listener->onAnswer(envelopeId, msgType, body);
    }
    void onFailure(quint64 envelopeId, const QString& reason) override {
        m_requests->failed(envelopeId);
        m_listener->onFailure(envelopeId, reason);
    }
    void onTimeOut(quint64 envelopeId) override {
        m_requests->failed(envelopeId);
        m_listener->onTimeOut(envelopeId);
    }
    void onPush(const QString& msgType, const QVariant& body) override {
        m_listener->onPush(msgType, body);
    }
    void onGateState(const QString& gate, const QString& netState) override {
        m_listener->onGateState(gate, netState);
    }

    const std::unique_ptr<GatewayLink> m_below;
    const std::shared_ptr<Requests> m_requests;
    GatewayLinkListener* m_listener = nullptr;  // written before the link below starts
};

RequestWatch::RequestWatch() : m_requests(std::make_shared<Requests>()) {}

std::function<std::unique_ptr<GatewayLink>(std::unique_ptr<GatewayLink>)> RequestWatch::wrap()
    const {
    return [requests = m_requests](std::unique_ptr<GatewayLink> below) {
        return std::unique_ptr<GatewayLink>(std::make_unique<Link>(std::move(below), requests));
    };
}

QStringList RequestWatch::takeLost() {
    return m_requests->takeLost();
}
