#pragma once

#include <QTemporaryDir>
#include <memory>

#include "embedded_link.h"
#include "fault_plan.h"
#include "faulty_link.h"
#include "paged_query.h"
#include "sample_market.h"
#include "server_engine.h"
#include "server_under_test.h"
#include "small_market.h"
#include "vocabulary/fields.h"

/// The server engine over a sample market, in this process. As in the client, its link is wrapped
/// in a faulty one, here without planned faults, which takes gates down.
class EmbeddedServer : public ServerUnderTest {
public:
    EmbeddedServer() {
        static const QTemporaryDir dir;
        static QString error;
        static const bool made = makeSampleMarket(dir.path(), smallMarket(), {}, &error);
        m_engine = made ? ServerEngine::open(marketStoreFile(dir.path()), &error) : nullptr;
        if (!m_engine) {
            qFatal("no server engine: %s", qPrintable(error));
        }
        m_engine->addHandler(kTradedDays, &EmbeddedServer::tradedDays);
    }

    std::shared_ptr<GatewayLink> makeLink() override {
        m_link = std::make_shared<FaultyLink>(std::make_unique<EmbeddedLink>(m_engine),
                                              std::make_shared<FaultPlan>());
        return m_link;
    }
    void push(const QString& topic, const QVariant& body) override { m_engine->push(topic, body); }
    void setGate(const QString& gate, const QString& netState) override {
        m_link->setGate(gate, netState);
    }

private:
    static HandlerAnswer tradedDays(const ServerCall& call) {
        using Kind = PagedFilter::Kind;
        const QString day = QStringLiteral("h.trade_date");
        PagedSource source;
        source.columns = {{QStringLiteral("h.trading_account"), UserAccount::tradingAccount},
                          {day, UserAccount::tradeDate}};
        source.from = QStringLiteral(
            "history_day h JOIN trading_account t ON t.trading_account = h.trading_account"
            " JOIN account_authority o ON o.trading_account = h.trading_account"
            " AND o.user_id = ?");
        source.position = QStringLiteral("(t.seq * 100000000 + h.trade_date)");
        source.filters = {
            {Kind::OneOf, UserAccount::tradingAccount, QStringLiteral("h.trading_account")},
            {Kind::NotLess, System::startDate, day},
            {Kind::NotMore, System::endDate, day},
            {Kind::SameDate, System::queryDate, day}};
        source.statusField = UserAccount::tradingAccount;
        return answerPaged(call, source, {call.text(UserAccount::loginUserId)});
    }

    std::shared_ptr<ServerEngine> m_engine;
    std::shared_ptr<FaultyLink> m_link;
};
