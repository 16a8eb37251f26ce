#pragma once

#include <QJsonObject>
#include <QJsonValue>
#include <QString>
#include <QStringList>

#include "command_answer.h"
#include "facade_questions.h"

struct AccountList;

/// Describes the accounts with what the exported functions answer, and with nothing else. The
/// functions are called by name; one that the library lacks is named in the answer.
class AccountsCommand {
public:
    /// `known` are the accounts that the platform lists; the exported lists leave frozen ones out.
    AccountsCommand(const FacadeLibrary& library, const FacadeAsk& ask, const QStringList& known);
    ~AccountsCommand();
    Q_DISABLE_COPY(AccountsCommand)

    /// One row per account: those of the exported lists in their order, then the others. Lines are
    /// cut to `columns`.
    CommandAnswer list(int columns);
    /// Which lists contain an account, and why the others do not; an error for one that neither the
    /// functions nor the platform know.
    CommandAnswer why(const QString& account, int columns);

private:
    QJsonObject recordOf(const QString& account);
    QList<QJsonObject> allRecords();
    void readSecurityAccounts();
    QStringList exchangesOf(const QString& account) const;
    /// What to show for an account without exchanges: "none", or that it is unknown, and why.
    QString whyNoExchanges(const QJsonObject& record) const;
    QStringList reasons(const AccountList& list, const QJsonObject& record) const;
    QJsonObject describe(const QJsonObject& record) const;
    QJsonObject judge(const AccountList& list, const QJsonObject& record);

    FacadeQuestions m_facade;
    const QStringList m_known;
    bool m_knowsSecurityAccounts = false;
    QJsonObject m_securityAccounts;
};
