#include "asset_delivery.h"
#include "core.h"
#include "deal_statistics.h"
#include "first_load.h"
#include "fund_reports.h"
#include "history_lists.h"
#include "history_records.h"
#include "presenter_use.h"
#include "product_reports.h"
#include "push_subscriptions.h"
#include "server_items.h"
#include "trade_dates.h"
#include "velmar_business_data_interface.h"
#include "velmar_business_data_manager_presenter_class.h"

QList<QVariantMap> VelmarBusinessDataInterface::GetHistoryEntrustList(const QStringList& accounts,
                                                                      const QDate& startDate,
                                                                      const QDate& endDate) {
    InitVelmarBusinessManagePlugin();
    const PresenterUse use;
    return core().historyLists().GetHistoryEntrustList(use.presenter(), accounts, startDate,
                                                       endDate);
}

QList<QVariantMap> VelmarBusinessDataInterface::GetHistoryDealList(const QStringList& accounts,
                                                                   const QDate& startDate,
                                                                   const QDate& endDate) {
    InitVelmarBusinessManagePlugin();
    const PresenterUse use;
    return core().historyLists().GetHistoryDealList(use.presenter(), accounts, startDate, endDate);
}

QVariantMap VelmarBusinessDataInterface::GetHistoryEntrustByTradeDateAndOrderID(
    const QDate& tradeDate, const QString& orderID, const QString& tradingAccount) {
    InitVelmarBusinessManagePlugin();
    const PresenterUse use;
    return core().historyLists().GetHistoryEntrustByTradeDateAndOrderID(use.presenter(), tradeDate,
                                                                        orderID, tradingAccount);
}

QList<QVariantMap> VelmarBusinessDataInterface::GetHistoryEntrustRecordList(QVariantMap& params,
                                                                            const QDate& startDate,
                                                                            const QDate& endDate) {
    InitVelmarBusinessManagePlugin();
    const PresenterUse use;
    return core().historyRecords().GetHistoryEntrustRecordList(use.presenter(), params, startDate,
                                                               endDate);
}

QList<QVariantMap> VelmarBusinessDataInterface::GetHistoryDealRecordList(QVariantMap& params,
                                                                         const QDate& startDate,
                                                                         const QDate& endDate) {
    InitVelmarBusinessManagePlugin();
    const PresenterUse use;
    return core().historyRecords().GetHistoryDealRecordList(use.presenter(), params, startDate,
                                                            endDate);
}

QList<QVariantMap> VelmarBusinessDataInterface::GetHistoryDealGatherRecordList(
    QVariantMap& params, const QDate& startDate, const QDate& endDate, const int& maxNum) {
    InitVelmarBusinessManagePlugin();
    const PresenterUse use;
    return core().historyRecords().GetHistoryDealGatherRecordList(use.presenter(), params,
                                                                  startDate, endDate, maxNum);
}

QList<QVariantMap> VelmarBusinessDataInterface::GetHistoryEntrustExportList(
    const QStringList& accounts, const QDate& startDate, const QDate& endDate, QString& error) {
    InitVelmarBusinessManagePlugin();
    const PresenterUse use;
    return core().historyRecords().GetHistoryEntrustExportList(use.presenter(), accounts, startDate,
                                                               endDate, error);
}

QList<QVariantMap> VelmarBusinessDataInterface::GetHistoryDealExportList(
    const QStringList& accounts, const QDate& startDate, const QDate& endDate, QString& error) {
    InitVelmarBusinessManagePlugin();
    const PresenterUse use;
    return core().historyRecords().GetHistoryDealExportList(use.presenter(), accounts, startDate,
                                                            endDate, error);
}

QList<QVariantMap> VelmarBusinessDataInterface::GetHistoryDealStatisticsList(
    const QStringList& accounts, const QDate& startDate, const QDate& endDate) {
    InitVelmarBusinessManagePlugin();
    const PresenterUse use;
    return core().dealStatistics().GetHistoryDealStatisticsList(use.presenter(), accounts,
                                                                startDate, endDate);
}

QList<QVariantMap> VelmarBusinessDataInterface::GetHistoryNormalFundInfo(
    const QStringList& accounts, const QDate& startDate, const QDate& endDate) {
    InitVelmarBusinessManagePlugin();
    const PresenterUse use;
    return core().fundReports().GetHistoryNormalFundInfo(use.presenter(), accounts, startDate,
                                                         endDate);
}

