#pragma once

#include <QByteArray>
#include <QFileDevice>
#include <QString>
#include <memory>

/// Where rows go: stdout, or a file that gets its name once it is whole. Main thread only.
class RowTarget {
public:
    /// Stdout for an empty name.
    explicit RowTarget(const QString& file) : m_name(file) {}
    /// Drops what was written to a file unless it was kept.
    ~RowTarget() = default;
    Q_DISABLE_COPY(RowTarget)

    /// Each returns false with the reason in error() when it fails.
    bool open();
    bool put(const QByteArray& bytes);
    /// Gives the file its name; a file that had the name is replaced.
    bool keep();

    bool isFile() const { return !m_name.isEmpty(); }
    const QString& name() const { return m_name; }
    const QString& error() const { return m_error; }

private:
    bool check(bool isGood);

    const QString m_name;
    std::unique_ptr<QFileDevice> m_file;
    QString m_error;
};
