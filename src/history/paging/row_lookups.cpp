#include "row_lookups.h"

#include "symbol_data_reader.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"

QString RowLookups::symbolOf(const QVariantMap& row) {
    const QPair<QString, QString> key{row.value(Security::securityID).toString(),
                                      row.value(UserAccount::securityExchange).toString()};
    auto symbol = m_symbolOf.constFind(key);
    if (symbol == m_symbolOf.cend()) {
        symbol = m_symbolOf.insert(key, m_symbols.symbolOf(key.first, key.second));
    }
    return *symbol;
}

QDate RowLookups::tradeDateOf(const QVariantMap& row) {
    const QString text = row.value(UserAccount::tradeDate).toString();
    if (text == m_lastDateText) {
        return m_lastDate;
    }
    auto date = m_dateOf.constFind(text);
    if (date == m_dateOf.cend()) {
        date =
            m_dateOf.insert(text, QDate::fromString(text, DateTimeFormatString::TRANS_DATE_FROMAT));
    }
    m_lastDateText = text;
    m_lastDate = *date;
    return m_lastDate;
}

int RowLookups::displayFactorOf(const QString& symbol) {
    auto factor = m_displayFactorOf.constFind(symbol);
    if (factor == m_displayFactorOf.cend()) {
        factor = m_displayFactorOf.insert(symbol, qMax(1, m_symbols.displayFactorOf(symbol)));
    }
    return *factor;
}
