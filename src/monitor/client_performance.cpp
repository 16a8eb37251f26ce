#include "client_performance.h"

#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <type_traits>

#include "application_folder.h"
#include "basebusinessdatamanager/base_business_data_interface.h"
#include "data_query.h"
#include "log.h"
#include "resource_figures.h"
#include "saturated.h"
#include "velmarutils/velmar_utils.h"
#include "velmarweblogic/velmar_web_logic.h"
#include "vocabulary/constants.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/own_keys.h"
#include "vocabulary/quindar_msg_type.h"
#include "vocabulary/values.h"
#include "zncore/zn_core.h"
#include "znwidget/zn_presenter_class.h"

namespace {

constexpr const char* kStartTag =
    "VelmarBusinessDataManagerPresenterClass::startClientPerformUpload";
constexpr int kWebRoad = 1;
constexpr int kInfoRoad = 2;

struct FileSums {
    int count = 0;
    qint64 size = 0;
};

/// The log files in the folders of the days.
FileSums scanLogs() {
    FileSums sums;
    const QDir log(applicationFolder() + QDir::separator() + QStringLiteral("log"));
    const QStringList days = log.entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    for (const QString& day : days) {
        if (!QDate::fromString(day, DateTimeFormatString::STD_DATE_FORMAT).isValid()) {
            continue;
        }
        QDirIterator files(log.filePath(day), QDir::Files | QDir::NoDotAndDotDot);
        while (files.hasNext()) {
            files.next();
            ++sums.count;
            sums.size += files.fileInfo().size();
        }
    }
    return sums;
}

/// Writes the difference between a total of the board and the remembered one to the board. A total
/// beyond the number's range wraps, and so does the difference.
template <class Number>
void reportDifference(const QString& totalKey, const QString& key, Number* last) {
    using Unsigned = std::make_unsigned_t<Number>;
    const auto total = ZnCore::instance()->getCommonInfo(totalKey).template value<Number>();
    const auto difference =
        static_cast<Number>(static_cast<Unsigned>(total) - static_cast<Unsigned>(*last));
    ZnCore::instance()->setCommonInfo(key, difference);
    *last = total;
}

/// The configuration in the first row of an answer; empty, with a warning, when it is no record.
PerformanceConfig configOf(const QVariantMap& row) {
    QVariantMap values;
    const QString error =
        VelmarUtils::TransStr2Map(row.value(System::itemValue).toString(), values);
    if (!error.isEmpty()) {
        qCWarning(lcMonitor).noquote()
            << kStartTag << "the configuration cannot be read, nothing is reported:" << error;
    }
    return PerformanceConfig::of(values);
}

}  // namespace

ClientPerformance::ClientPerformance(const Clock& clock, ClientInfoSink& sink)
    : m_clock(clock), m_sink(sink) {}

void ClientPerformance::startClientPerformUpload(ZnPresenterClass* presenter,
                                                 const Timers& timers) {
    const ServerReply reply =
        queryRows(presenter, Quindar_MsgType::sysConfigRequest,
                  {{System::itemName, SystemItemName::TagClientPerformanceCfg}});
    if (!reply.isAnswered() || reply.rows.isEmpty()) {
        qCWarning(lcMonitor).noquote() << kStartTag << "查询终端指标上报配置失败：" << reply.text;
        return;
    }
    const PerformanceConfig config = configOf(reply.rows.first());
    if (config.hasUploadDst) {
        m_performUploadDst = config.uploadDst;
    }
    if (!config.types.isEmpty()) {
        m_performItemMap.clear();
        timers.forget();
        m_performStringItems.clear();
    }
    QMap<QString, int> performTimerMap;
    for (auto type = config.types.cbegin(); type != config.types.cend(); ++type) {
        if (presenter->isClosing()) {
            return;
        }
        const int timerId = startType(type.key(), *type, timers);
        if (timerId != 0) {
            performTimerMap.insert(type.key(), timerId);
        }
    }
    qCDebug(lcMonitor) << kStartTag << performTimerMap << m_performUploadDst;
}

/// Returns the id of the type's timer, 0 for a type that is reported once, now.
int ClientPerformance::startType(const QString& type, const PerformanceConfig::Type& config,
                                 const Timers& timers) {
    constexpr double kMsPerSecond = 1000;
    m_performItemMap.insert(type, config.items);
    for (const QString& item : config.stringItems) {
        m_performStringItems.insert(item);
    }
    if (!config.hasPeriod) {
        qCWarning(lcMonitor).noquote()
            << kStartTag << "the period of" << type << "is not a number; it is reported every"
            << config.period << "seconds";
    }
    if (config.period < 1) {
        slotUploadClientPerformance(type);
        return 0;
    }
    return timers.start(type, saturated<int>(config.period * kMsPerSecond));
}

