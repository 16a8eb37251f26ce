#include "history_options.h"

#include <QCommandLineParser>

namespace {

constexpr int kMostYears = 100;

const QString kFrom = QStringLiteral("from");
const QString kTo = QStringLiteral("to");
const QString kAccount = QStringLiteral("account");
const QString kFormat = QStringLiteral("format");
const QString kOut = QStringLiteral("out");

bool takeDate(const QCommandLineParser& parser, const QString& name, QDate* date, QString* error) {
    if (!parser.isSet(name)) {
        return true;
    }
    *date = HistoryOptionWords::dateOf(parser.value(name));
    *error = QStringLiteral("--%1 takes a date such as 2026-01-05").arg(name);
    return date->isValid();
}

bool takeFormat(const QCommandLineParser& parser, HistoryOptions* options, QString* error) {
    if (!parser.isSet(kFormat)) {
        return true;
    }
    static const QStringList words{QStringLiteral("table"), QStringLiteral("csv"),
                                   QStringLiteral("json")};
    const int format = words.indexOf(parser.value(kFormat));
    *error = QStringLiteral("--%1 takes %2").arg(kFormat, words.join(QStringLiteral(", ")));
    options->format = static_cast<RowFormat>(format);
    options->hasFormat = true;
    return format >= 0;
}

/// Lists of accounts; several lists are joined.
bool takeAccounts(const QStringList& lists, HistoryOptions* options, QString* error) {
    for (const QString& list : lists) {
        const QStringList accounts = list.split(QLatin1Char(','), Qt::SkipEmptyParts);
        if (accounts.isEmpty()) {
            *error = QStringLiteral("--%1 takes accounts, such as T000001,T000002").arg(kAccount);
            return false;
        }
        options->accounts += accounts;
    }
    options->accounts.removeDuplicates();
    return true;
}

}  // namespace

const QStringList& HistoryOptionWords::names() {
    static const QStringList all{kFrom, kTo, kAccount, kFormat, kOut};
    return all;
}

QDate HistoryOptionWords::dateOf(const QString& text) {
    const QDate date = QDate::fromString(text, QStringLiteral("yyyy-MM-dd"));
    return date.isValid() ? date : QDate::fromString(text, QStringLiteral("yyyyMMdd"));
}

bool HistoryOptionWords::isRangeGood(const QDate& from, const QDate& to, QString* error) {
    if (from > to) {
        *error = QStringLiteral("--%1 %2 is after --%3 %4")
                     .arg(kFrom, from.toString(Qt::ISODate), kTo, to.toString(Qt::ISODate));
        return false;
    }
    *error = QStringLiteral("the days from %1 to %2 are more than %3 years")
                 .arg(from.toString(Qt::ISODate), to.toString(Qt::ISODate))
                 .arg(kMostYears);
    return to <= from.addYears(kMostYears);
}

bool HistoryOptionWords::take(const QCommandLineParser& parser, HistoryOptions* options,
                              QString* error) {
    if (!takeDate(parser, kFrom, &options->from, error) ||
        !takeDate(parser, kTo, &options->to, error) || !takeFormat(parser, options, error) ||
        !takeAccounts(parser.values(kAccount), options, error)) {
        return false;
    }
    if (parser.isSet(kOut)) {
        options->outFile = parser.value(kOut);
        *error = QStringLiteral("--%1 takes the name of a file").arg(kOut);
        if (options->outFile.isEmpty()) {
            return false;
        }
    }
    return !options->from.isValid() || !options->to.isValid() ||
           isRangeGood(options->from, options->to, error);
}
