#pragma once

#include <QString>

/// Message types that only the host itself exchanges with its server.
namespace HostMsgType {
/// Body: UserAccount::loginUserId, "password". Answer: the record of the login as one data row.
inline const QString login = QStringLiteral("100001");
/// Body: UserAccount::loginUserId. Answer: one data row per trading account that the login may see,
/// UserAccount keys, plus HostField::authorityTypes and HostField::securityAccounts. A row without
/// the latter has the one security account that its record names.
inline const QString accountTree = QStringLiteral("100002");
/// Body: UserAccount::loginUserId; optionally UserAccount::tradingAccount, several joined with ",";
/// optionally a page (see PageRequest: page number and size, or position and number). Answer: one
/// data row per security account that the login may see, in the tree's order, with
/// UserAccount::tradingAccount, securityAccount, securityExchange and isMainAccount.
inline const QString securityAccounts = QStringLiteral("100004");
/// Body: data rows with commands for the fault link, which answers itself; never reaches the
/// server.
inline const QString control = QStringLiteral("100090");
}  // namespace HostMsgType

namespace HostField {
inline const QString password = QStringLiteral("password");
/// The AuthorityType values of a trading account, joined with ",".
inline const QString authorityTypes = QStringLiteral("authorityTypes");
/// The security accounts of a trading account: a list of records of UserAccount::securityAccount,
/// UserAccount::securityExchange and UserAccount::isMainAccount, in the server's order.
inline const QString securityAccounts = QStringLiteral("securityAccounts");
}  // namespace HostField
