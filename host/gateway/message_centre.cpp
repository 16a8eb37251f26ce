#include "message_centre.h"

#include <QSqlQuery>
#include <QStringList>
#include <QVector>
#include <algorithm>

#include "exchange_clock.h"
#include "gateway_log.h"
#include "market_store.h"
#include "paged_query.h"
#include "server_state.h"
#include "server_users.h"
#include "vocabulary/fields.h"

namespace {

inline const QString kTable = QStringLiteral("messageCentre");
inline const QString kLast = QStringLiteral("last");
inline const QString kDelivered = QStringLiteral("delivered");
inline const QString kDays = QStringLiteral("days");
inline const QString kDayFormat = QStringLiteral("yyyyMMdd");
constexpr int kKeptDays = 30;
constexpr qint64 kPositionsPerMs = 1000;
constexpr qint64 kMsPerSecond = 1000;

/// The keys of a kind and user lie between this text and endOf() it. User ids contain no slash.
QString keysOf(const QString& kind, const QString& userId) {
    return QStringLiteral("%1/%2/").arg(kind, userId);
}
QString messageKeys(const QString& userId) {
    return keysOf(QStringLiteral("message"), userId);
}
QString markKeys(const QString& userId) {
    return keysOf(QStringLiteral("mark"), userId);
}
QString endOf(const QString& keys) {
    return keys.chopped(1) + QLatin1Char('0');  // "0" follows "/"
}

QString storeFailure() {
    return QStringLiteral("服务端数据读取失败");
}

QString dayOf(const QDateTime& time) {
    return time.toString(kDayFormat);
}

/// The next position of a user whose largest one is `last`.
qint64 positionAt(const QDateTime& time, qint64 last) {
    return std::max(time.toMSecsSinceEpoch() * kPositionsPerMs, last + 1);
}

/// Completes a message with its time, id and position.
QVariantMap stamped(QVariantMap fields, const QString& userId, const QDateTime& time,
                    qint64 position) {
    const QString text = positionText(position);
    fields.insert(System::positionStr, text);
    fields.insert(BusiMsgCenter::ServerMsgId, QStringLiteral("%1-%2").arg(userId, text));
    if (!fields.contains(System::createTime)) {
        fields.insert(System::createTime, QString::number(time.toMSecsSinceEpoch()));
    }
    return fields;
}

/// The fields as texts, without empty ones. False with a text for an unknown field, a missing one
/// or a value that is no text.
bool readFields(const QVariantMap& given, QVariantMap* fields, QString* error) {
    static const QStringList required{System::textDescription, System::BusiMsgType,
                                      System::BusiMsgLevel};
    static const QStringList known =
        required + QStringList{System::BusiMsgSubType,      System::itemName,
                               System::itemValue,           System::createTime,
                               UserAccount::tradingAccount, UserAccount::productAccount};
    for (auto it = given.cbegin(); it != given.cend(); ++it) {
        if (!known.contains(it.key())) {
            *error = QStringLiteral("消息有未知字段：%1").arg(it.key());
            return false;
        }
        if (it->isNull()) {
            continue;
        }
        if (it->userType() == QMetaType::QStringList || !it->canConvert<QString>()) {
            *error = QStringLiteral("消息字段%1应为单个值").arg(it.key());
            return false;
        }
        // A number of JSON is a double, whose own text may have an exponent.
        const QString text =
            it->userType() == QMetaType::Double
                ? QString::number(it->toDouble(), 'f', QLocale::FloatingPointShortest)
                : it->toString();
        if (text.contains(QChar::Null)) {
            // A client's table cannot store it: SQL text ends there.
            *error = QStringLiteral("消息字段%1含有空字符").arg(it.key());
            return false;
        }
        if (!text.isEmpty()) {
            fields->insert(it.key(), text);
        }
    }
    for (const QString& field : required) {
        if (!fields->contains(field)) {
            *error = QStringLiteral("消息缺少字段：%1").arg(field);
            return false;
        }
    }
    bool isTime = true;
    const QString time = fields->value(System::createTime).toString();
    if (!time.isEmpty()) {
        time.toLongLong(&isTime);
    }
    if (!isTime) {
        *error = QStringLiteral("消息时间无效：%1").arg(time);
    }
    return isTime;
}

}  // namespace

