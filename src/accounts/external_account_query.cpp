#include "external_account_query.h"

#include "account_authority.h"
#include "account_state.h"
#include "fund_abbr_names.h"
#include "log.h"
#include "record_fields.h"
#include "server_request.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"
#include "znbusinessdata/c_business_data_base.h"
#include "zncore/zn_core.h"

namespace {

constexpr int kBatchSize = 100;
const char* const kTag = "syncQueryExFundAccount------";

// The request is of an older kind than the others: numeric tags as keys, a number as the status.
inline const QString kMsgType = QStringLiteral("120006");
inline const QString kExtCounterCode = QStringLiteral("10078");
inline const QString kQueryKind = QStringLiteral("10094");
constexpr int kQueryKindValue = 2;

const RecordMembers<QString>& textFields() {
    static const RecordMembers<QString> fields{
        {QStringLiteral("10081"), &tagUserAccountInfo::fundAccount},
        {QStringLiteral("10086"), &tagUserAccountInfo::fundAccountType},
        {QStringLiteral("11354"), &tagUserAccountInfo::counterAccountName},
        {kExtCounterCode, &tagUserAccountInfo::extCounterCode},
        {QStringLiteral("10079"), &tagUserAccountInfo::clientNo},
        {QStringLiteral("10083"), &tagUserAccountInfo::extNodeNo},
        {QStringLiteral("11352"), &tagUserAccountInfo::extOrgCode},
        {UserAccount::passStatus, &tagUserAccountInfo::passStatus},
        {UserAccount::OTCFundAccount, &tagUserAccountInfo::otcFundAccount},
        {UserAccount::accountStatus, &tagUserAccountInfo::accountStatus},
    };
    return fields;
}

const RecordMembers<int>& numberFields() {
    static const RecordMembers<int> fields{
        {QStringLiteral("10087"), &tagUserAccountInfo::branchNo},
        {UserAccount::counterSiteType, &tagUserAccountInfo::counterSiteType},
    };
    return fields;
}

/// The inner fund property of an asset property; 0 for any other type.
int fundPropOf(const QString& fundAccountType) {
    static const QHash<QString, int> props{
        {FundAccountType::Cash, Torvi_InnerFundProp::normalTrade},
        {FundAccountType::Credit, Torvi_InnerFundProp::marginTrade},
        {FundAccountType::Future, Torvi_InnerFundProp::futuresTrade},
        {FundAccountType::Option, Torvi_InnerFundProp::optionTrade},
        {FundAccountType::Metal, Torvi_InnerFundProp::metalTrade},
    };
    return props.value(fundAccountType, 0);
}

bool isFrozen(const tagUserAccountInfo& record) {
    return record.accountStatus == AccountStatus::freezing;
}

ServerRequest requestOf(const QStringList& batch) {
    ServerRequest request;
    request.msgType = kMsgType;
    request.fields = {
        {UserAccount::loginUserId, CBusinessDataBase::GetInstance()->GetLoginAccount()},
        {UserAccount::tradingAccount, batch.join(QLatin1Char(','))},
        {kQueryKind, kQueryKindValue}};
    request.answer = AnswerForm::Numbered;
    return request;
}

void insertIntoIndexes(AccountTables& tables, const QString& account,
                       const tagUserAccountInfo& record) {
    tables.m_normalAccounts.insert(account);
    tables.m_fundAccounts[record.fundAccount].append(account);
    tables.m_realFundAccounts[record.otcFundAccount].append(account);
    tables.m_assetAccounts[record.assetAccount].append(account);
    tables.m_productAccounts[record.productAccount].append(account);
    tables.m_clientNoAccounts[record.clientNo].insert(account);
    if (record.counterSiteType != 0) {
        tables.m_distributedAccounts.insert(account);
    } else {
        tables.m_centralAccounts.insert(account);
    }
    if (const int prop = fundPropOf(record.fundAccountType)) {
        tables.m_fundPropAccounts[prop].insert(account);
    }
    for (const int bit : kAuthorityBits) {
        if (record.authorityFlags & bit) {
            tables.m_authorityAccounts[bit].insert(account);
        }
    }
}

void logAccount(const tagUserAccountInfo& record, bool frozen) {
    if (!lcAccounts().isDebugEnabled()) {
        return;
    }
    qCDebug(lcAccounts).noquote()
        << QStringLiteral(
               "获取到账号信息，交易账号%1，资金账号%2，账号名称%3，外部通道号%4，客户号%5，"
               "外部节点号%6，分支机构号%7，产品名称%8，产品账号%9，账号状态：%10")
               .arg(record.tradingAccount, record.fundAccount, record.accountName,
                    record.extCounterCode, record.clientNo, record.extNodeNo,
                    QString::number(record.branchNo), record.productName, record.productAccount,
                    frozen ? QStringLiteral("停用") : QStringLiteral("正常"));
}

}  // namespace

