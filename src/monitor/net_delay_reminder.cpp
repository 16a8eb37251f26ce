#include "net_delay_reminder.h"

#include "log.h"
#include "saturated.h"
#include "vocabulary/constants.h"
#include "vocabulary/names.h"
#include "vocabulary/values.h"
#include "zncore/zn_core.h"
#include "zndatabase/c_data_base.h"

namespace {

constexpr const char* kTag = "VelmarBusinessDataManagerPresenterClass::recordNetElapseToRemind";
// The setting is in minutes, and there is a beat every 15 seconds.
constexpr int kBeatsPerMinute = 4;
constexpr int kMsPerSecond = 1000;
constexpr int kReconnects = 1;

QVariant minutes() {
    return ZnCore::instance()->settings(SystemSetting::SysMultiTimeOutCount);
}

int windowSize() {
    return saturated<int>(double(minutes().toInt()) * kBeatsPerMinute);
}

int limitSeconds(const QString& gate) {
    constexpr int kMarketData = 60;
    constexpr int kOther = 8;
    return gate == NetGateType::MarketTcpGate ? kMarketData : kOther;
}

QString gatewayName(const QString& gate) {
    if (gate == NetGateType::InfoGate) {
        return Constants::ZINFO_GATEWAY;
    }
    return gate == NetGateType::MarketTcpGate ? Constants::MDC_TCP_GATEWAY
                                              : Constants::ZGATE_GATEWAY;
}

}  // namespace

NetDelayReminder::NetDelayReminder(NetDelayAlarm& alarm) : m_alarm(alarm) {
    const int samples = windowSize();
    const auto windows = m_netElapseLock.write();
    for (const QString& gate :
         {NetGateType::TradeGate, NetGateType::InfoGate, NetGateType::MarketTcpGate}) {
        windows->m_netElapseStat.insert(gate, VelmarStatisticAssist(samples, samples));
    }
}

void NetDelayReminder::recordNetElapseToRemind(const QString& netType, int elapse) {
    const int limit = limitSeconds(netType);
    bool valid = false;
    double average = 0;
    bool isTooSlow = false;
    {
        const auto windows = m_netElapseLock.write();
        const auto window = windows->m_netElapseStat.find(netType);
        if (window == windows->m_netElapseStat.end()) {
            return;
        }
        // A negative one, as across midnight, would hide the delays of the others.
        if (elapse >= 0) {
            window->AppendData(elapse);
        }
        average = window->GetAvgData(&valid);
        isTooSlow = valid && average > double(limit) * kMsPerSecond;
        if (isTooSlow) {
            window->ClearAllData();
        }
    }
    qCDebug(lcMonitor) << kTag << netType << elapse << average << valid;
    if (!isTooSlow) {
        return;
    }
    const QString name =
        CDataBase::GetInstance()->GetStaticCfgValue(QStringLiteral("NetGateName"), netType);
    m_alarm.remindOfDelay(
        QStringLiteral(
            "检查到%1连续%2分钟延迟超过%3秒，可在右下角选择切换站点，若已设置为自动重连可忽略。")
            .arg(name, minutes().toString(), QString::number(limit)));
    if (ZnCore::instance()->settings(SystemSetting::SysMultiTimeOutHandle).toInt() == kReconnects) {
        m_alarm.reconnectGate(gatewayName(netType));
    }
}

void NetDelayReminder::slotMultiDelaySettingChanged() {
    const int samples = windowSize();
    const auto windows = m_netElapseLock.write();
    for (VelmarStatisticAssist& window : windows->m_netElapseStat) {
        window.ClearAllData();
        window.SetMaxCount(samples);
        window.SetValidMinCount(samples);
    }
}

void NetDelayReminder::clear(const QString& netType) {
    const auto windows = m_netElapseLock.write();
    const auto window = windows->m_netElapseStat.find(netType);
    if (window != windows->m_netElapseStat.end()) {
        window->ClearAllData();
    }
}

QMap<QString, VelmarStatisticAssist> NetDelayReminder::netElapseStat() const {
    const auto windows = m_netElapseLock.read();
    return windows->m_netElapseStat;
}
