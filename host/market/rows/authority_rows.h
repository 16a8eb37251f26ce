#pragma once

#include <QList>
#include <QPair>
#include <QString>

#include "account_rows.h"
#include "account_tree.h"

/// The authority types of every sample market; the comments name the kind of account.
namespace SampleAuthority {
inline const QString loginCount = QStringLiteral("MaxLoginCount");         ///< of the user
inline const QString orderAmount = QStringLiteral("MaxOrderAmount");       ///< trading accounts
inline const QString investorReport = QStringLiteral("InvestorReport");    ///< investors
inline const QString productExport = QStringLiteral("ProductExport");      ///< products
inline const QString assetTransfer = QStringLiteral("AssetTransfer");      ///< asset accounts
inline const QString fundTransfer = QStringLiteral("FundTransfer");        ///< fund accounts
inline const QString securityLending = QStringLiteral("SecurityLending");  ///< security accounts
inline const QString externalTrade = QStringLiteral("ExternalTrade");      ///< external users
inline const QString algorithmTrade = QStringLiteral("AlgorithmTrade");    ///< nobody has it
}  // namespace SampleAuthority

/// Authority type to AccountType.
const QList<QPair<QString, QString>>& sampleAuthorityTypes();

/// The rows of the authorities' values, the users of the organisations, and the traders bound to
/// accounts.
QList<TableRow> makeAuthorityRows(const AccountTree& tree, const AccountTree& ofSecond);
