#include "fund_account_table.h"

#include <QSet>
#include <QThread>

#include "account_authority.h"
#include "account_state.h"
#include "external_account_query.h"
#include "log.h"
#include "record_fields.h"
#include "security_accounts.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/values.h"
#include "znbusinessdata/c_business_data_base.h"
#include "zncore/zn_core.h"
#include "znevent/c_event_message_common.h"
#include "znwidget/zn_presenter_class.h"

namespace {

const char* const kTag = "ZnBusinessDataManager::InitFundAccountList";
constexpr unsigned long kPauseBeforeNextPassMs = 100;
constexpr unsigned long kPauseWithoutPresenterMs = 10;
constexpr unsigned long kPauseForOtherLoadMs = 10;

const RecordMembers<QString>& treeFields() {
    static const RecordMembers<QString> fields{
        {UserAccount::investorName, &tagUserAccountInfo::investorName},
        {UserAccount::productName, &tagUserAccountInfo::productName},
        {UserAccount::assetAccountName, &tagUserAccountInfo::assetAccountName},
        {UserAccount::tradingAccountName, &tagUserAccountInfo::tradingAccountName},
        {UserAccount::investorAccount, &tagUserAccountInfo::investorAccount},
        {UserAccount::productAccount, &tagUserAccountInfo::productAccount},
        {UserAccount::assetAccount, &tagUserAccountInfo::assetAccount},
        {UserAccount::tradingAccount, &tagUserAccountInfo::tradingAccount},
        {UserAccount::securityAccount, &tagUserAccountInfo::securityAccount},
        {UserAccount::securityExchange, &tagUserAccountInfo::securityExchange},
        {UserAccount::isMainAccount, &tagUserAccountInfo::isMainAccount},
        {UserAccount::seatNo, &tagUserAccountInfo::seatNo},
        {UserAccount::investType, &tagUserAccountInfo::investType},
        {UserAccount::assetAccountList, &tagUserAccountInfo::assetAccountList},
        {UserAccount::userType, &tagUserAccountInfo::userType},
        {UserAccount::organCode, &tagUserAccountInfo::organCode},
    };
    return fields;
}

bool isClosing(const ZnPresenterClass* prtClass) {
    return prtClass ? prtClass->isClosing() : ZnCore::instance()->isClosing();
}

QStringList platformAccountList() {
    QStringList types;
    for (const QString& type : authorityTypes()) {
        types.append(type);
    }
    QStringList accounts = CBusinessDataBase::GetInstance()->GetTradeAccountList(types);
    qCDebug(lcAccounts) << "++++++++InitFundAccountList获取到交易交易帐号：" << accounts;
    return accounts;
}

int authorityFlagsOf(const QString& account) {
    const QStringList held =
        CBusinessDataBase::GetInstance()->GetTradeAccountAuthorityTypeList(account);
    qCDebug(lcAccounts) << kTag << " authority type list:" << held;
    int flags = 0;
    for (std::size_t i = 0; i < kAuthorityBits.size(); ++i) {
        if (held.contains(authorityTypes()[i])) {
            flags |= kAuthorityBits[i];
        }
    }
    return flags;
}

tagUserAccountInfo recordOf(const QString& account) {
    const QVariantMap details =
        CBusinessDataBase::GetInstance()->GetAccountDetailsByTradinngAccount(account);
    tagUserAccountInfo record;
    fillRecord(details, treeFields(), {}, record);
    record.authorityFlags = authorityFlagsOf(account);
    return record;
}

QStringList savedOrder() {
    // A file edited by hand may contain a bare comma, which the settings read as a list.
    return ZnCore::instance()
        ->settings(SettingFieldName::AccountListOrder)
        .toStringList()
        .join(QLatin1Char(','))
        .split(QLatin1Char(','), Qt::SkipEmptyParts);
}

}  // namespace

