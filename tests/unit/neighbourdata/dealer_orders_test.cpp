#include <QFile>
#include <QMap>
#include <QtTest>
#include <algorithm>
#include <memory>

#include "dealer.h"
#include "fake_clock.h"
#include "fake_desk.h"
#include "order_status.h"
#include "quantity_sections.h"
#include "static_db_builder.h"
#include "temp_home.h"
#include "test_paths.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"

namespace {

const QDateTime kMorning(QDate(2026, 1, 5), QTime(10, 0));

/// Status, quantity dealt and quantity cancelled of each report, "A 0 0; 2 500 0", by order.
QMap<QString, QString> reportsOf(const FakeDesk& desk) {
    QMap<QString, QString> all;
    for (const QVariantMap& record : desk.log()) {
        if (record.contains(Security::orderStatus)) {
            QString& reports = all[record.value(Security::orderID).toString()];
            reports += reports.isEmpty() ? QString() : QStringLiteral("; ");
            reports += QStringLiteral("%1 %2 %3")
                           .arg(record.value(Security::orderStatus).toString())
                           .arg(record.value(Security::cumQty).toLongLong())
                           .arg(record.value(Security::cancelledQty).toLongLong());
        }
    }
    return all;
}

QStringList statusesOf(const QString& reports) {
    QStringList statuses;
    for (const QString& report : reports.split("; ")) {
        statuses.append(report.section(' ', 0, 0));
    }
    return statuses;
}

}  // namespace

class DealerOrdersTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        m_database = m_home.filePath("static.db");
        StaticDbBuilder builder;
        for (const QString& id : QStringList{"600000", "600004", "600006"}) {
            const QString symbol = id + ".SH";
            builder.reference("security", symbol,
                              {{Security::symbol, symbol},
                               {Security::securityID, id},
                               {UserAccount::securityExchange, Exchange::sh},
                               {MDCFieldDefine::mdcSecurityType, MdcSecurityType::StockType},
                               {MDCFieldDefine::mdcSubSecurityType, "02001"},
                               {"PreClosePx", 10.0},
                               {"PriceTick", 0.01},
                               {"MaxPx", 11.0},
                               {"MinPx", 9.0}});
        }
        builder.section(QuantitySection::step, {{"*", "100"}})
            .section(QuantitySection::min, {{"*", "100"}})
            .section(QuantitySection::max, {{"*", "1000000"}})
            .write(m_database);
    }

    void reports_ofEveryOrder_followTheStatusTable() {
        OrderStatusTable table;
        QString error;
        QVERIFY2(table.load(&error), qPrintable(error));
        QSet<QString> changes;
        for (quint32 seed = 1; seed <= 5; ++seed) {
            const auto reports = reportsOf(*dayOf(seed, 300));
            QVERIFY(reports.size() >= 100);
            for (const QString& order : reports) {
                const QStringList statuses = statusesOf(order);
                QCOMPARE(statuses.first(), OrderStatus::sent);
                for (int i = 1; i < statuses.size(); ++i) {
                    QVERIFY2(table.mayFollow(statuses.at(i - 1), statuses.at(i)),
                             qPrintable(order));
                    changes.insert(statuses.at(i - 1) + statuses.at(i));
                }
            }
        }
        // All ways of an order occur.
        for (const char* const change :
             {"A0", "A8", "01", "02", "06", "11", "12", "16", "64", "65"}) {
            QVERIFY2(changes.contains(change), change);
        }
    }

    // What the dealer draws may change; the ways of its orders have to stay.
    void courses_ofTheSequencesFile_areThoseOfTheDealer() {
        QSet<QString> made;
        for (quint32 seed = 1; seed <= 5; ++seed) {
            for (const QString& order : reportsOf(*dayOf(seed, 300))) {
                made.insert(statusesOf(order).join(' '));
            }
        }
        QFile file(QStringLiteral(VELMAR_SOURCE_DIR "/tests/unit/orders/data/order_sequences.txt"));
        QVERIFY(file.open(QIODevice::ReadOnly));
        int compared = 0;
        for (const QString& line : QString::fromUtf8(file.readAll()).split('\n')) {
            if (line.startsWith("dealer, seed ")) {
                const QString course = statusesOf(line.section(": ", 1)).join(' ');
                QVERIFY2(made.contains(course), qPrintable(line));
                ++compared;
            }
        }
        QVERIFY(compared >= 6);
    }

private:
    /// The desk after so many deals of an account that has money and shares.
    std::shared_ptr<FakeDesk> dayOf(quint32 seed, int deals) const {
        auto desk = std::make_shared<FakeDesk>();
        desk->addAccount("T1", FundAccountType::Cash, {Exchange::sh}, 1e9);
        desk->addHolding("T1", "600000.SH", Exchange::sh, 1000000);
        desk->addHolding("T1", "600004.SH", Exchange::sh, 5000);
        FakeClock clock(kMorning);
        Dealer::Options options;
        options.seed = seed;
        options.staticDatabaseFile = m_database;
        options.clock = clock.function();
        Dealer(desk, options).step(deals);
        if (desk->deals() != deals) {
            qWarning("%d of %d deals", desk->deals(), deals);
        }
        return desk;
    }

    TempHome m_home;
    QString m_database;
};

QTEST_GUILESS_MAIN(DealerOrdersTest)
#include "dealer_orders_test.moc"
