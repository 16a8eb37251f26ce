#include "symbol_post.h"

#include "symbol_identity.h"
#include "vocabulary/names.h"
#include "znbusinessdata/c_business_data_base.h"
#include "zndatabase/c_data_base.h"

QString symbolPostOf(const SymbolIdentity& identity, const QString& symbol) {
    if (symbol.contains(QLatin1Char('.'))) {
        return CBusinessDataBase::GetInstance()->GetSymbolPostBySymbol(symbol);
    }
    return CDataBase::GetInstance()->GetStaticCfgValue(
        DictionaryKey::Markert2SymbolPost, identity.GetFirstSecurityExchangeBySymbol(symbol));
}
