#pragma once

#include <QList>
#include <QMap>
#include <QPair>
#include <QString>
#include <QStringList>
#include <QVariantMap>
#include <QVector>
#include <cmath>

#include "market_value_fixture.h"

/// Positions of a few accounts in numbered symbols, every third of them of Hong Kong, with what a
/// test expects of them.
class SmallBook {
public:
    SmallBook(const QStringList& accounts, ScriptedSymbols& symbols, int symbolCount)
        : m_accounts(accounts), m_prices(symbolCount) {
        for (int i = 0; i < symbolCount; ++i) {
            symbols.add(symbol(i), exchange(i),
                        {MdcSecurityType::StockType, isHongKong(i) ? 1 : 100, {}});
        }
    }

    QStringList accounts() const { return m_accounts; }
    QString symbol(int number) const {
        return QStringLiteral("%1%2").arg(
            id(number), isHongKong(number) ? QStringLiteral(".HK") : QStringLiteral(".SH"));
    }
    void setPrice(int number, double price) { m_prices[number] = price; }
    double price(int number) const { return m_prices.at(number); }
    /// Stores a position and returns its row.
    QVariantMap setPosition(int account, int number, double quantity, double cost) {
        const QVariantMap row =
            positionRow(m_accounts.at(account), id(number), exchange(number), quantity, cost);
        m_rows.insert({account, number}, row);
        return row;
    }
    QList<QVariantMap> rows() const { return m_rows.values(); }
    /// The sum of the absolute values and costs of an account's rows; rates above 1 do not occur.
    double absoluteWorth(const QString& account) const {
        double sum = 0;
        for (auto row = m_rows.cbegin(); row != m_rows.cend(); ++row) {
            if (m_accounts.at(row.key().first) == account) {
                const int number = row.key().second;
                const double pieces =
                    row->value(Security::nominalQty).toDouble() * (isHongKong(number) ? 1 : 100);
                sum += std::abs(pieces * m_prices.at(number)) +
                       std::abs(pieces * row->value(Security::omsAverageCost).toDouble());
            }
        }
        return sum;
    }

private:
    static bool isHongKong(int number) { return number % 3 == 2; }
    static QString exchange(int number) {
        return isHongKong(number) ? Exchange::hhk : Exchange::sh;
    }
    static QString id(int number) { return QStringLiteral("7%1").arg(number, 5, 10, QChar('0')); }

    const QStringList m_accounts;
    QVector<double> m_prices;
    QMap<QPair<int, int>, QVariantMap> m_rows;
};
