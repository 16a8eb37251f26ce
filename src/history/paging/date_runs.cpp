#include "date_runs.h"

#include <QSet>

#include "log.h"

namespace {

constexpr int kMostYears = 100;

}  // namespace

QList<QPair<QDate, QDate>> getUnqueriedDateRanges(const QDate& startDate, const QDate& endDate,
                                                  const QList<QDate>& fetched) {
    QList<QPair<QDate, QDate>> runs;
    if (!startDate.isValid() || !endDate.isValid()) {
        return runs;
    }
    const QSet<QDate> held(fetched.cbegin(), fetched.cend());
    QDate first;
    for (QDate day = startDate; day <= endDate; day = day.addDays(1)) {
        if (!held.contains(day)) {
            first = first.isValid() ? first : day;
        } else if (first.isValid()) {
            runs.append({first, day.addDays(-1)});
            first = QDate();
        }
    }
    if (first.isValid()) {
        runs.append({first, endDate});
    }
    return runs;
}

bool isRangeAllowed(const char* function, const QDate& startDate, const QDate& endDate) {
    if (!startDate.isValid() || !endDate.isValid() || endDate <= startDate.addYears(kMostYears)) {
        return true;
    }
    qCWarning(lcHistory) << function << "refuses the range from" << startDate.toString(Qt::ISODate)
                         << "to" << endDate.toString(Qt::ISODate) << "of more than" << kMostYears
                         << "years";
    return false;
}

bool areDatesValid(const char* function, const QDate& startDate, const QDate& endDate) {
    if (startDate.isValid() && endDate.isValid()) {
        return true;
    }
    qCWarning(lcHistory) << function << "refuses an invalid date";
    return false;
}

void HeldDays::add(const QDate& first, const QDate& last) {
    if (!first.isValid() || !last.isValid() || last < first) {
        return;
    }
    QDate joinedFirst = first;
    QDate joinedLast = last;
    auto run = m_firstByLast.lowerBound(first.addDays(-1));  // also one that only touches
    while (run != m_firstByLast.end() && run.value() <= last.addDays(1)) {
        joinedFirst = qMin(joinedFirst, run.value());
        joinedLast = qMax(joinedLast, run.key());
        run = m_firstByLast.erase(run);
    }
    m_firstByLast.insert(joinedLast, joinedFirst);
}

void HeldDays::remove(const QDate& day) {
    const auto run = firstNotBefore(day);
    if (run == m_firstByLast.cend() || run.value() > day) {
        return;
    }
    const QDate first = run.value();
    const QDate last = run.key();
    m_firstByLast.remove(last);
    add(first, day.addDays(-1));
    add(day.addDays(1), last);
}

bool HeldDays::contains(const QDate& day) const {
    const auto run = firstNotBefore(day);
    return run != m_firstByLast.cend() && run.value() <= day;
}

QList<QPair<QDate, QDate>> HeldDays::missingIn(const QDate& startDate, const QDate& endDate) const {
    QList<QPair<QDate, QDate>> missing;
    if (!startDate.isValid() || !endDate.isValid()) {
        return missing;
    }
    QDate next = startDate;
    for (auto run = firstNotBefore(startDate);
         run != m_firstByLast.cend() && run.value() <= endDate; ++run) {
        if (next < run.value()) {
            missing.append({next, run.value().addDays(-1)});
        }
        next = run.key().addDays(1);
    }
    if (next <= endDate) {
        missing.append({next, endDate});
    }
    return missing;
}

QList<QPair<QDate, QDate>> HeldDays::runs() const {
    QList<QPair<QDate, QDate>> runs;
    for (auto run = m_firstByLast.cbegin(); run != m_firstByLast.cend(); ++run) {
        runs.append({run.value(), run.key()});
    }
    return runs;
}

QMap<QDate, QDate>::const_iterator HeldDays::firstNotBefore(const QDate& day) const {
    return m_firstByLast.lowerBound(day);
}