MessageCentre::MessageCentre(const MarketStore& store, ServerState& state)
    : m_store(store), m_state(state) {}

void MessageCentre::setClock(std::function<QDateTime()> clock) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_clock = std::move(clock);
}

QDate MessageCentre::today() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return now().date();
}

QDateTime MessageCentre::now() const {
    // Clients keep the messages of their local date, and drop others at the next start.
    return (m_clock ? m_clock() : exchangeNow()).toLocalTime();
}

bool MessageCentre::readMark(const QString& userId, Mark* mark, QString* error) const {
    const QString keys = markKeys(userId);
    Records found;
    if (!m_state.between(kTable, keys, endOf(keys), 1, 0, &found)) {
        *error = storeFailure();
        return false;
    }
    if (!found.isEmpty()) {
        const QVariantMap& record = found.first().second;
        mark->last = record.value(kLast).toLongLong();
        mark->delivered = record.value(kDelivered).toLongLong();
        mark->days = record.value(kDays).toMap();
    }
    return true;
}

bool MessageCentre::write(const QString& userId, const Mark& mark, Records records,
                          QString* error) {
    records.append({markKeys(userId) + QStringLiteral("state"),
                    {{kLast, mark.last}, {kDelivered, mark.delivered}, {kDays, mark.days}}});
    return m_state.writeAll(kTable, records, error);
}

bool MessageCentre::dailyMessages(const QString& userId, const QDateTime& now, Mark* mark,
                                  Records* records) const {
    static const StoreColumns columns{
        {QStringLiteral("msg_level"), System::BusiMsgLevel},
        {QStringLiteral("msg_type"), System::BusiMsgType},
        {QStringLiteral("msg_sub_type"), System::BusiMsgSubType},
        {QStringLiteral("trading_account"), UserAccount::tradingAccount},
        {QStringLiteral("product_account"), UserAccount::productAccount},
        {QStringLiteral("item_name"), System::itemName},
        {QStringLiteral("item_value"), System::itemValue},
        {QStringLiteral("text_description"), System::textDescription},
    };
    static const QString sql =
        QStringLiteral("SELECT %1, second_of_day FROM daily_message WHERE user_id = ? ORDER BY seq")
            .arg(columnList(columns));
    QVector<QPair<qint64, QVariantMap>> rows;
    const bool read = m_store.select(sql, {userId}, [&rows](const QSqlQuery& query) {
        QVariantMap fields = recordOf(query, columns);
        for (auto it = fields.begin(); it != fields.end();) {
            it = it->toString().isEmpty() ? fields.erase(it) : it + 1;
        }
        rows.append({query.value(columns.size()).toLongLong() * kMsPerSecond, fields});
    });
    qint64 lastMs = 0;
    for (const auto& row : qAsConst(rows)) {
        lastMs = std::max(lastMs, row.first);
    }
    const qint64 nowMs = now.time().msecsSinceStartOfDay();
    const QDateTime midnight = now.addMSecs(-nowMs);
    // Behind the user's last message, whose position a client may have.
    const qint64 fromMs =
        qBound(qint64(0), mark->last / kPositionsPerMs - midnight.toMSecsSinceEpoch(), nowMs);
    const bool isSpread = fromMs > 0 || lastMs > nowMs;
    for (const auto& row : qAsConst(rows)) {
        const qint64 ms = isSpread
                              ? fromMs + row.first * (nowMs - fromMs) / std::max(lastMs, qint64(1))
                              : row.first;
        const QDateTime time = midnight.addMSecs(ms);
        mark->last = positionAt(time, mark->last);
        const QVariantMap message = stamped(row.second, userId, time, mark->last);
        records->append({messageKeys(userId) + positionText(mark->last), message});
    }
    return read;
}

