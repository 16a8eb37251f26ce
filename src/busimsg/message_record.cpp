#include "message_record.h"

#include <QSet>
#include <cmath>

#include "log.h"
#include "vocabulary/fields.h"

namespace {

constexpr int kLoggedChars = 64;
constexpr double kLargestMs = 1e16;  // far beyond the year 9999

const QSet<QString>& controlFields() {
    static const QSet<QString> fields{System::createTime,
                                      System::clientMsgID,
                                      System::msgType,
                                      System::subGroupNumber,
                                      System::requestExeStatus,
                                      System::requestNumber,
                                      System::positionStr,
                                      System::pageNo,
                                      System::pageSize,
                                      System::totalSize,
                                      System::subscriptionTopic,
                                      System::SubMsgType,
                                      Security::subscriptionRequestType,
                                      UserAccount::userID,
                                      UserAccount::loginUserId,
                                      BusiMsgCenter::ReadStatus,
                                      BusiMsgCenter::SaveDB};
    return fields;
}

QDateTime fromMilliseconds(const QVariant& createTime) {
    const int type = createTime.userType();
    if (type == QMetaType::Bool) {
        return QDateTime();
    }
    if (type == QMetaType::Double || type == QMetaType::Float) {
        // The conversion of a number outside the range of the integers is undefined.
        const double number = createTime.toDouble();
        if (!(std::abs(number) < kLargestMs)) {
            return QDateTime();
        }
    }
    bool isNumber = false;
    const qlonglong milliseconds = createTime.toLongLong(&isNumber);
    return isNumber && milliseconds != 0 ? QDateTime::fromMSecsSinceEpoch(milliseconds)
                                         : QDateTime();
}

bool isUsable(const QDateTime& time, const QDateTime& businessNow) {
    if (!time.isValid()) {
        return false;
    }
    const QDate date = time.toLocalTime().date();
    return date.year() > 0 && date <= businessNow.toLocalTime().date().addDays(1);
}

QDateTime usableTime(const QDateTime& time, const QVariant& createTime,
                     const QDateTime& businessNow) {
    if (isUsable(time, businessNow)) {
        return time;
    }
    const QString given = logged(createTime);
    const bool isText = createTime.userType() == QMetaType::QString;
    if (!createTime.isNull() && !(isText && given.isEmpty())) {
        qCInfo(lcBusiMsg) << "the time of a message cannot be used, the business clock's is taken:"
                          << createTime.typeName() << given;
    }
    return businessNow;
}

}  // namespace

bool hasMessageFields(const QVariantMap& record) {
    for (auto it = record.cbegin(); it != record.cend(); ++it) {
        if (!controlFields().contains(it.key())) {
            return true;
        }
    }
    return false;
}

QDateTime timeOfMessage(const QVariant& createTime, const QDateTime& businessNow) {
    QDateTime time = fromMilliseconds(createTime);
    if (!time.isValid()) {
        time = QDateTime::fromString(createTime.toString(), QStringLiteral("yyyyMMdd hhmmss"));
    }
    if (!time.isValid() && createTime.userType() == QMetaType::QDateTime) {
        time = createTime.toDateTime();
    }
    return usableTime(time, createTime, businessNow);
}

QDateTime timeOfQueriedMessage(const QVariant& createTime, const QDateTime& businessNow) {
    return usableTime(fromMilliseconds(createTime), createTime, businessNow);
}

QString logged(const QVariant& value) {
    return value.toString().left(kLoggedChars);
}

void logMissingFields(const QVariantMap& record) {
    if (record.value(System::textDescription).toString().isEmpty()) {
        qCInfo(lcBusiMsg) << "a message has no text";
    }
    if (record.value(System::BusiMsgType).toString().isEmpty()) {
        qCInfo(lcBusiMsg) << "a message has no type";
    }
    bool isNumber = false;
    const QString level = record.value(System::BusiMsgLevel).toString();
    level.toInt(&isNumber);
    if (!isNumber) {
        qCInfo(lcBusiMsg) << "a message has an unknown level:" << logged(level);
    }
}
