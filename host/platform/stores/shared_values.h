#pragma once

#include <QHash>
#include <QString>
#include <QVariant>
#include <mutex>
#include <shared_mutex>

/// Values by key, for all threads and for the life of the process only.
class SharedValues {
public:
    void set(const QString& key, const QVariant& value) {
        const std::unique_lock<std::shared_mutex> guard(m_lock);
        m_values.insert(key, value);
    }

    /// False when the key was never set; `value` is not changed then.
    bool get(const QString& key, QVariant& value) const {
        const std::shared_lock<std::shared_mutex> guard(m_lock);
        const auto found = m_values.constFind(key);
        if (found == m_values.cend()) {
            return false;
        }
        value = *found;
        return true;
    }

    void remove(const QString& key) {
        const std::unique_lock<std::shared_mutex> guard(m_lock);
        m_values.remove(key);
    }

    void clear() {
        const std::unique_lock<std::shared_mutex> guard(m_lock);
        m_values.clear();
    }

private:
    mutable std::shared_mutex m_lock;  // guards m_values
    QHash<QString, QVariant> m_values;
};
