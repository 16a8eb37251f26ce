#include "security_accounts.h"

#include <QSet>
#include <QVariantMap>

#include "account_state.h"
#include "log.h"
#include "security_account_sink.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/values.h"
#include "znbusinessdata/c_business_data_base.h"
#include "zncore/zn_core.h"

namespace {

struct SecurityRow {
    QString exchange;
    QString securityAccount;
    bool isMain;
};

/// The platform's rows of an account, of all exchanges, in its order.
QList<SecurityRow> rowsOf(const QString& tradingAccount) {
    QList<SecurityRow> rows;
    const QList<QVariantMap> records =
        CBusinessDataBase::GetInstance()->GetSecurityAccountListByTradeAccount(tradingAccount,
                                                                               QString());
    rows.reserve(records.size());
    for (const QVariantMap& record : records) {
        rows.append({record.value(UserAccount::securityExchange).toString(),
                     record.value(UserAccount::securityAccount).toString(),
                     record.value(UserAccount::isMainAccount).toString() == QLatin1String("1")});
    }
    return rows;
}

QMap<QString, QStringList> accountsByExchange(const QString& tradingAccount) {
    QMap<QString, QStringList> accounts;
    const QList<SecurityRow> rows = rowsOf(tradingAccount);
    for (const SecurityRow& row : rows) {
        accounts[row.exchange].append(row.securityAccount);
    }
    return accounts;
}

/// The choice that the user saved, by trading account; empty when nothing is saved.
QVariantMap savedChoice() {
    // A file edited by hand may contain a bare comma, which the settings read as a list.
    const QString text = ZnCore::instance()
                             ->settings(SettingFieldName::LocalSecurityAccount)
                             .toStringList()
                             .join(QLatin1Char(','));
    QVariantMap saved;
    if (text.isEmpty()) {
        return saved;
    }
    const QString error = VelmarUtils::TransStr2Map(text, saved);
    if (!error.isEmpty()) {
        qCWarning(lcAccounts) << "saved security accounts are not readable:" << error;
    }
    return saved;
}

}  // namespace

void SecurityAccounts::initAllSecurityAccount() {
    m_state.blockCheckFundInited();
    {
        const auto all = m_allSecurityLock.read();
        if (!all->m_allSecurityMap.isEmpty()) {
            return;
        }
    }
    qCInfo(lcAccounts) << "ZnBusinessDataManager::initAllSecurityAccount"
                       << "首次初始化股东账号列表信息";
    const auto all = m_allSecurityLock.write();
    QSet<QString> normalAccounts;
    {
        const auto tables = m_state.m_accountLock.read();
        normalAccounts = tables->m_normalAccounts;
    }
    for (const QString& account : qAsConst(normalAccounts)) {
        const QList<SecurityRow> rows = rowsOf(account);
        for (const SecurityRow& row : rows) {
            all->m_allSecurityMap[account][row.exchange].append(row.securityAccount);
        }
    }
}

void SecurityAccounts::initMainSecurityAccount() {
    {
        const auto main = m_mainSecurityLock.read();
        if (!main->m_mainSecurityMap.isEmpty()) {
            return;
        }
    }
    const auto main = m_mainSecurityLock.write();
    const auto tables = m_state.m_accountLock.write();
    tables->m_hStockCirculateAccounts.clear();
    const QStringList accounts =
        CBusinessDataBase::GetInstance()->GetTradeAccountList({AuthorityType::AccountTrade});
    for (const QString& account : accounts) {
        const QList<SecurityRow> rows = rowsOf(account);
        if (rows.isEmpty()) {
            continue;
        }
        Chosen& mainOfAccount = main->m_mainSecurityMap[account];
        for (const SecurityRow& row : rows) {
            if (row.isMain || !mainOfAccount.contains(row.exchange)) {
                mainOfAccount.insert(row.exchange, row.securityAccount);
            }
            tables->m_hStockCirculateAccounts[row.exchange].insert(account);
        }
    }
}

void SecurityAccounts::initCurSecurityAccount() {
    {
        const auto current = m_currentSecurityLock.read();
        if (!current->m_currentSecurityMap.isEmpty()) {
            return;
        }
    }
    qCDebug(lcAccounts) << "ZnBusinessDataManager::initCurSecurityAccount"
                        << "首次初始化当前股东账号信息";
    initMainSecurityAccount();
    const auto current = m_currentSecurityLock.write();
    {
        const auto main = m_mainSecurityLock.read();
        current->m_currentSecurityMap = main->m_mainSecurityMap;
    }
    applySavedChoice(current->m_currentSecurityMap);
}

void SecurityAccounts::applySavedChoice(ChosenMap& current) {
    const QVariantMap saved = savedChoice();
    for (auto account = saved.cbegin(); account != saved.cend(); ++account) {
        const QMap<QString, QStringList> legal = accountsByExchange(account.key());
        const QVariantMap choice = account->toMap();
        for (auto it = choice.cbegin(); it != choice.cend(); ++it) {
            const QString securityAccount = it->toString();
            if (legal.value(it.key()).contains(securityAccount)) {
                qCDebug(lcAccounts)
                    << "根据本地保存的股东账号将当前股东账号修改为：" << securityAccount;
                current[account.key()][it.key()] = securityAccount;
            } else {
                qCDebug(lcAccounts)
                    << "检查到本地保存的股东账号数据不在可选列表内：" << securityAccount;
            }
        }
    }
}

