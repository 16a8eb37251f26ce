#include <QDate>
#include <QSet>
#include <QtTest>

#include "market_server.h"
#include "vocabulary/names.h"
#include "vocabulary/own_keys.h"
#include "vocabulary/velmar_msg_type.h"

namespace {

inline const QString kVersion = Velmar_MsgType::queryProductDataVersionRequest;
inline const QString kNotices = Velmar_MsgType::queryProductRiskInfoRequest;
inline const QString kTypes = Velmar_MsgType::QueryRiskSecurityFlagInfoRequest;
inline const QString kMonitored = Velmar_MsgType::QueryMonitorSymbolsRequest;

QVariantMap login(const QString& user = SampleLogin::user) {
    return {{UserAccount::loginUserId, user}};
}
QVariantMap page(QVariantMap fields, int number, int size) {
    fields.insert(System::pageNo, number);
    fields.insert(System::pageSize, size);
    return fields;
}

}  // namespace

/// Requests for risk notices, risk types and key-monitor symbols to the sample market's server.
class RiskHandlersTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        QString error;
        QVERIFY2(m_server.make(&error), qPrintable(error));
    }

    void version_ofTheNotices_isAtLeastOne() {
        m_server.ask(kVersion, {{System::dataKey, OwnKeys::riskInfoItem}});
        QCOMPARE(m_server.column(System::dataKey), QStringList(OwnKeys::riskInfoItem));
        QVERIFY(m_server.rows().first().value(System::dataVersion).toInt() >= 1);
    }
    void version_unknownKey_isASuccessWithoutRows() {
        QCOMPARE(m_server.refusal(kVersion, {{System::dataKey, "no such"}}), QString());
        QVERIFY(m_server.rows().isEmpty());
    }

    void notices_flags_areBooleansAndDatesAreDays() {
        m_server.ask(kNotices, page({}, 1, 1000));
        int st = 0;
        int delisted = 0;
        for (const QVariantMap& row : m_server.rows()) {
            QCOMPARE(row.value(Security::STFlag).userType(), int(QMetaType::Bool));
            QCOMPARE(row.value(Security::delistFlag).userType(), int(QMetaType::Bool));
            QVERIFY(!row.value(Security::securityID).toString().isEmpty());
            QVERIFY(!row.value(UserAccount::securityExchange).toString().isEmpty());
            QVERIFY(row.value(Security::riskRemindInfo).toString().contains("风险"));
            st += row.value(Security::STFlag).toBool() ? 1 : 0;
            if (row.value(Security::delistFlag).toBool()) {
                ++delisted;
                QVERIFY(QDate::fromString(row.value(Security::delistDate).toString(),
                                          DateTimeFormatString::TRANS_DATE_FROMAT)
                            .isValid());
            }
        }
        QVERIFY(st > delisted && delisted > 0);
    }

    void notices_smallPages_giveTheWholeListOnce() {
        m_server.ask(kNotices, {});
        const QStringList all = m_server.column(Security::securityID);
        QStringList collected;
        for (int number = 1; collected.size() < all.size() && number < 100; ++number) {
            const QVariantMap header = m_server.ask(kNotices, page({}, number, 3));
            QCOMPARE(header.value(System::totalSize).toInt(), all.size());
            collected += m_server.column(Security::securityID);
        }
        QCOMPARE(collected, all);
        QVERIFY(all.size() > 3);
    }

    void riskTypes_areWholeNumbersOfBothKinds() {
        m_server.ask(kTypes, page(login(), 1, 1000));
        QSet<int> types;
        for (const QVariantMap& row : m_server.rows()) {
            types.insert(row.value(SymbolRiskType::riskFlagType).toInt());
            QVERIFY(!row.value(Security::securityID).toString().isEmpty());
        }
        QCOMPARE(types,
                 (QSet<int>{SymbolRiskType::BreakingIssuePrice, SymbolRiskType::BrokenNetPrice}));
    }

    void monitored_row_hasAnIdWithItsExchangeOrASymbolAlone() {
        m_server.ask(kMonitored, login());
        int bySymbol = 0;
        for (const QVariantMap& row : m_server.rows()) {
            QVERIFY(!row.value(Security::symbol).toString().isEmpty());
            QCOMPARE(row.contains(Security::securityID),
                     row.contains(UserAccount::securityExchange));
            bySymbol += row.contains(Security::securityID) ? 0 : 1;
        }
        const int first = m_server.rows().size();
        QVERIFY(bySymbol > 0 && bySymbol < first);
        m_server.ask(kMonitored, login(SampleLogin::secondUser));
        QVERIFY(!m_server.rows().isEmpty() && m_server.rows().size() < first);
    }

    void unknownUser_isRefused() {
        QCOMPARE(m_server.refusal(kTypes, login("nobody")), QString("用户nobody不存在"));
        QCOMPARE(m_server.refusal(kMonitored, {}), QString("用户不存在"));
    }

private:
    MarketServer m_server;
};

QTEST_GUILESS_MAIN(RiskHandlersTest)
#include "risk_handlers_test.moc"
