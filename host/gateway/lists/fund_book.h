#pragma once

#include <QDate>
#include <QString>
#include <QStringList>
#include <QVector>

#include "market_store.h"

/// Money and securities of an account on a day, in fen.
struct FundDay {
    int account = 0;  ///< index in the list of accounts that was asked for
    int date = 0;     ///< yyyymmdd, of the day that the figures are from
    qint64 bought = 0;
    qint64 sold = 0;
    qint64 fee = 0;
    qint64 transfer = 0;
    qint64 balance = 0;
    qint64 valueChange = 0;
    qint64 valueTransfer = 0;
    qint64 marketValue = 0;

    qint64 openingBalance() const { return balance - sold + bought + fee - transfer; }
    qint64 totalAsset() const { return balance + marketValue; }
    qint64 profit() const { return valueChange + sold - bought - fee; }
    /// The figures of a later day without deals.
    FundDay carriedTo(int day) const;
};

/// What a margin account owes on a day, in fen.
struct MarginDebt {
    qint64 financed = 0;
    qint64 shorted = 0;
    qint64 interest = 0;

    qint64 total() const { return financed + shorted + interest; }
};

/// An account's profit up to a day, in fen.
struct FundProfit {
    qint64 day = 0;
    qint64 month = 0;
    qint64 year = 0;
};

/// Reads the daily funds of a list of accounts from the store. The functions fill one entry for
/// each account, in the order of the list; an unknown account has none. Any thread; false when the
/// store cannot be read.
class FundBook {
public:
    FundBook(const MarketStore& store, const QStringList& accounts);

    /// The days with a row from the one that a day begins with to another day, by account and day.
    bool read(const QDate& from, const QDate& to, QVector<FundDay>* days) const;
    /// The figures of all accounts that have some on the day.
    bool readDay(const QDate& day, QVector<FundDay>* days) const;
    /// What each account owes, nothing for those without debts.
    bool readDebts(const QDate& day, QVector<MarginDebt>* debts) const;
    bool readProfits(const QDate& day, QVector<FundProfit>* profits) const;

    /// Texts as a JSON list, to be bound to json_each(?).
    static QString listOf(const QStringList& texts);
    static double yuan(qint64 fen) { return static_cast<double>(fen) / 100; }

private:
    const MarketStore& m_store;
    const int m_count;
    const QString m_accounts;
};
