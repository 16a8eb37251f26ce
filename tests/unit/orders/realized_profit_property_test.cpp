#include <rapidcheck.h>

#include <QtTest>
#include <algorithm>
#include <cmath>
#include <vector>

#include "deal_record.h"
#include "realized_profit.h"

namespace {

using Deals = std::vector<TestDeal>;

/// A price with two decimals, or a commission.
double anyMoney(int most) {
    return *rc::gen::inRange(0, most * 100) / 100.0;
}

TestDeal anyDeal() {
    TestDeal deal;
    deal.tradingAccount = *rc::gen::element<QString>("T1", "T2");
    deal.symbol = *rc::gen::element<QString>("600000.SH", "000001.SZ", "IF2612.CF");
    deal.securityAccount = *rc::gen::element<QString>("A1", "");
    deal.isBuy = *rc::gen::arbitrary<bool>();
    deal.quantity = *rc::gen::element(1, 100, 777, 10000, 1000000);
    deal.price = anyMoney(5000);
    deal.commission = anyMoney(50);
    return deal;
}

Deals anyDeals() {
    Deals deals(static_cast<size_t>(*rc::gen::inRange(0, 60)));
    std::generate(deals.begin(), deals.end(), anyDeal);
    return deals;
}

Deals shuffled(Deals deals) {
    for (size_t i = deals.size(); i > 1; --i) {
        std::swap(deals[i - 1], deals[*rc::gen::inRange<size_t>(0, i)]);
    }
    return deals;
}

/// Each deal in one to five parts of any size.
Deals splitUp(const Deals& deals) {
    Deals parts;
    for (const TestDeal& deal : deals) {
        const auto cuts = *rc::gen::container<std::vector<int>>(
            static_cast<size_t>(*rc::gen::inRange(1, 6)), rc::gen::inRange(1, 1000));
        double weight = 0;
        for (const int cut : cuts) {
            weight += cut;
        }
        for (const int cut : cuts) {
            TestDeal part = deal;
            part.quantity = deal.quantity * cut / weight;
            part.commission = deal.commission * cut / weight;
            parts.push_back(part);
        }
    }
    return parts;
}

void load(RealizedProfit* profit, const Deals& deals) {
    QList<QVariantMap> rows;
    for (const TestDeal& deal : deals) {
        rows.append(deal);
    }
    profit->replace(*RealizedProfit::build(rows, [] { return false; }), [] {});
}

/// A part of the deals in the list, the others in some batches.
void streamAfterLoad(RealizedProfit* profit, const Deals& deals) {
    const auto listed = *rc::gen::inRange<size_t>(0, deals.size() + 1);
    const auto middle = deals.begin() + static_cast<std::ptrdiff_t>(listed);
    load(profit, Deals(deals.begin(), middle));
    QVariantList batch;
    for (auto deal = middle; deal != deals.end(); ++deal) {
        batch.append(deal->record());
        if (*rc::gen::inRange(0, 4) == 0) {
            profit->addDeals(std::exchange(batch, {}), [](const QVariantList&) {});
        }
    }
    profit->addDeals(batch, [](const QVariantList&) {});
}

double toleranceOf(const Deals& deals) {
    double sum = 0;
    for (const TestDeal& deal : deals) {
        sum += std::abs(deal.quantity * deal.price) + std::abs(deal.commission);
    }
    return sum * 1e-9;
}

void assertSame(const RealizedProfit& one, const RealizedProfit& other, double tolerance) {
    const auto expected = one.GetAllRealizedProfitMap();
    const auto actual = other.GetAllRealizedProfitMap();
    RC_ASSERT(actual.keys() == expected.keys());
    for (auto account = expected.cbegin(); account != expected.cend(); ++account) {
        const auto& symbols = actual[account.key()];
        RC_ASSERT(symbols.keys() == account->keys());
        for (auto symbol = account->cbegin(); symbol != account->cend(); ++symbol) {
            const auto& items = symbols[symbol.key()];
            RC_ASSERT(items.keys() == symbol->keys());
            for (auto item = symbol->cbegin(); item != symbol->cend(); ++item) {
                RC_ASSERT(std::isfinite(*item));
                RC_ASSERT(std::abs(items[item.key()] - *item) <= tolerance);
            }
        }
        RC_ASSERT(std::abs(one.GetRealizedProfitByAccount(account.key()) -
                           other.GetRealizedProfitByAccount(account.key())) <= tolerance);
    }
}

}  // namespace

class RealizedProfitPropertyTest : public QObject {
    Q_OBJECT

private slots:
    void profit_dealsInAnyOrder_isTheSame() {
        QVERIFY(rc::check("order of deals", [] {
            const Deals deals = anyDeals();
            RealizedProfit one;
            RealizedProfit other;
            load(&one, deals);
            load(&other, shuffled(deals));
            assertSame(one, other, toleranceOf(deals));
        }));
    }

    void profit_dealsInAnyParts_isTheSame() {
        QVERIFY(rc::check("parts of deals", [] {
            const Deals deals = anyDeals();
            RealizedProfit one;
            RealizedProfit other;
            load(&one, deals);
            load(&other, splitUp(deals));
            assertSame(one, other, toleranceOf(deals));
        }));
    }

    void profit_dealsListedOrStreamed_isTheSame() {
        QVERIFY(rc::check("list and stream", [] {
            const Deals deals = anyDeals();
            RealizedProfit one;
            RealizedProfit other;
            load(&one, deals);
            streamAfterLoad(&other, shuffled(deals));
            assertSame(one, other, toleranceOf(deals));
        }));
    }

    void sums_ofAccountsAndSymbols_areTheSumsOfTheirItems() {
        QVERIFY(rc::check("sums", [] {
            const Deals deals = anyDeals();
            RealizedProfit profit;
            load(&profit, deals);
            const double tolerance = toleranceOf(deals);
            const auto all = profit.GetAllRealizedProfitMap();
            for (auto account = all.cbegin(); account != all.cend(); ++account) {
                RC_ASSERT(profit.GetRealizedProfitMapByAccount(account.key()) == *account);
                double ofAccount = 0;
                for (auto symbol = account->cbegin(); symbol != account->cend(); ++symbol) {
                    double ofSymbol = 0;
                    for (const double item : *symbol) {
                        ofSymbol += item;
                    }
                    RC_ASSERT(std::abs(profit.GetRealizedProfitByAccountAndSymbol(
                                           account.key(), symbol.key(), "") -
                                       ofSymbol) <= tolerance);
                    ofAccount += ofSymbol;
                }
                RC_ASSERT(std::abs(profit.GetRealizedProfitByAccount(account.key()) - ofAccount) <=
                          tolerance);
            }
        }));
    }
};

QTEST_GUILESS_MAIN(RealizedProfitPropertyTest)
#include "realized_profit_property_test.moc"