void MessageCentre::removeOld(const QString& userId, const QDateTime& now, Mark* mark) {
    const QDateTime oldest = now.addDays(-kKeptDays);
    const QString keys = messageKeys(userId);
    QString error;  // logged by the state; they are removed on another day
    m_state.removeBetween(
        kTable, keys, keys + positionText(oldest.toMSecsSinceEpoch() * kPositionsPerMs), &error);
    const QString oldestDay = dayOf(oldest);
    while (!mark->days.isEmpty() && mark->days.firstKey() < oldestDay) {
        mark->days.erase(mark->days.begin());
    }
}

bool MessageCentre::readUser(const QString& userId, Mark* mark, QString* error) const {
    if (!findUser(m_store, userId)) {
        *error = QStringLiteral("用户%1不存在").arg(userId);
        return false;
    }
    return readMark(userId, mark, error);
}

bool MessageCentre::openDay(const QString& userId, const QDateTime& now, Mark* mark,
                            QString* error) {
    const QString day = dayOf(now);
    if (mark->days.contains(day)) {
        return true;
    }
    const QDateTime midnight = now.addMSecs(-now.time().msecsSinceStartOfDay());
    qint64 begin = midnight.toMSecsSinceEpoch() * kPositionsPerMs - 1;
    if (mark->last >= midnight.addDays(1).toMSecsSinceEpoch() * kPositionsPerMs) {
        begin = mark->last;  // the clock has gone back, and those messages are not of this day
    }
    begin = std::min(begin, mark->delivered);
    Records records;
    if (!dailyMessages(userId, now, mark, &records)) {
        *error = storeFailure();
        return false;
    }
    removeOld(userId, now, mark);
    mark->days.insert(day, begin);
    return write(userId, *mark, records, error);
}

bool MessageCentre::publish(const QString& userId, const QVariantMap& fields, bool isDelivered,
                            QVariantMap* message, QString* error) {
    QVariantMap texts;
    if (!readFields(fields, &texts, error)) {
        return false;
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    const QDateTime time = now();
    Mark mark;
    if (!readUser(userId, &mark, error)) {
        return false;
    }
    const qint64 position = positionAt(time, mark.last);
    // An earlier message that no client has got keeps its place in the next list.
    if (isDelivered && mark.delivered == mark.last) {
        mark.delivered = position;
    }
    mark.last = position;
    *message = stamped(texts, userId, time, position);
    return write(userId, mark, {{messageKeys(userId) + positionText(position), *message}}, error);
}

bool MessageCentre::read(const QString& userId, const Query& query, Page* page, QString* error) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const QDateTime time = now();
    Mark mark;
    if (!readUser(userId, &mark, error) || !openDay(userId, time, &mark, error)) {
        return false;
    }
    const qint64 begin =
        query.extent == Extent::Kept ? 0 : mark.days.value(dayOf(time)).toLongLong();
    const QString keys = messageKeys(userId);
    const QString after = keys + positionText(query.after > 0 ? query.after : begin);
    Records found;
    page->total = m_state.countBetween(kTable, keys + positionText(begin), endOf(keys));
    if (page->total < 0 ||
        !m_state.between(kTable, after, endOf(keys), query.limit, query.offset, &found)) {
        *error = storeFailure();
        return false;
    }
    for (const auto& one : qAsConst(found)) {
        page->rows.append(one.second);
    }
    page->last = found.isEmpty()
                     ? 0
                     : found.last().second.value(System::positionStr).toString().toLongLong();
    if (query.delivers && page->last > mark.delivered) {
        mark.delivered = page->last;
        return write(userId, mark, {}, error);
    }
    return true;
}
