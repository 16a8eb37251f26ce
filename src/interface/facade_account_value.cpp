#include "facade_record_value.h"

namespace {

struct AccountFields {
    template <class Record, class Visitor>
    static void visit(Record& record, Visitor&& told) {
        told("investorName", record.investorName);
        told("productName", record.productName);
        told("assetAccountName", record.assetAccountName);
        told("tradingAccountName", record.tradingAccountName);
        told("investorAccount", record.investorAccount);
        told("productAccount", record.productAccount);
        told("assetAccount", record.assetAccount);
        told("tradingAccount", record.tradingAccount);
        told("securityAccountMap", record.securityAccountMap);
        told("securityAccount", record.securityAccount);
        told("securityExchange", record.securityExchange);
        told("isMainAccount", record.isMainAccount);
        told("accountStatus", record.accountStatus);
        told("seatNo", record.seatNo);
        told("investType", record.investType);
        told("assetAccountList", record.assetAccountList);
        told("userType", record.userType);
        told("organCode", record.organCode);
        told("fundAccount", record.fundAccount);
        told("fundAccountType", record.fundAccountType);
        told("accountName", record.accountName);
        told("extCounterCode", record.extCounterCode);
        told("clientNo", record.clientNo);
        told("extNodeNo", record.extNodeNo);
        told("extText1", record.extText1);
        told("extText2", record.extText2);
        told("branchNo", record.branchNo);
        told("extOrgCode", record.extOrgCode);
        told("authorityFlags", record.authorityFlags);
        told("abbrName", record.abbrName);
        told("passStatus", record.passStatus);
        told("otcFundAccount", record.otcFundAccount);
        told("counterSiteType", record.counterSiteType);
        told("counterAccountName", record.counterAccountName);
    }
};

using Value = FacadeRecordValue<tagUserAccountInfo, AccountFields>;

}  // namespace

bool FacadeValue<tagUserAccountInfo>::fromJson(const QJsonValue& json, tagUserAccountInfo* value) {
    return Value::fromJson(json, value);
}

QJsonValue FacadeValue<tagUserAccountInfo>::toJson(const tagUserAccountInfo& value) {
    return Value::toJson(value);
}