bool FundAccountTable::InitFundAccountList(ZnPresenterClass* prtClass) {
    std::unique_lock<std::mutex> load(m_loadLock, std::defer_lock);
    if (!load.try_lock()) {
        qCDebug(lcAccounts) << "InitFundAccountList waits for the load that is running";
        // That load may be another presenter's, and go on for as long as the counter refuses.
        do {
            if (isClosing(prtClass)) {
                return false;
            }
            QThread::msleep(kPauseForOtherLoadMs);
        } while (!load.try_lock());
    }
    int pass = 1;
    bool result = false;
    if (!m_state.m_fundInitStarted) {
        m_state.m_fundAccountInited = false;
    }
    while (!m_state.m_fundInitStarted && !isClosing(prtClass)) {
        qCDebug(lcAccounts).noquote()
            << QStringLiteral("第%1次InitFundAccountList开始执行").arg(pass);
        m_state.m_fundInitStarted = true;
        if (!prtClass) {
            qCDebug(lcAccounts) << "InitFundAccountList GetFundAccountList PresenterClass is null";
            m_state.m_fundInitStarted = false;
            QThread::msleep(kPauseWithoutPresenterMs);
            continue;
        }
        runPass(prtClass);
        qCDebug(lcAccounts).noquote()
            << QStringLiteral("第%1次InitFundAccountList处理完毕").arg(pass);
        result = true;
        ++pass;
        if (!m_state.m_fundInitStarted && !isClosing(prtClass)) {
            qCDebug(lcAccounts) << "InitFundAccountList: next pass in" << kPauseBeforeNextPassMs
                                << "ms";
            QThread::msleep(kPauseBeforeNextPassMs);
        }
    }
    if (m_state.m_fundInitStarted) {
        openToReaders(prtClass);
    }
    return result;
}

void FundAccountTable::runPass(ZnPresenterClass* prtClass) {
    m_securityAccounts.initCurSecurityAccount();
    const QStringList platformAccounts = platformAccountList();
    QMap<QString, tagUserAccountInfo> records;
    for (const QString& account : platformAccounts) {
        // The platform's list is mostly in order.
        records.insert(records.cend(), account, recordOf(account));
    }
    qCDebug(lcAccounts) << "开始查询外部绑定表信息";
    m_externalQuery.batchQueryExtAccountInfo(prtClass, records);
    qCDebug(lcAccounts) << "结束查询外部绑定表信息";
    initAccountOrder(platformAccounts);
}

void FundAccountTable::initAccountOrder(const QStringList& platformAccounts) {
    const std::lock_guard<std::mutex> save(m_state.m_saveLock);
    const QStringList saved = savedOrder();
    const auto order = m_state.m_accountOrderLock.write();
    qCDebug(lcAccounts) << "初始化账号优先级排序：" << saved;

    const QSet<QString> known(platformAccounts.cbegin(), platformAccounts.cend());
    QStringList merged;
    QSet<QString> placed;
    for (const QString& account : saved) {
        if (known.contains(account)) {
            merged.append(account);
            placed.insert(account);
        }
    }
    for (const QString& account : platformAccounts) {
        if (!placed.contains(account)) {
            merged.append(account);
            placed.insert(account);
        }
    }
    order->assign(merged);
    qCDebug(lcAccounts) << "修改后账号优先级排序：" << merged;
}

void FundAccountTable::openToReaders(ZnPresenterClass* prtClass) {
    m_state.m_fundAccountInited = true;
    if (!prtClass) {
        return;
    }
    const int eventId =
        VelmarUtils::GetTorviEventMsgIdByStr(EventMsgName::Velmar_Fundaccount_Inited);
    auto* const event = new CEventMessageCommon;
    event->SetType(eventId);
    event->SetSrcid(prtClass->pluginPid());
    qCDebug(lcAccounts) << "InitFundAccountList over putevent:" << eventId;
    prtClass->PutEvent(prtClass->pluginPid(), event);
}
