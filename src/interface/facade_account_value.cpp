#include "facade_record_value.h"

namespace {

struct AccountFields {
    template <class Record, class Visitor>
    static void visit(Record& record, Visitor&& field) {
        field("investorName", record.investorName);
        field("productName", record.productName);
        field("assetAccountName", record.assetAccountName);
        field("tradingAccountName", record.tradingAccountName);
        field("investorAccount", record.investorAccount);
        field("productAccount", record.productAccount);
        field("assetAccount", record.assetAccount);
        field("tradingAccount", record.tradingAccount);
        field("securityAccountMap", record.securityAccountMap);
        field("securityAccount", record.securityAccount);
        field("securityExchange", record.securityExchange);
        field("isMainAccount", record.isMainAccount);
        field("accountStatus", record.accountStatus);
        field("seatNo", record.seatNo);
        field("investType", record.investType);
        field("assetAccountList", record.assetAccountList);
        field("userType", record.userType);
        field("organCode", record.organCode);
        field("fundAccount", record.fundAccount);
        field("fundAccountType", record.fundAccountType);
        field("accountName", record.accountName);
        field("extCounterCode", record.extCounterCode);
        field("clientNo", record.clientNo);
        field("extNodeNo", record.extNodeNo);
        field("extText1", record.extText1);
        field("extText2", record.extText2);
        field("branchNo", record.branchNo);
        field("extOrgCode", record.extOrgCode);
        field("authorityFlags", record.authorityFlags);
        field("abbrName", record.abbrName);
        field("passStatus", record.passStatus);
        field("otcFundAccount", record.otcFundAccount);
        field("counterSiteType", record.counterSiteType);
        field("counterAccountName", record.counterAccountName);
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

QString FacadeValue<tagUserAccountInfo>::whyNot(const QJsonValue& json) {
    return Value::whyNot(json);
}
