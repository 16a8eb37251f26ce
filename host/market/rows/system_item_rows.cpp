#include "system_item_rows.h"

#include <QVariantMap>

#include "price_samples.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"

namespace {

QString textOf(const QVariantMap& record) {
    QString error;
    return VelmarUtils::TransMap2Str(record, error);
}

QVariantMap report(const QStringList& items, int seconds, const QStringList& texts = {}) {
    return {{QStringLiteral("items"), items},
            {QStringLiteral("stringItems"), texts},
            {QStringLiteral("period"), seconds}};
}

/// Reported over the web and as client information, each group every few minutes.
QString performanceConfig() {
    using namespace ClientPerformItem;
    constexpr int kBothRoads = 3;
    return textOf({
        {QStringLiteral("UploadDst"), kBothRoads},
        {ClientPerformType::CpuUsage,
         report({CpuName, TotalCpuUsage, ClientCpuUsage, PositionCount}, 300, {CpuName})},
        {ClientPerformType::MemUsage,
         report({TotalMemUsage, ClientMemUsage, RemainMem, OrderCount, DealCount}, 300)},
        {ClientPerformType::DiskUsage,
         report({RemainDisk, LogFileCount, LogFileSize, DumpFileCount}, 3600)},
        {ClientPerformType::NetStat, report({TradeMsgCount, TradeMsgSize, InfoMsgCount, InfoMsgSize,
                                             MdcMsgCount, MdcMsgSize, TradeLatency, InfoLatency},
                                            600)},
    });
}

QString announcement() {
    return QStringLiteral(
        "尊敬的客户：交易系统将于本周六9:00至18:00进行例行维护，期间无法登录，请提前安排。");
}

QString longAnnouncement() {
    return QStringLiteral(
        "尊敬的客户：\n"
        "为向您提供更稳定的服务，交易系统将于本周六9:00至18:00进行例行维护。\n"
        "一、维护期间客户端无法登录，历史委托、成交及资产报表暂停查询。\n"
        "二、维护期间请勿提交银证转账；已提交的申请将在下一交易日处理。\n"
        "三、维护完成后请重新登录客户端，核对账户资产与持仓。\n"
        "四、遇节假日，交易日安排以各交易所公告为准。\n"
        "如有疑问，请联系您的客户经理。感谢您的理解与支持！");
}

}  // namespace

QList<TableRow> makeSystemItemRows() {
    QList<TableRow> rows;
    const auto add = [&rows](const QString& name, const QString& value, const QString& description,
                             const QString& longer = QString()) {
        rows.append({QStringLiteral("system_item"), {name, value, description, longer}});
    };
    add(SystemItemName::TagAnnoucement, QStringLiteral("1"), announcement(), longAnnouncement());
    add(SystemItemName::TagClientPerformanceCfg, performanceConfig(),
        QStringLiteral("客户端性能指标的上报项目与周期（秒）"));
    for (const QString& name : {SystemItemName::TagPriceCage, SystemItemName::TagPriceCageApply}) {
        add(name, PriceSamples::systemItem(name),
            name == SystemItemName::TagPriceCage ? QStringLiteral("各板块价格笼子的默认参数")
                                                 : QStringLiteral("启用价格笼子的交易功能"));
    }
    add(QStringLiteral("torvi.sys.dmp.autouploadlog"), QStringLiteral("true"),
        QStringLiteral("客户端异常退出后是否自动上传当日日志"));
    add(QStringLiteral("torvi.sys.notice.url"), QString(), QStringLiteral("公告页面地址，未启用"));
    return rows;
}
