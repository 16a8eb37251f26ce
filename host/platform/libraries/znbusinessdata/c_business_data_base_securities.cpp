#include "security_book.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "znbusinessdata/c_business_data_base.h"

namespace {

QVariantMap recordOf(const QString& symbol) {
    return SecurityBook::instance().record(symbol);
}

}  // namespace

QVariantMap CBusinessDataBase::GetSecurityDetailsBySymbol(const QString& symbol) const {
    return recordOf(symbol);
}

QString CBusinessDataBase::GetSecurityTypeBySymbol(const QString& symbol) const {
    return recordOf(symbol).value(MDCFieldDefine::mdcSecurityType).toString();
}

QString CBusinessDataBase::GetSecuritySubTypeBySymbol(const QString& symbol) const {
    return recordOf(symbol).value(MDCFieldDefine::mdcSubSecurityType).toString();
}

QString CBusinessDataBase::GetSymbolPostBySymbol(const QString& symbol) const {
    const int dot = symbol.lastIndexOf(QLatin1Char('.'));
    return dot < 0 ? QString() : symbol.mid(dot + 1);
}

QStringList CBusinessDataBase::GetSecurityExchangeBySymbol(const QString& symbol, bool) const {
    return SecurityBook::exchangesOf(recordOf(symbol));
}

QString CBusinessDataBase::GetSecurityChineseName(const QString& symbol, const QString&) const {
    return recordOf(symbol).value(Security::chineseName).toString();
}

QString CBusinessDataBase::getSecurityIDBySymbol(const QString& symbol, const QString& exchange,
                                                 const QString& idSource) {
    const QVariantMap record = recordOf(symbol);
    const bool listed = exchange.isEmpty() || SecurityBook::exchangesOf(record).contains(exchange);
    return listed && idSource == SecurityIDSource::securityID
               ? record.value(Security::securityID).toString()
               : QString();
}

QString CBusinessDataBase::getSymbolBySecurityIDAndExchange(const QString& securityID,
                                                            const QString& exchange,
                                                            const QString& idSource) {
    return idSource == SecurityIDSource::securityID
               ? SecurityBook::instance().symbolOf(securityID, exchange)
               : QString();
}
