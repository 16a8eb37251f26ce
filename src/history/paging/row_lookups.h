#pragma once

#include <QDate>
#include <QHash>
#include <QPair>
#include <QString>
#include <QVariantMap>

class SymbolDataReader;

/// Look-ups for the rows of one answer, each made once per distinct value. Used by one thread.
class RowLookups {
public:
    explicit RowLookups(const SymbolDataReader& symbols) : m_symbols(symbols) {}

    /// The symbol of the row's Security::securityID and UserAccount::securityExchange.
    QString symbolOf(const QVariantMap& row);
    /// The row's UserAccount::tradeDate, a text or number of the form yyyyMMdd; invalid for
    /// anything else.
    QDate tradeDateOf(const QVariantMap& row);
    /// Pieces of one display unit of the symbol, at least 1.
    int displayFactorOf(const QString& symbol);

private:
    const SymbolDataReader& m_symbols;
    QHash<QPair<QString, QString>, QString> m_symbolOf;
    QHash<QString, QDate> m_dateOf;
    QHash<QString, int> m_displayFactorOf;
    // Rows of one day mostly follow each other.
    QString m_lastDateText;
    QDate m_lastDate;
};
