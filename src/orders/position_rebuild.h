#pragma once

#include <QHash>
#include <QList>
#include <QPair>
#include <QSet>
#include <QString>
#include <QStringList>
#include <QVariantMap>

#include "position_contribution.h"
#include "position_tables.h"

class SymbolDataReader;

/// Builds the tables of positions, last prices and market values from the rows of the neighbouring
/// data plug-in. Used on one thread, under the locks of the former tables.
class PositionRebuild {
public:
    /// Of the former tables the prices stay, of which only those of held symbols are read again,
    /// and what was logged once.
    PositionRebuild(const SymbolDataReader& symbols, const QStringList& standardBonds,
                    const PositionTables& formerPositions, const LastPriceTables& formerPrices);

    /// Adds an account with its rows; without rows it gets an empty entry.
    void add(const QString& tradingAccount, const QList<QVariantMap>& rows);

    int rowCount() const { return m_rowCount; }
    /// The known symbols that are held, without the standard bonds.
    const QStringList& symbols() const { return m_priced; }
    /// What is to be logged once the locks are released: a line for each kind of figure that does
    /// not count, however many rows have one.
    QStringList remarks() const;

    PositionTables positions;
    LastPriceTables prices;
    MarketValueTables totals;

private:
    void addRow(const QString& tradingAccount, const QVariantMap& row,
                VelmarMarketValueInfo& total);
    const PositionSecurity& securityOf(const QString& securityID, const QString& exchange);
    double rateOf(const QString& exchange, QVariantMap& record);
    double priceOf(const PositionSecurity& security);
    void readPrice(const QString& symbol, double* price);

    const SymbolDataReader& m_symbols;
    const QStringList& m_standardBonds;
    const QMap<QString, QVariantMap> m_rates;
    QHash<QPair<QString, QString>, PositionSecurity> m_securities;
    QSet<QString> m_isPriced;
    QStringList m_priced;  // the same, in the order of the rows
    QStringList m_missingRates;
    QString m_firstLeftOut;  // the remarks on the first ones of their kind
    QString m_firstBadPrice;
    int m_leftOutCount = 0;   // rows
    int m_badPriceCount = 0;  // symbols
    int m_rowCount = 0;
};

/// Whether this is the first remark on the position since the last rebuild; notes it in `logged`.
bool isNewRemark(QSet<QString>& logged, const QString& tradingAccount, const QString& symbol);
/// The log line for figures of a position that a total leaves out.
QString leftOutRemark(const QString& tradingAccount, const QString& symbol, double nominal,
                      double price, double cost);
/// The log line for an exchange without a rate.
QString missingRateRemark(const QString& exchange);
