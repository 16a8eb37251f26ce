#pragma once

#include <sys/stat.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QList>
#include <QVariantMap>
#include <QtTest>
#include <functional>

#include "client_info_sink.h"
#include "client_world.h"
#include "clock.h"

// What tests about files of former runs share.

/// Keeps the items that it gets; `onItem` runs after each.
class ListSink final : public ClientInfoSink {
public:
    void collectClientInfo(const QVariantMap& item) override {
        items.append(item);
        if (onItem) {
            onItem();
        }
    }

    QVariantList valuesOf(const QString& field) const {
        QVariantList values;
        for (const QVariantMap& item : items) {
            values.append(item.value(field));
        }
        return values;
    }

    QList<QVariantMap> items;
    std::function<void()> onItem;
};

class MovableClock final : public Clock {
public:
    explicit MovableClock(const QDateTime& now = QDateTime::currentDateTime()) : time(now) {}
    QDateTime now() const override { return time; }

    QDateTime time;
};

/// Writes a file, with its folders; fails the running test when it cannot.
inline void writeFile(const QString& path, const QByteArray& content = {}) {
    QVERIFY(QDir().mkpath(QFileInfo(path).path()));
    QFile file(path);
    QVERIFY2(file.open(QFile::WriteOnly | QFile::Truncate) && file.write(content) == content.size(),
             qPrintable(path));
}

inline QByteArray contentOf(const QString& path) {
    QFile file(path);
    return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
}

/// A link to itself.
inline void linkInACircle(const QString& path) {
    QVERIFY(QFile::link(path, path));
}

/// Lets every user reach the files below a temporary folder.
inline void openToAll(const QString& folder) {
    QVERIFY(chmod(QFile::encodeName(folder).constData(), 0755) == 0);
}
