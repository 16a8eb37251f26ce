#include "order_cross_check.h"

#include <QJsonDocument>
#include <QLoggingCategory>
#include <QTemporaryDir>
#include <QtTest>
#include <random>

#include "exact_json.h"
#include "log_capture.h"
#include "orders_check.h"
#include "orders_replay.h"
#include "small_client.h"
#include "trade_fields.h"
#include "vocabulary/constants.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "zndatabase/c_data_base.h"

using OrderCrossCheck::Verdict;

namespace {

QVariantMap order(const QString& id, const QString& status, const QVariant& cum,
                  const QVariant& cancelled) {
    return {{Security::orderID, id},
            {Security::orderStatus, status},
            {Security::cumQty, cum},
            {Security::cancelledQty, cancelled}};
}

QString jsonText(const QVariantMap& record) {
    return QString::fromUtf8(QJsonDocument(exactJsonObject(record)).toJson(QJsonDocument::Compact));
}

/// Whether the function has logged what it does for this verdict.
bool isLoggedAs(Verdict verdict, const QStringList& lines) {
    switch (verdict) {
        case Verdict::FirstReport:
        case Verdict::Accepted:
        case Verdict::NoOrderId:
        case Verdict::OtherOrder:
            return lines.isEmpty();
        case Verdict::StatusNotListed:
            return lines.size() == 1 && lines.first().startsWith("oldStatus = ");
        case Verdict::NotFinite:
            return lines.size() == 1 && lines.first().contains("not a finite quantity");
        case Verdict::NothingNew:
        case Verdict::Shrinks:
            return lines.size() == 1 && lines.first().startsWith("same status, ");
    }
    return false;
}

}  // namespace

Q_DECLARE_METATYPE(OrderCrossCheck::Verdict)

