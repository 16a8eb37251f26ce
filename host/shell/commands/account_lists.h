#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QStringList>

#include "authority_letters.h"

// What the account lists of the exported class require of an account, and how the fields of an
// account's record are shown.

/// One of the exported lists, with what it requires of an account.
struct AccountList {
    enum class Counter { Any, Central, Distributed };

    QString title;
    QString function;
    QStringList arguments;
    int authority = 0;  ///< bits that the account must have, every one
    Counter counter = Counter::Any;
    int fundProps = 0;           ///< bits of which it must have one; 0 requires none
    QStringList exchanges = {};  ///< it must have a security account at one of them; empty: any
};

/// Every list that `accounts why` calls.
QList<AccountList> accountLists();
/// The arguments of GetTradingAccountList and GetFundAccountList: wait, authority, distributed.
QStringList tradingListArguments(int authority, bool includeDistributed);

namespace AccountRecord {

QString text(const QJsonObject& record, const char* field);
int number(const QJsonObject& record, const char* field);
/// The trading account; empty in the record of one that is not loaded.
QString account(const QJsonObject& record);
/// The platform lists the account, but the counter sent no row for it.
bool isNotLoaded(const QJsonObject& record);
/// The trading account; of one that is not loaded the name that was asked for, in "asked".
QString name(const QJsonObject& record);
bool isFrozen(const QJsonObject& record);
bool isDistributed(const QJsonObject& record);
/// The bit of Torvi_InnerFundProp that belongs to the account's kind.
int fundProp(const QJsonObject& record);
QString kindText(const QJsonObject& record);
QString counterText(const QJsonObject& record);
QString stateText(const QJsonObject& record);

}  // namespace AccountRecord

/// The words of the rights that the mask contains.
QJsonArray authorityWords(int flags);
/// The names of exchanges by their codes, joined with ", ".
QString exchangeTexts(const QStringList& codes);
