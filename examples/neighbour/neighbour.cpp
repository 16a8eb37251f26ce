#include "neighbour.h"

#include "account_table.h"
#include "commonquotahandler/common_quota_handler.h"
#include "neighbour_log.h"
#include "vocabulary/tick_fields.h"

namespace {

constexpr int kFiveLevels = 0;
enum Subscription { Unsubscribe = 0, Subscribe = 1 };

QStringList watchedSymbols() {
    return {QStringLiteral("600000.SH")};
}

}  // namespace

void Neighbour::initialize() {
    m_presenter = new NeighbourPresenter(this);
    printAccountTable();
    followTicks();
    // Starts the presenter's threads. Last, so that everything an event may need is there.
    m_presenter->initPresenter();
}

void Neighbour::followTicks() {
    CommonQuotaHandler& feed = CommonQuotaHandler::instance();
    if (!feed.Init()) {
        return;
    }
    connect(&feed, &CommonQuotaHandler::sigTickDataUpdate, this, &Neighbour::takeTick);
    feed.subscribe(watchedSymbols(), Subscribe, kFiveLevels);
    m_followsTicks = true;
}

void Neighbour::takeTick(const QString& symbol, const QVariantMap& tick) {
    // The signal carries the ticks of every symbol that anybody subscribed to.
    if (!watchedSymbols().contains(symbol)) {
        return;
    }
    if (++m_ticks == 1) {
        qCInfo(lcNeighbour) << "first tick of" << symbol << "at"
                            << tick.value(TickField::lastPrice).toDouble();
    }
}

Neighbour::~Neighbour() {
    if (m_followsTicks) {
        CommonQuotaHandler::instance().subscribe(watchedSymbols(), Unsubscribe, kFiveLevels);
    }
    const int events = m_presenter ? m_presenter->eventCount() : 0;
    if (m_presenter) {
        // Joins the presenter's threads: no event arrives any more when it returns.
        m_presenter->deleteLater();
    }
    if (m_followsTicks) {
        qCInfo(lcNeighbour) << "shut down after" << m_ticks << "ticks and" << events << "events";
    }
}
