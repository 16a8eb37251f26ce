#pragma once

#include <QDate>
#include <QList>
#include <QMap>
#include <QPair>

/// The runs of days, first and last, from `startDate` to `endDate` that `fetched` (in any order)
/// does not contain. Empty when a date is invalid or the first day is after the last. Linear in the
/// days of the range and of `fetched`. Any thread.
QList<QPair<QDate, QDate>> getUnqueriedDateRanges(const QDate& startDate, const QDate& endDate,
                                                  const QList<QDate>& fetched);

/// Whether a query may cover the range: one beyond 100 years is refused with a warning that
/// contains `function`. True for every shorter one, also for an empty or invalid one.
bool isRangeAllowed(const char* function, const QDate& startDate, const QDate& endDate);

/// Whether both dates are valid; logs a warning that contains `function` when not.
bool areDatesValid(const char* function, const QDate& startDate, const QDate& endDate);

/// A set of days, kept as runs: a hundred years without a gap are one entry. An invalid date, or a
/// first day after the last, adds nothing. Not for several threads at once.
class HeldDays {
public:
    /// Adds the days from `first` to `last`.
    void add(const QDate& first, const QDate& last);
    void remove(const QDate& day);
    bool contains(const QDate& day) const;
    /// The same as getUnqueriedDateRanges() with these days, in the time of the runs in the range.
    QList<QPair<QDate, QDate>> missingIn(const QDate& startDate, const QDate& endDate) const;
    /// The runs that are held, first and last, by date; no two touch.
    QList<QPair<QDate, QDate>> runs() const;

private:
    /// The first run that ends on `day` or later.
    QMap<QDate, QDate>::const_iterator firstNotBefore(const QDate& day) const;

    QMap<QDate, QDate> m_firstByLast;
};