SecurityAccounts::AllMap SecurityAccounts::GetAllSecurityAccountMap() {
    initAllSecurityAccount();
    const auto all = m_allSecurityLock.read();
    return all->m_allSecurityMap;
}

QStringList SecurityAccounts::GetSecurityAccountListByTradingAccountAndExchange(
    const QString& tradingAccount, const QString& exchange) {
    initAllSecurityAccount();
    const auto all = m_allSecurityLock.read();
    return all->m_allSecurityMap.value(tradingAccount).value(exchange);
}

SecurityAccounts::ChosenMap SecurityAccounts::GetAllMainSecurityAccount() {
    m_state.blockCheckFundInited();
    initMainSecurityAccount();
    const auto main = m_mainSecurityLock.read();
    return main->m_mainSecurityMap;
}

QString SecurityAccounts::GetMainSecurityAccount(QString tradingAccount, const QString& exchange) {
    m_state.blockCheckFundInited();
    initMainSecurityAccount();
    const auto main = m_mainSecurityLock.read();
    return main->m_mainSecurityMap.value(tradingAccount).value(exchange);
}

SecurityAccounts::ChosenMap SecurityAccounts::GetCurrentSecurityAccountMap() {
    m_state.blockCheckFundInited();
    initCurSecurityAccount();
    const auto current = m_currentSecurityLock.read();
    return current->m_currentSecurityMap;
}

SecurityAccounts::Chosen SecurityAccounts::GetCurrentSecurityAccountByTradingAccount(
    const QString& tradingAccount) {
    m_state.blockCheckFundInited();
    initCurSecurityAccount();
    const auto current = m_currentSecurityLock.read();
    return current->m_currentSecurityMap.value(tradingAccount);
}

QString SecurityAccounts::GetCurrentSecurityAccountByTradingAndExchange(
    const QString& tradingAccount, const QString& exchange) {
    return GetCurrentSecurityAccountByTradingAccount(tradingAccount).value(exchange);
}

int SecurityAccounts::SetCurrentSecurityAccountMap(const ChosenMap& accountMap) {
    const AllMap all = GetAllSecurityAccountMap();
    if (!m_state.m_fundAccountInited) {
        // The host is closing. No entry can be checked, and the saved choice stays.
        return -1;
    }
    int result = 0;
    bool changed = false;
    {
        const auto current = m_currentSecurityLock.write();
        for (auto account = accountMap.cbegin(); account != accountMap.cend(); ++account) {
            for (auto it = account->cbegin(); it != account->cend(); ++it) {
                const QStringList legal = all.value(account.key()).value(it.key());
                if (!legal.contains(it.value())) {
                    result = -1;
                    qCDebug(lcAccounts).noquote()
                        << QStringLiteral(
                               "存在账号设置错误，交易账号：%1，市场：%2，合法证券账号列表：%3，"
                               "设置账号：%4失败")
                               .arg(account.key(), it.key(), legal.join(QLatin1Char(',')),
                                    it.value());
                    continue;
                }
                QString& chosen = current->m_currentSecurityMap[account.key()][it.key()];
                changed = changed || chosen != it.value();
                chosen = it.value();
            }
        }
        // Under the lock, so that of two changes at once the later one is saved.
        saveChoice(current->m_currentSecurityMap);
    }
    if (changed) {
        m_sink.securityAccountSettingChanged();
    }
    return result;
}

void SecurityAccounts::saveChoice(const ChosenMap& current) {
    QVariantMap record;
    for (auto account = current.cbegin(); account != current.cend(); ++account) {
        QVariantMap choice;
        for (auto it = account->cbegin(); it != account->cend(); ++it) {
            choice.insert(it.key(), it.value());
        }
        record.insert(account.key(), choice);
    }
    QString error;
    const QString text = VelmarUtils::TransMap2Str(record, error);
    if (!error.isEmpty()) {
        // Saving an empty text would lose the choice of every account.
        qCWarning(lcAccounts) << "current security accounts not saved:" << error;
        return;
    }
    qCDebug(lcAccounts).noquote() << "保存当前股东账号数据：" << text;
    ZnCore::instance()->saveSetting(SettingFieldName::LocalSecurityAccount, text);
}

void SecurityAccounts::waitForAccounts() const {
    m_state.blockCheckFundInited();
}

QString SecurityAccounts::fundAccountTypeOf(const QString& tradingAccount) const {
    const auto tables = m_state.m_accountLock.read();
    const auto found = tables->m_accountInfoMap.constFind(tradingAccount);
    return found == tables->m_accountInfoMap.cend() ? QString() : found->fundAccountType;
}

QStringList SecurityAccounts::securityExchangesOf(const QString& tradingAccount) {
    if (m_state.m_fundAccountInited) {
        initAllSecurityAccount();
    }
    const auto all = m_allSecurityLock.read();
    return all->m_allSecurityMap.value(tradingAccount).keys();
}
