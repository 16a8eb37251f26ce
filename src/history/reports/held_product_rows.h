#pragma once

#include <QList>
#include <QMap>
#include <QMutex>
#include <QString>
#include <QVariantMap>
#include <type_traits>

#include "guarded.h"

/// The table of one product report: rows by product and day. Each operation takes the table's lock
/// once. Any thread.
class HeldProductRows {
public:
    using Cache = QMap<QString, QMap<QString, QList<QVariantMap>>>;

    virtual ~HeldProductRows() = default;

    virtual void clear() = 0;
    /// Appends the rows of the product and day to `rows`; false when they are not held.
    virtual bool appendTo(QList<QVariantMap>* rows, const QString& product,
                          const QString& day) const = 0;
    virtual bool contains(const QString& product, const QString& day) const = 0;
    /// Replaces the rows of these products for the day.
    virtual void set(const QMap<QString, QList<QVariantMap>>& rowsByProduct,
                     const QString& day) = 0;
};

/// The table in its guard, whose lock is a mutex or a read-write lock.
template <class Tables, class Lock>
class HeldProductRowsIn : public HeldProductRows {
public:
    HeldProductRowsIn(Guarded<Tables, Lock>& guard, Cache Tables::*table)
        : m_guard(guard), m_table(table) {}

    void clear() override {
        const auto tables = writable();
        ((*tables).*m_table).clear();
    }

    bool appendTo(QList<QVariantMap>* rows, const QString& product,
                  const QString& day) const override {
        const auto tables = readable();
        const Cache& table = (*tables).*m_table;
        const auto days = table.constFind(product);
        if (days == table.cend() || !days->contains(day)) {
            return false;
        }
        rows->append(days->value(day));
        return true;
    }

    bool contains(const QString& product, const QString& day) const override {
        const auto tables = readable();
        const Cache& table = (*tables).*m_table;
        const auto days = table.constFind(product);
        return days != table.cend() && days->contains(day);
    }

    void set(const QMap<QString, QList<QVariantMap>>& rowsByProduct, const QString& day) override {
        const auto tables = writable();
        Cache& table = (*tables).*m_table;
        for (auto rows = rowsByProduct.cbegin(); rows != rowsByProduct.cend(); ++rows) {
            table[rows.key()].insert(day, rows.value());
        }
    }

private:
    static constexpr bool kHasReaders = std::is_same_v<Lock, QReadWriteLock>;

    auto readable() const {
        if constexpr (kHasReaders) {
            return m_guard.read();
        } else {
            return m_guard.lock();
        }
    }
    auto writable() {
        if constexpr (kHasReaders) {
            return m_guard.write();
        } else {
            return m_guard.lock();
        }
    }

    Guarded<Tables, Lock>& m_guard;
    Cache Tables::*const m_table;
};