QMap<QString, QVariantMap> VelmarBusinessDataInterface::GetTodayNormalFundInfo(
    const QStringList& accounts, const QDate& date) {
    InitVelmarBusinessManagePlugin();
    const PresenterUse use;
    return core().fundReports().GetTodayNormalFundInfo(use.presenter(), accounts, date);
}

QMap<QString, QVariantMap> VelmarBusinessDataInterface::GetHistoryMarginFundInfo(
    const QStringList& accounts, const QDate& date) {
    InitVelmarBusinessManagePlugin();
    const PresenterUse use;
    return core().fundReports().GetHistoryMarginFundInfo(use.presenter(), accounts, date);
}

QList<QVariantMap> VelmarBusinessDataInterface::GetHistoryAppraisementInfo(
    const QStringList& accounts, const QDate& date, const QDate& currentDate) {
    InitVelmarBusinessManagePlugin();
    const PresenterUse use;
    return core().productReports().GetHistoryAppraisementInfo(use.presenter(), accounts, date,
                                                              currentDate);
}

QList<QVariantMap> VelmarBusinessDataInterface::GetHistoryAppraisementProfitInfo(
    const QStringList& accounts, const QDate& date, const QDate& currentDate) {
    InitVelmarBusinessManagePlugin();
    const PresenterUse use;
    return core().productReports().GetHistoryAppraisementProfitInfo(use.presenter(), accounts, date,
                                                                    currentDate);
}

QList<QVariantMap> VelmarBusinessDataInterface::GetHistoryPanfenFlowInfo(
    const QStringList& accounts, const QDate& date) {
    InitVelmarBusinessManagePlugin();
    const PresenterUse use;
    return core().productReports().GetHistoryPanfenFlowInfo(use.presenter(), accounts, date);
}

int VelmarBusinessDataInterface::GetHistoryAssetDeliveryReports(const QStringList& accounts,
                                                                const QDate& startDate,
                                                                const QDate& endDate,
                                                                QList<QVariantMap>& reports) {
    InitVelmarBusinessManagePlugin();
    const PresenterUse use;
    return core().assetDelivery().GetHistoryAssetDeliveryReports(use.presenter(), accounts,
                                                                 startDate, endDate, reports);
}

QVariantMap VelmarBusinessDataInterface::GetAnnualReport(QString& error) {
    InitVelmarBusinessManagePlugin();
    const PresenterUse use;
    return core().serverItems().GetAnnualReport(use.presenter(), error);
}

QStringList VelmarBusinessDataInterface::GetTradeDates(const QString& startDate,
                                                       const QString& endDate,
                                                       const QString& exchange, QString& error) {
    InitVelmarBusinessManagePlugin();
    const PresenterUse use;
    return core().tradeDates().GetTradeDates(use.presenter(), startDate, endDate, exchange, error);
}

QStringList VelmarBusinessDataInterface::GetTradeDatesByDayAndRange(const QString& date, int days,
                                                                    const QString& exchange) {
    InitVelmarBusinessManagePlugin();
    const PresenterUse use;
    return core().tradeDates().GetTradeDatesByDayAndRange(use.presenter(), date, days, exchange);
}

QList<QDate> VelmarBusinessDataInterface::GetTradeDatesByMonth(int month, int year) {
    InitVelmarBusinessManagePlugin();
    const PresenterUse use;
    return core().tradeDates().GetTradeDatesByMonth(use.presenter(), month, year);
}

QString VelmarBusinessDataInterface::GetSystemAnnoucement(bool withValue) {
    InitVelmarBusinessManagePlugin();
    const PresenterUse use;
    return core().serverItems().GetSystemAnnoucement(use.presenter(), withValue);
}

QString VelmarBusinessDataInterface::getSysConfigValue(const QString& itemName) {
    const PresenterUse use;
    return core().serverItems().getSysConfigValue(use.presenter(), itemName);
}

bool VelmarBusinessDataInterface::SubscribePushMsgFromServer(const QString& topic,
                                                             const QVariantMap& content,
                                                             const QString& netType) {
    InitVelmarBusinessManagePlugin();
    const PresenterUse use;
    return core().pushSubscriptions().SubscribePushMsgFromServer(use.presenter(), topic, content,
                                                                 netType);
}
