// Reports of the server over the sample market of the standard size, or of the scale in the
// argument, each beside the bare packing and reading of an answer with as many rows.

#include <QCoreApplication>
#include <QLoggingCategory>
#include <QTemporaryDir>
#include <cstdio>

#include "bench_timing.h"
#include "host_msg_type.h"
#include "packed_body.h"
#include "sample_market.h"
#include "server_engine.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "vocabulary/velmar_msg_type.h"
#include "znmsg/c_pack_message_common.h"

namespace {

constexpr int kRuns = 7;

QVariant packed(const QString& type, const QVariantMap& fields, const QStringList& accounts = {}) {
    CPackMessageCommon packer;
    packer.AddVaule(System::msgType, type);
    packer.AddVaule(System::subGroupNumber, accounts.size());
    packer.AddRowVaule(fields);
    for (const QString& account : accounts) {
        packer.AddRow();
        packer.AddRowVaule({{UserAccount::tradingAccount, account}});
    }
    return packer.GetPackedMsg(false);
}

QVariant repacked(const QList<QVariantMap>& rows) {
    CPackMessageCommon packer;
    packer.AddVaule(System::msgType, QStringLiteral("bare"));
    for (const QVariantMap& row : rows) {
        packer.AddRow();
        packer.AddRowVaule(row);
    }
    return packer.GetPackedMsg(false);
}

class Server {
public:
    bool open(const QString& file, QString* error) {
        m_engine = ServerEngine::open(file, error);
        if (!m_engine) {
            return false;
        }
        m_session = m_engine->openSession({});
        m_engine->handle(
            m_session, HostMsgType::login,
            packed(HostMsgType::login, {{UserAccount::loginUserId, SampleLogin::user},
                                        {HostField::password, SampleLogin::password}}));
        return true;
    }

    void measure(const char* name, const QString& type, const QVariantMap& fields,
                 const QStringList& accounts = {}) {
        std::vector<double> times;
        std::vector<double> bare;
        int rows = 0;
        for (int run = 0; run < kRuns; ++run) {
            QVariant answer;
            times.push_back(millisecondsOf([&] {
                answer = m_engine->handle(m_session, type, packed(type, fields, accounts));
            }));
            const QList<QVariantMap> list = rowsOfPackedBody(answer).mid(1);
            rows = list.size();
            bare.push_back(millisecondsOf([&] { answer = repacked(list); }));
        }
        std::printf("%-44s %7d rows %9.2f ms, packing alone %9.2f ms\n", name, rows,
                    medianOf(times), medianOf(bare));
    }

private:
    std::shared_ptr<ServerEngine> m_engine;
    Session m_session;
};

}  // namespace

int main(int argc, char** argv) {
    const QCoreApplication app(argc, argv);
    QLoggingCategory::setFilterRules(QStringLiteral("velmar.*=false"));
    MarketOptions options;
    options.scale = argc > 1 ? QByteArray(argv[1]).toInt() : 1;
    const QTemporaryDir dir;
    QString error;
    Server server;
    if (!makeSampleMarket(dir.path(), options, {}, &error) ||
        !server.open(marketStoreFile(dir.path()), &error)) {
        std::fprintf(stderr, "%s\n", qPrintable(error));
        return 1;
    }
    constexpr int kManyAccounts = 10000;
    QStringList accounts;
    for (int i = 1; i <= kManyAccounts; ++i) {
        accounts.append(QStringLiteral("T%1").arg(i, 6, 10, QLatin1Char('0')));
    }
    const QVariantMap year{{System::startDate, 20250101}, {System::endDate, 20251231}};
    const QVariantMap day{{System::queryDate, QStringLiteral("20250630")}};
    server.measure("funds of a year, one account", Velmar_MsgType::queryHistoryNormalFundRequest,
                   year, accounts.mid(0, 1));
    server.measure("funds of a year, 200 accounts", Velmar_MsgType::queryHistoryNormalFundRequest,
                   year, accounts.mid(0, 200));
    server.measure("funds of a day, 200 accounts", Velmar_MsgType::queryTodayNormalFundRequest, day,
                   accounts.mid(0, 200));
    server.measure("funds of a day, 10,000 accounts", Velmar_MsgType::queryTodayNormalFundRequest,
                   day, accounts);
    server.measure("margin of a day, 200 accounts", Velmar_MsgType::queryHistoryMarginFundRequest,
                   day, accounts.mid(0, 200));
    const QString product = QStringLiteral("P00001");
    const QString text = QStringLiteral("2025-12-30");
    server.measure("appraisement of a product", Velmar_MsgType::queryHistoryAppraisementRequest,
                   {{AppraisementInfo::ProductRecord, product},
                    {System::queryDate, text},
                    {System::pageNo, 1},
                    {System::pageSize, 3000}});
    server.measure("profit of a product", Velmar_MsgType::queryHistoryProfitRequest,
                   {{AppraisementInfo::ProductRecord, product}, {System::endTime, text}});
    server.measure("equity flow of a product", Velmar_MsgType::QueryPanfenFlowRequest,
                   {{PanfenEquityFlowInfo::ProductRecord, product},
                    {PanfenEquityFlowInfo::OccurredDate, text}});
    server.measure("annual report", Velmar_MsgType::getAnnualReportRequest,
                   {{UserAccount::userID, SampleLogin::user}});
    server.measure("trade days of three years", Velmar_MsgType::getSysTradeDateByScopeRequest,
                   {{SysTradeDate::TradeDayType, 1},
                    {SysTradeDate::InitStartDate, 20250101},
                    {SysTradeDate::InitEndDate, 20271231}});
    return 0;
}
