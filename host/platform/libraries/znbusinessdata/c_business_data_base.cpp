#include "znbusinessdata/c_business_data_base.h"

#include "client_order_ids.h"
#include "data_stores.h"
#include "never_destroyed.h"
#include "vocabulary/fields.h"

CBusinessDataBase* CBusinessDataBase::GetInstance() {
    return &neverDestroyed([] { return new CBusinessDataBase; });
}

QString CBusinessDataBase::GetLoginAccount() const {
    return DataStores::businessData().loginAccount();
}

bool CBusinessDataBase::GetCacheData(const QString& key, QVariant& value) const {
    return DataStores::businessData().cache().get(key, value);
}

QStringList CBusinessDataBase::GetTradeAccountList(const QStringList& authorityTypes) const {
    return DataStores::businessData().tradeAccounts(authorityTypes);
}

QStringList CBusinessDataBase::GetTradeAccountAuthorityTypeList(
    const QString& tradingAccount) const {
    return DataStores::businessData().authorityTypes(tradingAccount);
}

QVariantMap CBusinessDataBase::GetAccountDetailsByTradinngAccount(
    const QString& tradingAccount) const {
    return DataStores::businessData().accountRecord(tradingAccount);
}

QList<QVariantMap> CBusinessDataBase::GetSecurityAccountListByTradeAccount(
    const QString& tradingAccount, const QString& exchange) const {
    return DataStores::businessData().securityAccounts(tradingAccount, exchange);
}

QString CBusinessDataBase::getClientOrderID() {
    return newClientOrderId();
}

QDateTime CBusinessDataBase::getCurrentBusinessDateTime() const {
    return DataStores::businessData().now();
}

qint64 CBusinessDataBase::getCurrentBusinessDateTimeDiff() const {
    return QDateTime::currentDateTime().msecsTo(getCurrentBusinessDateTime());
}

QMap<QString, int> CBusinessDataBase::GetStaticInfoDbErrorInfo() {
    return DataStores::staticDatabase().takeErrors();
}

int CBusinessDataBase::GetLoadLocalStaticDbRecordCount() const {
    return DataStores::staticDatabase().recordCount();
}

QVariantMap CBusinessDataBase::GetLoginAccountDetail() {
    return DataStores::businessData().loginRecord();
}

QStringList CBusinessDataBase::GetInvestorAccountList() const {
    return DataStores::businessData().valuesOf(UserAccount::investorAccount);
}

QStringList CBusinessDataBase::GetProductAccountList() const {
    return DataStores::businessData().valuesOf(UserAccount::productAccount);
}

QStringList CBusinessDataBase::GetAssetAccountList() const {
    return DataStores::businessData().valuesOf(UserAccount::assetAccount);
}