void ClientPerformance::slotUploadClientPerformance(const QString& type) {
    sample(type);
    const QVariantMap collected = collect(type);
    if (collected.isEmpty()) {
        return;
    }
    if (m_performUploadDst & kWebRoad) {
        VelmarWebLogic::instance()->UpLoad(OwnKeys::boxInput, QStringLiteral("null"), QString(),
                                           QString(), collected);
    }
    if (m_performUploadDst & kInfoRoad) {
        sendItems(collected);
    }
}

/// The figures of a type that are on the board.
QVariantMap ClientPerformance::collect(const QString& type) const {
    QVariantMap collected;
    const QStringList items = m_performItemMap.value(type);
    for (const QString& key : items) {
        const QVariant value = ZnCore::instance()->getCommonInfo(key);
        if (!value.isNull()) {
            collected.insert(key, value);
        }
    }
    return collected;
}

void ClientPerformance::sendItems(const QVariantMap& collected) {
    for (auto one = collected.cbegin(); one != collected.cend(); ++one) {
        QVariantMap item{{System::itemType, ClinetInfoUpload::ClientPerformanceInfo},
                         {System::itemValue, one.key()},
                         {System::itemValueEx, one.value()}};
        if (!m_performStringItems.contains(one.key())) {
            item.insert(System::itemValueNum, one->toDouble());
        }
        m_sink.collectClientInfo(item);
    }
}

void ClientPerformance::sample(const QString& type) {
    if (type == ClientPerformType::DiskUsage) {
        sampleDisk();
    } else if (type == ClientPerformType::CpuUsage) {
        ZnCore::instance()->setCommonInfo(
            ClientPerformItem::PositionCount,
            BaseBusinessDataInterface::GetPositionCountByTradingAccount(QString()));
    } else if (type == ClientPerformType::MemUsage) {
        sampleMemory();
    } else if (type == ClientPerformType::NetStat) {
        sampleNet();
    }
}

void ClientPerformance::sampleDisk() {
    publishFreeDisk(VelmarUtils::GetFreeSpaceOnTorviDisk(), m_clock.now());
    const FileSums logs = scanLogs();
    ZnCore::instance()->setCommonInfo(ClientPerformItem::LogFileCount, logs.count);
    ZnCore::instance()->setCommonInfo(ClientPerformItem::LogFileSize, gigabytesOf(logs.size));
}

void ClientPerformance::sampleMemory() {
    ZnCore* const board = ZnCore::instance();
    board->setCommonInfo(ClientPerformItem::OrderCount,
                         BaseBusinessDataInterface::GetOrdersCountByTradingAccount(QString()));
    board->setCommonInfo(ClientPerformItem::DealCount,
                         BaseBusinessDataInterface::GetExecutionCountByTradingAccount(QString()));
    const QString name = board->settings(Constants::TORVI_ORDER_DBFILE).toString();
    if (name.isEmpty()) {
        return;
    }
    constexpr int kMegabyteBits = 20;
    const QFileInfo file(VelmarUtils::GetUserCfgFileDir() + name);
    if (file.isFile()) {
        board->setCommonInfo(ClientPerformItem::OrderDbFileSize, file.size() >> kMegabyteBits);
    }
}

void ClientPerformance::sampleNet() {
    reportDifference(ClientPerformItem::TotalTradeMsgCount, ClientPerformItem::TradeMsgCount,
                     &m_lastTradeMsgCount);
    reportDifference(ClientPerformItem::TotalInfoMsgCount, ClientPerformItem::InfoMsgCount,
                     &m_lastInfoMsgCount);
    reportDifference(ClientPerformItem::TotalTradeMsgSize, ClientPerformItem::TradeMsgSize,
                     &m_lastTradeMsgSize);
    reportDifference(ClientPerformItem::TotalInfoMsgSize, ClientPerformItem::InfoMsgSize,
                     &m_lastInfoMsgSize);
    reportDifference(ClientPerformItem::MdcTotalMsgCount, ClientPerformItem::MdcMsgCount,
                     &m_lastMdcMsgCount);
    reportDifference(ClientPerformItem::MdcTotalMsgSize, ClientPerformItem::MdcMsgSize,
                     &m_lastMdcMsgSize);
}
