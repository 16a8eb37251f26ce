#include "proc_figures.h"

#include <QList>

namespace ProcFigures {

namespace {

/// The text behind "key:" of the first line that starts with it.
QByteArray valueOf(const QByteArray& text, const QByteArray& key) {
    const QList<QByteArray> lines = text.split('\n');
    for (const QByteArray& line : lines) {
        const int colon = line.indexOf(':');
        if (colon > 0 && line.left(colon).trimmed() == key) {
            return line.mid(colon + 1).trimmed();
        }
    }
    return QByteArray();
}

/// -1 for a text that is not a whole number from 0 on.
qint64 wholeNumber(const QByteArray& text) {
    bool isNumber = false;
    const qint64 value = text.toLongLong(&isNumber);
    return isNumber && value >= 0 ? value : -1;
}

}  // namespace

CpuTicks cpuTicks(const QByteArray& stat) {
    // "cpu  user nice system idle iowait irq softirq steal guest guest_nice"; the last two are part
    // of the first two.
    constexpr int kFields = 9;
    constexpr int kIdle = 4;
    constexpr int kIoWait = 5;
    const QList<QByteArray> fields = stat.left(stat.indexOf('\n')).simplified().split(' ');
    if (fields.size() < kFields || fields.first() != "cpu") {
        return {};
    }
    CpuTicks ticks{0, 0};
    for (int i = 1; i < kFields; ++i) {
        const qint64 value = wholeNumber(fields.at(i));
        if (value < 0) {
            return {};
        }
        ticks.all += value;
        ticks.busy += i == kIdle || i == kIoWait ? 0 : value;
    }
    return ticks;
}

qint64 processTicks(const QByteArray& selfStat) {
    // The fields behind the name, whose bracket is the last one.
    constexpr int kUser = 11;
    constexpr int kSystem = 12;
    const int bracket = selfStat.lastIndexOf(')');
    const QList<QByteArray> fields = selfStat.mid(bracket + 1).simplified().split(' ');
    if (bracket < 0 || fields.size() <= kSystem) {
        return -1;
    }
    const qint64 user = wholeNumber(fields.at(kUser));
    const qint64 system = wholeNumber(fields.at(kSystem));
    return user < 0 || system < 0 ? -1 : user + system;
}

qint64 kilobytes(const QByteArray& text, const QByteArray& key) {
    const QList<QByteArray> parts = valueOf(text, key).split(' ');
    return parts.size() == 2 && parts.last() == "kB" ? wholeNumber(parts.first()) : -1;
}

qint64 number(const QByteArray& text, const QByteArray& key) {
    return wholeNumber(valueOf(text, key));
}

QString cpuInfo(const QByteArray& text, const QByteArray& key) {
    return QString::fromUtf8(valueOf(text, key));
}

double megahertz(const QByteArray& maxFrequency, const QByteArray& cpuInfo) {
    constexpr double kKilohertz = 1000;
    const qint64 highest = wholeNumber(maxFrequency.trimmed());
    if (highest > 0) {
        return double(highest) / kKilohertz;
    }
    bool isNumber = false;
    const double present = valueOf(cpuInfo, "cpu MHz").toDouble(&isNumber);
    return isNumber && present > 0 ? present : -1;
}

}  // namespace ProcFigures
