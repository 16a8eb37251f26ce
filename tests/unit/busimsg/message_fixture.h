#pragma once

#include <QDateTime>
#include <QString>
#include <QVariantMap>

#include "clock.h"
#include "fake_clock.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"

/// The store's clock, moved by the test. Any thread.
class MovedClock final : public Clock {
public:
    QDateTime now() const override { return m_time.now(); }
    void set(const QDateTime& now) { m_time.set(now); }

private:
    FakeClock m_time{QDateTime(QDate(2026, 3, 10), QTime(9, 30))};
};

/// A message as the flow hands it to the store, of 2026-03-10 09:30:15 local time.
inline QVariantMap messageOf(const QString& clientMsgId, const QVariantMap& changes = {}) {
    QVariantMap message{
        {System::clientMsgID, clientMsgId},
        {BusiMsgCenter::ServerMsgId, "s-" + clientMsgId},
        {System::BusiMsgLevel, BusiMsgLevel::Important},
        {System::BusiMsgType, BusiMsgType::TradeMsg},
        {System::BusiMsgSubType, "4001"},
        {UserAccount::tradingAccount, "T1"},
        {UserAccount::productAccount, "P1"},
        {System::itemName, "symbol"},
        {System::itemValue, "600000.SH"},
        {System::createTime, QDateTime(QDate(2026, 3, 10), QTime(9, 30, 15))},
        {BusiMsgCenter::ReadStatus, false},
        {System::textDescription, QStringLiteral("风险提示")},
        {System::positionStr, "000001"},
    };
    for (auto it = changes.cbegin(); it != changes.cend(); ++it) {
        message.insert(it.key(), it.value());
    }
    return message;
}

inline QString numberedId(int number) {
    return QStringLiteral("%1").arg(number, 8, 10, QLatin1Char('0'));
}
