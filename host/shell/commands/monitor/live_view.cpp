#include "live_view.h"

#include <QElapsedTimer>
#include <QJsonArray>
#include <algorithm>

#include "figures_text.h"
#include "gateway_log.h"
#include "live_block.h"
#include "local_platform.h"
#include "monitor_keys.h"
#include "monitor_view.h"
#include "status_file.h"
#include "vocabulary/values.h"
#include "znbusinessdata/c_business_data_base.h"
#include "zncore/zn_core.h"

namespace {

constexpr int kPauseMs = 1000;

/// The sum of all numbers of a record, through records within it.
double sumOf(const QJsonValue& value) {
    if (!value.isObject()) {
        return countable(value.toDouble());
    }
    double sum = 0;
    const QJsonObject record = value.toObject();
    for (const QJsonValue& one : record) {
        sum += sumOf(one);
    }
    return sum;
}

/// The figures of the plug-in that a terminal shows, by its exported functions.
class MoneyReader {
public:
    explicit MoneyReader(const FacadeLibrary& library) {
        QString error;
        m_value = library.choose(QStringLiteral("GetMarketValueByTradingAccount"),
                                 {QStringLiteral("account")}, &error);
        m_profit = library.choose(QStringLiteral("GetAllRealizedProfitMap"), {}, &error);
        m_unread = library.choose(QStringLiteral("GetUnreadBusiMsgList"), {}, &error);
    }

    /// False when the library lacks one of the functions. Blocks as they do.
    bool read(LiveFacts* facts) const {
        if (!m_value || !m_profit || !m_unread) {
            return false;
        }
        facts->marketValue = 0;
        const QStringList accounts =
            CBusinessDataBase::GetInstance()->GetTradeAccountList({AuthorityType::AccountTrade});
        for (const QString& account : accounts) {
            const QJsonObject value = resultOf(*m_value, {account}).toObject();
            facts->marketValue += countable(value.value(QLatin1String("marketValue")).toDouble());
        }
        facts->realizedProfit = sumOf(resultOf(*m_profit, {}));
        facts->unreadMessages = resultOf(*m_unread, {}).toArray().size();
        facts->hasMoney = true;
        return true;
    }

private:
    static QJsonValue resultOf(const FacadeFunction& function, const QStringList& arguments) {
        return function.call(arguments).value(QLatin1String("result"));
    }

    const FacadeFunction* m_value = nullptr;
    const FacadeFunction* m_profit = nullptr;
    const FacadeFunction* m_unread = nullptr;
};

void draw(LiveBlock& block, Client& client, LiveFacts& facts) {
    facts.status = client.status();
    facts.figures = MonitorFigures::of(ownFigures(client));
    facts.deals = client.lastDeals();
    // The last column and the first row stay free: some terminals scroll when they are written.
    block.draw(liveLines(facts, StatusLine::terminalColumns() - 1, LiveBlock::terminalRows() - 1));
}

/// Logs a failure once, until a write succeeds.
void noteStatus(StatusFile& file, const QVariantMap& figures, qint64 nowMs) {
    const QString before = file.error();
    if (!file.note(figures, nowMs) && file.error() != before) {
        qCWarning(lcGateway).noquote() << file.error();
    }
}

}  // namespace

QVariantMap ownFigures(const Client& client) {
    return withGateStates(ZnCore::instance()->getCommonInfo(MonitorKey::board).toMap(),
                          client.status().gates);
}

void stayUp(WatchedClient& watched, bool isLive) {
    Client& client = watched.client;
    const MoneyReader money(client.facade());
    StatusFile status(LocalPlatform::instance().homeDir());
    LiveBlock block;
    LiveFacts facts;
    QElapsedTimer sinceStart;
    sinceStart.start();
    while (!InterruptWatch::hasCome()) {
        qint64 pause = kPauseMs;
        noteStatus(status, ownFigures(client), sinceStart.elapsed());
        if (isLive) {
            draw(block, client, facts);
            LiveFacts read = facts;
            QElapsedTimer reading;
            reading.start();
            if (!client.run([&] { money.read(&read); }, -1)) {
                break;
            }
            facts = read;
            draw(block, client, facts);
            // With very many accounts the figures are read less often.
            constexpr int kShare = 10;
            pause = std::max(pause, kShare * reading.elapsed());
        }
        client.gate().waitUntil(&InterruptWatch::hasCome, int(pause));
    }
    block.leave();
}
