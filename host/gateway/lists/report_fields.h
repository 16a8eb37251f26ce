#pragma once

#include <QString>

/// Fields of reports and of the calendar that clients show as they are. Amounts are in yuan.
namespace ReportField {
// Of a fund row. balance = openingBalance + soldAmount - boughtAmount - fee + transfer.
inline const QString openingBalance = QStringLiteral("host/openingBalance");
inline const QString boughtAmount = QStringLiteral("host/boughtAmount");
inline const QString soldAmount = QStringLiteral("host/soldAmount");
inline const QString fee = QStringLiteral("host/fee");
/// Money that came in from outside, negative for money that went out.
inline const QString transfer = QStringLiteral("host/transfer");
/// The same of securities, at closing prices.
inline const QString valueTransfer = QStringLiteral("host/valueTransfer");
inline const QString balance = QStringLiteral("host/balance");
/// Positions at closing prices.
inline const QString marketValue = QStringLiteral("host/marketValue");
/// The balance and the market value: that of the day before with dayProfit and both transfers.
inline const QString totalAsset = QStringLiteral("host/totalAsset");
/// What the day's deals changed, with positions at closing prices, less fees.
inline const QString dayProfit = QStringLiteral("host/dayProfit");

// Of a margin account.
inline const QString financedDebt = QStringLiteral("host/financedDebt");
inline const QString shortedDebt = QStringLiteral("host/shortedDebt");
inline const QString interest = QStringLiteral("host/interest");
/// The three above together.
inline const QString totalDebt = QStringLiteral("host/totalDebt");
/// The total asset less the total debt.
inline const QString netAsset = QStringLiteral("host/netAsset");
/// The total asset in percent of the total debt; 0 without debts.
inline const QString guaranteeRatio = QStringLiteral("host/guaranteeRatio");

// Of a product's reports.
/// An account's part of the product's net asset in percent.
inline const QString netAssetShare = QStringLiteral("host/netAssetShare");
inline const QString monthProfit = QStringLiteral("host/monthProfit");
inline const QString flowNo = QStringLiteral("host/flowNo");
inline const QString flowKind = QStringLiteral("host/flowKind");
/// Positive for money that came in.
inline const QString flowAmount = QStringLiteral("host/flowAmount");

// Of the annual report: totalAsset = openingAsset + AppraisementInfo::benefitTotal + transfer,
// which has securities from outside too.
inline const QString year = QStringLiteral("host/year");
inline const QString accountCount = QStringLiteral("host/accountCount");
inline const QString tradeDayCount = QStringLiteral("host/tradeDayCount");
inline const QString orderCount = QStringLiteral("host/orderCount");
inline const QString dealCount = QStringLiteral("host/dealCount");
inline const QString turnover = QStringLiteral("host/turnover");
inline const QString openingAsset = QStringLiteral("host/openingAsset");
inline const QString bestMonth = QStringLiteral("host/bestMonth");
inline const QString bestMonthProfit = QStringLiteral("host/bestMonthProfit");

// Of a trade day.
/// Whether there is a morning session only.
inline const QString halfDay = QStringLiteral("host/halfDay");
/// Whether the day is a weekday of a year whose holidays are not published yet.
inline const QString provisional = QStringLiteral("host/provisional");
}  // namespace ReportField
