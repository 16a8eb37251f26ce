#include "start_up_reports.h"

#include <QSettings>

#include "log.h"
#include "velmarutils/velmar_utils.h"
#include "vocabulary/constants.h"
#include "vocabulary/fields.h"
#include "vocabulary/names.h"
#include "vocabulary/values.h"
#include "znbusinessdata/c_business_data_base.h"
#include "zncfg/config_manager.h"
#include "zncore/zn_core.h"

namespace {

QVariantMap itemOf(const QString& type, const QVariant& value, const QVariant& valueEx) {
    return {{System::itemType, type}, {System::itemValue, value}, {System::itemValueEx, valueEx}};
}

}  // namespace

void reportThreadNum(ClientInfoSink& sink) {
    const int threads = VelmarUtils::GetProcThreadCount();
    if (threads == -1) {
        return;
    }
    sink.collectClientInfo(
        itemOf(ClinetInfoUpload::ClientThreadNum, QStringLiteral("ThreadNum"), threads));
    ZnCore::instance()->setCommonInfo(ClientPerformItem::ThreadNum, threads);
}

void sendStaticDbErrorInfo(ClientInfoSink& sink) {
    const QMap<QString, int> errors = CBusinessDataBase::GetInstance()->GetStaticInfoDbErrorInfo();
    if (errors.isEmpty()) {
        qCDebug(lcMonitor) << "没有新增的产品数据库错误";
        return;
    }
    QVariantMap cleaned;
    for (auto error = errors.cbegin(); error != errors.cend(); ++error) {
        QString key = error.key();
        key.remove(QLatin1Char('"'));
        key.replace(QLatin1Char(','), QLatin1String("comma"));
        cleaned.insert(key, QString::number(*error));
    }
    QString failure;
    const QString text = VelmarUtils::TransMap2Str(cleaned, failure);
    if (!failure.isEmpty()) {
        qCWarning(lcMonitor).noquote()
            << "the errors of the static database are not reported:" << failure;
        return;
    }
    sink.collectClientInfo(
        itemOf(ClinetInfoUpload::ClientErrorInfo, ClientErrorType::StaticInfoDbError, text));
}

void reportLocalStaticDb(ClientInfoSink& sink) {
    const int records = CBusinessDataBase::GetInstance()->GetLoadLocalStaticDbRecordCount();
    if (records < 1) {
        return;
    }
    QVariantMap item = itemOf(ClinetInfoUpload::ClientErrorInfo, ClientErrorType::StaticInfoDbError,
                              QStringLiteral("load success"));
    item.insert(System::operType, records);
    sink.collectClientInfo(item);
}

void reportSmallScreen(ClientInfoSink& sink) {
    const QSettings settings(
        VelmarUtils::GetDefaultUserCfgFileDir() + QStringLiteral("ignoreSmallScreen.ini"),
        QSettings::IniFormat);
    if (settings.value(QStringLiteral("IgnoreSmallScreen"), false).toBool()) {
        sink.collectClientInfo(
            itemOf(ClinetInfoUpload::BusinessMessage, QStringLiteral("IgnoreSmallScreen"), true));
    }
}

void reportColumns(ClientInfoSink& sink) {
    const QVariantMap all = ConfigManager::instance()->getAlleffectiveKeyAndValues();
    for (auto one = all.cbegin(); one != all.cend(); ++one) {
        const QString& key = one.key();
        if (!key.startsWith(Constants::PLUGIN_VIEWCUSTOMHIDESTYLE) &&
            !key.startsWith(Constants::PLUGIN_VIEWCURRENTCUSTOMHIDESTYLE)) {
            continue;
        }
        const QStringList parts = key.split(QLatin1Char('/'), Qt::SkipEmptyParts);
        if (parts.size() < 2) {
            continue;
        }
        const QString value = ZnCore::instance()->settings(parts.last(), parts.first()).toString();
        sink.collectClientInfo(itemOf(ClinetInfoUpload::BusinessMessage,
                                      QStringLiteral("PlatformTableColumnVisible"),
                                      key + QLatin1Char('/') + value));
    }
}

void reportLogin(ClientInfoSink& sink) {
    const bool isAutomatic = VelmarUtils::GetAutoLoginSetting(AutoLoginSetting::AutoLogin).toBool();
    sink.collectClientInfo(
        {{System::itemType, ClinetInfoUpload::UserOperRecord},
         {System::itemValue, AutoLoginSetting::AutoLogin},
         {System::itemValueNum, isAutomatic ? 1 : 0},
         {System::operType,
          ZnCore::instance()->getCommonInfo(AutoLoginSetting::AutoLogin).toInt()}});
}
