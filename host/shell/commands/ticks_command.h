#pragma once

#include <QSet>
#include <QString>
#include <QStringList>
#include <QVariantMap>

/// Prints ticks as lines of fixed columns. Counts the ticks of the watched symbols and stops at a
/// limit. For one thread.
class TicksCommand {
public:
    /// `most`: the number of ticks to print; 0 for no limit.
    TicksCommand(const QStringList& symbols, int most);

    /// The line above the columns.
    static QString title();
    /// The line of a tick. Characters that would act on a terminal are replaced.
    static QString lineOf(const QVariantMap& tick);

    /// The line to print for a tick of the feed; empty for another symbol and once over().
    QString take(const QString& symbol, const QVariantMap& tick);
    /// Whether all wanted ticks have been printed.
    bool over() const { return m_most > 0 && m_taken >= m_most; }

private:
    const QSet<QString> m_symbols;
    const int m_most;
    int m_taken = 0;
};