void ExternalAccountQuery::batchQueryExtAccountInfo(ZnPresenterClass* prtClass,
                                                    QMap<QString, tagUserAccountInfo>& accounts) {
    if (!prtClass) {
        qCCritical(lcAccounts) << "syncQueryExFundAccount PresenterClass is null";
        m_state.m_fundInitStarted = false;
        return;
    }
    const QStringList keys = accounts.keys();
    Pass pass;
    for (int first = 0; first < keys.size(); first += kBatchSize) {
        if (!queryBatch(prtClass, keys.mid(first, kBatchSize), accounts, pass)) {
            m_state.m_fundInitStarted = false;
            return;
        }
    }
    ZnCore::instance()->setCommonInfo(QStringLiteral("hasQfii"), pass.hasQfii);
    publishProducts();
}

bool ExternalAccountQuery::queryBatch(ZnPresenterClass* prtClass, const QStringList& batch,
                                      QMap<QString, tagUserAccountInfo>& accounts, Pass& pass) {
    qCInfo(lcAccounts) << kTag << "begin send request";
    const ServerReply reply = sendToServer(prtClass, requestOf(batch));
    if (!isAnswerGood(reply)) {
        return false;
    }
    for (const QVariantMap& row : reply.rows) {
        takeRow(row, accounts, pass);
    }
    return true;
}

bool ExternalAccountQuery::isAnswerGood(const ServerReply& reply) const {
    if (reply.isAnswered()) {
        qCDebug(lcAccounts) << kTag << "get response code:" << 0 << "info :" << reply.text
                            << "ResultSize:" << reply.rows.size();
    } else if (reply.outcome == ServerReply::Outcome::Refused) {
        qCDebug(lcAccounts) << kTag << "get response code:" << reply.code << "info :" << reply.text;
    } else {
        qCDebug(lcAccounts) << kTag << "get response code:" << reply.code;
    }
    return reply.isAnswered();
}

void ExternalAccountQuery::takeRow(const QVariantMap& row,
                                   QMap<QString, tagUserAccountInfo>& accounts, Pass& pass) {
    const QString account = row.value(UserAccount::tradingAccount).toString();
    if (account.isEmpty()) {
        qCWarning(lcAccounts) << kTag << "row without a trading account dropped";
        return;
    }
    // Every row counts for the mark, a further row of an account too.
    const QString counterCode = row.value(kExtCounterCode).toString();
    pass.hasQfii = pass.hasQfii || counterCode == CounterSysCode::QFII_ZN;
    auto found = accounts.find(account);
    if (found == accounts.end()) {
        qCWarning(lcAccounts) << kTag << "row of an account that was not asked about:" << account;
    }
    if (pass.seen.contains(account)) {
        qCWarning(lcAccounts) << kTag << "a further row of an account dropped:" << account;
        return;
    }
    pass.seen.insert(account);
    if (found == accounts.end()) {
        found = accounts.insert(account, tagUserAccountInfo());
    }
    tagUserAccountInfo& record = *found;
    // Each pass prepares new records, so a field that the row lacks stays empty.
    fillRecord(row, textFields(), numberFields(), record);
    record.tradingAccount = account;
    publish(account, record);
}

void ExternalAccountQuery::publish(const QString& tradingAccount, tagUserAccountInfo& record) {
    // An abbreviation that is set meanwhile is in the file by now, or reaches the record once this
    // lock is free.
    const std::lock_guard<std::mutex> save(m_state.m_saveLock);
    record.abbrName = m_abbrNames.abbrName(tradingAccount);
    record.accountName = record.abbrName.isEmpty() ? record.counterAccountName : record.abbrName;
    const auto tables = m_state.m_accountLock.write();
    QMap<QString, tagUserAccountInfo>& published = tables->m_accountInfoMap;
    const auto place = published.lowerBound(tradingAccount);
    if (place != published.end() && place.key() == tradingAccount) {
        return;
    }
    published.insert(place, tradingAccount, record);
    const bool frozen = isFrozen(record);
    if (!frozen) {
        insertIntoIndexes(*tables, tradingAccount, record);
    }
    logAccount(record, frozen);
}

void ExternalAccountQuery::publishProducts() {
    const auto tables = m_state.m_accountLock.write();
    // From the table and not from the rows of this pass: after a pass that failed, most of its rows
    // are in the table already.
    QMap<QString, QString> traded;
    QMap<QString, QString> all;
    for (const tagUserAccountInfo& record : qAsConst(tables->m_accountInfoMap)) {
        if (isFrozen(record)) {
            continue;
        }
        all.insert(record.productAccount, record.productName);
        if (record.authorityFlags & kTradeBit) {
            traded.insert(record.productAccount, record.productName);
        }
    }
    tables->m_authTradeProductMap = traded;
    tables->m_allProductMap = all;
    if (!lcAccounts().isDebugEnabled()) {
        return;
    }
    const auto& products = tables->m_productAccounts;
    for (auto it = products.cbegin(); it != products.cend(); ++it) {
        qCDebug(lcAccounts).noquote()
            << QStringLiteral("产品%1-%2下交易账号：%3")
                   .arg(it.key(), traded.value(it.key(), QStringLiteral("没有授权交易账号")),
                        it.value().join(QLatin1Char(',')));
    }
}
