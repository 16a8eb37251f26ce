#include "rules_cross_check.h"

#include <QSqlQuery>
#include <QTemporaryDir>
#include <QtTest>
#include <limits>

#include "market_store.h"
#include "rules_command.h"
#include "small_client.h"
#include "small_market.h"

namespace {

constexpr int kWide = std::numeric_limits<int>::max();
constexpr int kLimitMs = 60000;

}  // namespace

/// The cross-check against the exported functions, over every security of a sample market.
class RulesCrossCheckTest : public QObject {
    Q_OBJECT

private slots:
    void initTestCase() {
        m_client = std::make_unique<Client>(smallClient(m_home), Client::Listener());
        QString error;
        QVERIFY2(m_client->start(&error), qPrintable(error));
        // The start-up loads the cage, then the new issues, then the messages.
        QVERIFY(m_client->awaitMessages(kLimitMs));
    }
    void cleanupTestCase() { m_client->stop(); }

    void everySecurity_answersAndCrossCheckAgree() {
        const FacadeAsk ask = [](const FacadeFunction& function, const QStringList& arguments,
                                 QJsonObject* answer) {
            *answer = function.call(arguments);
            return true;
        };
        RulesCommand rules(m_client->facade(), ask, TextLanguage::English);
        const QStringList symbols = symbolsOfTheMarket();
        QVERIFY(symbols.size() > 400);
        int withCage = 0;
        int withCondition = 0;
        for (const QString& symbol : symbols) {
            const CommandAnswer answer =
                rules.explain(symbol, RulesFacts::ofPlatform(symbol), kWide);
            QVERIFY2(answer.error.isEmpty(), qPrintable(answer.error));
            const QString text = answer.lines.join('\n');
            QVERIFY2(!text.contains("unclear"), qPrintable(text));
            QVERIFY2(!text.contains("is not exported"), qPrintable(text));
            withCage += text.contains("cage: buy at most") ? 1 : 0;
            withCondition += text.contains("largest order when") ? 1 : 0;
        }
        QVERIFY(withCage > 50);
        QVERIFY(withCage < symbols.size());
        QVERIFY(withCondition > 20);
    }

private:
    QStringList symbolsOfTheMarket() const {
        QStringList symbols;
        QString error;
        const auto store = MarketStore::open(
            staticDatabaseFile(sampleMarketDir(m_home.path(), smallMarket())), &error);
        if (store) {
            store->select(
                "SELECT symbol FROM reference WHERE kind = 'security'", {},
                [&symbols](const QSqlQuery& row) { symbols.append(row.value(0).toString()); });
        }
        return symbols;
    }

    QTemporaryDir m_home;
    std::unique_ptr<Client> m_client;
};

QTEST_GUILESS_MAIN(RulesCrossCheckTest)
#include "rules_cross_check_test.moc"
