#include "busi_msg_table.h"

#include <algorithm>

#include "never_destroyed.h"
#include "vocabulary/fields.h"

namespace BusiMsgTable {

namespace {

const QString kTable = QStringLiteral("BUSI_MSG_CENTER");
const QString kTimeFormat = QStringLiteral("yyyyMMddhhmmss");
constexpr int kTimeDigits = 14;
constexpr int kRowsPerInsert = 100;

struct Columns {
    const std::array<Column, 13> list{{
        {QStringLiteral("clientMsgId"), System::clientMsgID, Form::Text},
        {QStringLiteral("serverMsgId"), BusiMsgCenter::ServerMsgId, Form::Text},
        {QStringLiteral("msgLevel"), System::BusiMsgLevel, Form::Integer},
        {QStringLiteral("msgType"), System::BusiMsgType, Form::Text},
        {QStringLiteral("msgSubType"), System::BusiMsgSubType, Form::Text},
        {QStringLiteral("tradingAccount"), UserAccount::tradingAccount, Form::Text},
        {QStringLiteral("productAccount"), UserAccount::productAccount, Form::Text},
        {QStringLiteral("itemName"), System::itemName, Form::Text},
        {QStringLiteral("itemValue"), System::itemValue, Form::Text},
        {QStringLiteral("time"), System::createTime, Form::Time},
        {QStringLiteral("readStatus"), BusiMsgCenter::ReadStatus, Form::Flag},
        {QStringLiteral("content"), System::textDescription, Form::Text},
        {QStringLiteral("posStr"), System::positionStr, Form::Text},
    }};
};

QString flagText(const QVariant& value) {
    return value.toBool() ? QStringLiteral("1") : QStringLiteral("0");
}

QString tableText(const QVariant& value, Form form) {
    switch (form) {
        case Form::Integer:
            return QString::number(value.toInt());
        case Form::Time:
            return timeText(value.toDateTime());
        case Form::Flag:
            return flagText(value);
        case Form::Text:
            break;
    }
    return value.toString();
}

bool isDigit(QChar character) {
    return character >= QLatin1Char('0') && character <= QLatin1Char('9');
}

/// QDateTime::fromString(text, kTimeFormat), which is slow enough to be felt with the messages of a
/// busy day.
QDateTime timeOf(const QString& text) {
    if (text.size() == kTimeDigits && std::all_of(text.cbegin(), text.cend(), isDigit)) {
        const auto number = [&text](int position, int digits) {
            return text.midRef(position, digits).toInt();
        };
        const QDate date(number(0, 4), number(4, 2), number(6, 2));
        const QTime clock(number(8, 2), number(10, 2), number(12, 2));
        if (date.isValid() && clock.isValid()) {
            return QDateTime(date, clock);
        }
    }
    return QDateTime::fromString(text, kTimeFormat);
}

QVariant memoryValue(const QVariant& value, Form form) {
    switch (form) {
        case Form::Time:
            return timeOf(value.toString());
        case Form::Flag:
            return value.toBool();
        case Form::Integer:
        case Form::Text:
            break;
    }
    return value;
}

/// Whether QString::arg() would take a part of the text as the place of an argument.
bool hasPlaceMarker(const QString& text) {
    for (int at = text.indexOf(QLatin1Char('%')); at >= 0;
         at = text.indexOf(QLatin1Char('%'), at + 1)) {
        int next = at + 1;
        if (next < text.size() && text.at(next) == QLatin1Char('L')) {
            ++next;
        }
        if (next < text.size() && text.at(next).digitValue() >= 0) {
            return true;
        }
    }
    return false;
}

}  // namespace

const std::array<Column, 13>& columns() {
    return neverDestroyed<Columns>().list;
}

QString createStatement() {
    return QStringLiteral("CREATE TABLE IF NOT EXISTS ") + kTable +
           QStringLiteral(
               "(clientMsgId PRIMARY KEY ON CONFLICT REPLACE,serverMsgId TEXT, msgLevel INTEGER, "
               "msgType TEXT, msgSubType TEXT, tradingAccount TEXT,productAccount TEXT,itemName "
               "TEXT,itemValue TEXT,time INTEGER, readStatus INTEGER,content TEXT,posStr TEXT)");
}

QString timeText(const QDateTime& time) {
    return time.toLocalTime().toString(kTimeFormat);
}

QString dayText(const QDate& date) {
    return date.toString(QStringLiteral("yyyyMMdd")) + QStringLiteral("000000");
}

bool isStorable(const QDateTime& time) {
    constexpr int kLastYear = 9999;
    const int year = time.toLocalTime().date().year();
    return time.isValid() && year > 0 && year <= kLastYear;
}

QString deleteStatement(const QString& timeText) {
    return QStringLiteral("DELETE FROM ") + kTable + QStringLiteral(" WHERE time < ") + timeText;
}

QString selectStatement(const QString& timeText) {
    return QStringLiteral("SELECT * FROM ") + kTable + QStringLiteral(" WHERE time>=") + timeText;
}

QString valuesOf(const QVariantMap& record) {
    QString values =
        QStringLiteral("('%1','%2',%3,'%4','%5','%6','%7','%8','%9','%10',%11,'%12','%13')");
    for (const Column& column : columns()) {
        values = values.arg(tableText(record.value(column.field), column.form));
    }
    return values;
}

QStringList insertStatements(const QStringList& values) {
    QStringList statements;
    for (int first = 0; first < values.size(); first += kRowsPerInsert) {
        statements.append(QStringLiteral("INSERT INTO ") + kTable + QStringLiteral(" VALUES ") +
                          values.mid(first, kRowsPerInsert).join(QLatin1Char(',')) +
                          QLatin1Char(';'));
    }
    return statements;
}

QString updateStatement(const QVariantMap& record) {
    return (QStringLiteral("UPDATE ") + kTable +
            QStringLiteral(" SET readStatus = %1, posStr = '%3' WHERE clientMsgId = '%2';"))
        .arg(flagText(record.value(BusiMsgCenter::ReadStatus)))
        .arg(record.value(System::clientMsgID).toString())
        .arg(record.value(System::positionStr).toString());
}

QStringList fieldsWithPlaceMarker(const QVariantMap& record) {
    QStringList fields;
    for (const Column& column : columns()) {
        if (column.form == Form::Text && hasPlaceMarker(record.value(column.field).toString())) {
            fields.append(column.field);
        }
    }
    return fields;
}

QVariantMap recordOf(const QVariantMap& row) {
    QVariantMap record;
    for (const Column& column : columns()) {
        record.insert(column.field, memoryValue(row.value(column.name), column.form));
    }
    return record;
}

}  // namespace BusiMsgTable