/// The cross-check on its own, and against the exported functions over a sample market.
class OrderCrossCheckTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false"));
        m_client = std::make_unique<Client>(smallClient(m_home), Client::Listener());
        QString error;
        QVERIFY2(m_client->start(&error), qPrintable(error));
    }
    void cleanupTestCase() { m_client->stop(); }

    void judge_pairOfRecords_hasItsReason_data() {
        QTest::addColumn<QVariantMap>("stored");
        QTest::addColumn<QVariantMap>("update");
        QTest::addColumn<Verdict>("verdict");
        QTest::addColumn<QString>("reason");
        QTest::newRow("no id") << order("", "0", 0, 0) << order("", "1", 0, 0) << Verdict::NoOrderId
                               << "no order id";
        QTest::newRow("other id") << order("1", "0", 0, 0) << order("2", "1", 0, 0)
                                  << Verdict::OtherOrder << "another order's id";
        QTest::newRow("not listed")
            << order("1", "1", 0, 0) << order("1", "0", 0, 0) << Verdict::StatusNotListed
            << "status '1' to '0' is not listed";
        QTest::newRow("empty statuses")
            << order("1", "x", 0, 0) << order("1", "", 0, 0) << Verdict::Accepted
            << "the table has no status 'x', so only the empty one may "
               "follow";
        QTest::newRow("final status")
            << order("1", "2", 0, 0) << order("1", "1", 0, 0) << Verdict::StatusNotListed
            << "status '2' to '1' is not listed";
        QTest::newRow("status outside the table")
            << order("1", "zzz", 0, 0) << order("1", "0", 0, 0) << Verdict::StatusNotListed
            << "the table has no status 'zzz', so only the empty one may follow";
        QTest::newRow("texts without a number")
            << order("1", "0", "x y", 0) << order("1", "1", "abc", "100") << Verdict::Accepted
            << "status '0' to '1' is listed; 'abc' is not a number and counts as 0; 'x y' is not a "
               "number and counts as 0";
        QTest::newRow("not a number") << order("1", "0", 0, 0) << order("1", "1", "nan", 0)
                                      << Verdict::NotFinite << "a quantity is not a finite number";
        QTest::newRow("infinite") << order("1", "0", 0, 0) << order("1", "1", 0, "inf")
                                  << Verdict::NotFinite << "a quantity is not a finite number";
        QTest::newRow("nothing new")
            << order("1", "1", 100, 0) << order("1", "1", 100.00000000001, 0) << Verdict::NothingNew
            << "same status '1', nothing more dealt or cancelled";
        QTest::newRow("grown") << order("1", "1", 100, 0) << order("1", "1", 200, 0)
                               << Verdict::Accepted << "same status '1', more dealt or cancelled";
        QTest::newRow("shrinks") << order("1", "0", 100, 5) << order("1", "1", 50, 5)
                                 << Verdict::Shrinks
                                 << "a quantity shrinks: 50 dealt, 5 cancelled, stored are 100 "
                                    "dealt, 5 cancelled";
        QTest::newRow("status changed") << order("1", "0", 100, 0) << order("1", "1", 100, 0)
                                        << Verdict::Accepted << "status '0' to '1' is listed";
    }
    void judge_pairOfRecords_hasItsReason() {
        QFETCH(QVariantMap, stored);
        QFETCH(QVariantMap, update);
        QFETCH(Verdict, verdict);
        QFETCH(QString, reason);
        const QMap<QString, QString> table{{"0", "0|1|2"}, {"1", "1|2"}, {"2", ""}};
        const QString next = table.value(stored.value(Security::orderStatus).toString());
        QCOMPARE(OrderCrossCheck::judge(stored, update, next), verdict);
        QCOMPARE(OrderCrossCheck::reasonOf(verdict, stored, update, next), reason);
    }

    void randomPairs_judgeAndTheExportedFunctionAgree() {
        const QStringList ids{"", "1", "1", "1", "1", "2"};
        const QStringList statuses =
            CDataBase::GetInstance()->GetStaticValuesBySection(Constants::ORDERSTATUSSWITCH).keys()
            << ""
            << "unknown";
        QVERIFY(statuses.size() > 8);
        const QVariantList quantities{
            0,         100,   100.00000000005, 100.0000000002, 200,   "100", "",
            "abc",     "nan", "inf",           "-inf",         1e300, -1,    9007199254740993LL,
            QVariant()};
        std::mt19937 random(7);
        const auto pick = [&random](const auto& list) {
            return list.at(static_cast<int>(random() % static_cast<unsigned>(list.size())));
        };
        const auto make = [&] {
            return order(pick(ids), pick(statuses), pick(quantities), pick(quantities));
        };
        QMap<Verdict, int> seen;
        QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false\nvelmar.orders.debug=true"));
        LogCapture log;
        for (int i = 0; i < 60000; ++i) {
            const QVariantMap stored = make();
            QVariantMap update = make();
            if (i % 4 == 0) {
                update.insert(Security::orderStatus, stored.value(Security::orderStatus));
            }
            const QString next = CDataBase::GetInstance()->GetStaticCfgValue(
                Constants::ORDERSTATUSSWITCH, stored.value(Security::orderStatus).toString());
            const Verdict verdict = OrderCrossCheck::judge(stored, update, next);
            log.clear();
            ++seen[verdict];
            const QStringList arguments{jsonText(stored), jsonText(update)};
            const bool answered = call("CanOrderUpdate", arguments).toBool();
            QVERIFY2(answered == OrderCrossCheck::isStored(verdict),
                     qPrintable(arguments.join(' ') + ' ' +
                                OrderCrossCheck::reasonOf(verdict, stored, update, next)));
            QStringList logged;
            for (const LogCapture::Line& line : log.lines()) {
                // Positions that other threads read are logged under the same category.
                if (line.category == "velmar.orders" && !line.text.startsWith("positions ")) {
                    logged.append(line.text);
                }
            }
            QVERIFY2(isLoggedAs(verdict, logged),
                     qPrintable(arguments.join(' ') + ' ' + logged.join(" / ")));
        }
        for (const Verdict verdict :
             {Verdict::Accepted, Verdict::NoOrderId, Verdict::OtherOrder, Verdict::StatusNotListed,
              Verdict::NotFinite, Verdict::NothingNew, Verdict::Shrinks}) {
            QVERIFY2(seen.value(verdict) > 50, qPrintable(QString::number(int(verdict))));
        }
    }

    void everyPriceType_derivedFieldsAndCrossCheckAgree() {
        QStringList accounts;
        for (const auto& one : call("GetTradingAccountList", {"true", "16", "true"}).toArray()) {
            accounts.append(one.toString());
        }
        QVERIFY(accounts.size() > 3);
        RecordFile file;
        const QVariantList quantities{100, 1000000.0, "200", 12.5, QVariant()};
        for (const QString& type : {QString("1"), QString("2"), QString()}) {
            for (const QString& priceType :
                 {PriceType::limitPriceAllDealOrCancel, PriceType::fixedPriceAfterMarket,
                  PriceType::shDealOrbeLimit5, PriceType::shDealOrCancel5,
                  PriceType::szDealOrCancel5, PriceType::szDealOrCancel,
                  PriceType::szOpponentOptimization, PriceType::szSelfOptimization,
                  PriceType::szAllDealOrCancel, PriceType::shEntrustAfterHours, QString("other"),
                  QString()}) {
                for (const QVariant& qty : quantities) {
                    const int line = file.records.size() + 1;
                    QVariantMap fields{
                        {Security::symbol, line % 7 ? "600000.SH" : "NOPE.SH"},
                        {Security::orderType, type},
                        {CustomField::priceType, priceType},
                        {UserAccount::tradingAccount, accounts.at(line % accounts.size())}};
                    if (qty.isValid()) {
                        fields.insert(Security::orderQty, qty);
                    }
                    if (line % 3 == 0) {
                        fields.insert(Security::orderStation, "mine");
                        fields.insert(Instruction::InstructionID, "I1");
                    }
                    if (line % 5 == 0) {
                        fields.insert(UserAccount::securityAccount, "S1");
                    }
                    if (line % 4 == 0) {
                        fields.insert(UserAccount::securityExchange, Exchange::sz);
                    }
                    file.records.append({line, fields});
                }
            }
        }
        const FacadeAsk ask = [](const FacadeFunction& function, const QStringList& arguments,
                                 QJsonObject* answer) {
            *answer = function.call(arguments);
            return true;
        };
        OrdersCheck orders(m_client->facade(), ask, {});
        const CommandAnswer answer = orders.check(file, false, 1000);
        const QStringList unclear = answer.lines.filter("unclear");
        QVERIFY2(unclear.isEmpty(), qPrintable(unclear.value(0)));
        QVERIFY(answer.lines.filter("is not exported").isEmpty());
        QCOMPARE(answer.json.toObject().value("records").toArray().size(), file.records.size());
        OrdersCheck cancels(m_client->facade(), ask, {});
        QVERIFY(cancels.check(file, true, 1000).lines.filter("unclear").isEmpty());
    }

private:
    QJsonValue call(const QString& name, const QStringList& arguments) const {
        QString error;
        const FacadeFunction* const function = m_client->facade().choose(name, arguments, &error);
        if (!function) {
            qCritical() << error;
            return {};
        }
        return function->call(arguments).value("result");
    }

    QTemporaryDir m_home;
    std::unique_ptr<Client> m_client;
};

QTEST_GUILESS_MAIN(OrderCrossCheckTest)
#include "order_cross_check_test.moc"
