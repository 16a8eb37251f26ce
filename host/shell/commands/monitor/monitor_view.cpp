#include "monitor_view.h"

#include "figures_text.h"
#include "text_table.h"
#include "trade_field.h"
#include "trade_fields.h"
#include "vocabulary/fields.h"
#include "vocabulary/values.h"

namespace {

QString delayText(const GateFigures& gate, double ms, int digits) {
    return gate.count > 0 ? QStringLiteral("%1 ms").arg(ms, 0, 'f', digits) : QStringLiteral("-");
}

QStringList gateLines(const QMap<QString, GateFigures>& gates, int columns) {
    TextTable table({QStringLiteral("Gate"), QStringLiteral("State"), QStringLiteral("Last"),
                     QStringLiteral("Mean"), QStringLiteral("Largest"), QStringLiteral("Samples"),
                     QStringLiteral("Last at")});
    for (auto gate = gates.cbegin(); gate != gates.cend(); ++gate) {
        table.addRow({gate.key(), gate->stateText(), delayText(*gate, gate->last, 0),
                      delayText(*gate, gate->mean, 1), delayText(*gate, gate->largest, 0),
                      QString::number(gate->count), gate->lastTime});
    }
    return table.lines(columns);
}

/// "client 1.2 %, machine 15.0 %", of what is known; empty when nothing is.
QString partsText(const MonitorFigures& figures,
                  const QVector<QPair<QString, QString>>& patternOfKey, int digits) {
    QStringList parts;
    for (const auto& [key, pattern] : patternOfKey) {
        const auto value = figures.resources.constFind(key);
        if (value != figures.resources.cend()) {
            parts.append(pattern.arg(*value, 0, 'f', digits));
        }
    }
    return parts.join(QStringLiteral(", "));
}

QStringList resourceLines(const MonitorFigures& figures) {
    using namespace ClientPerformItem;
    struct Line {
        const char* title;
        QVector<QPair<QString, QString>> patternOfKey;
        int digits;
    };
    const QVector<Line> all{
        {"processors",
         {{ClientCpuUsage, QStringLiteral("client %1 %")},
          {TotalCpuUsage, QStringLiteral("machine %1 %")}},
         1},
        {"memory",
         {{ClientMemUsage, QStringLiteral("client %1 MB")},
          {TotalMemUsage, QStringLiteral("in use %1 MB")},
          {RemainMem, QStringLiteral("available %1 MB")}},
         0},
        {"disk",
         {{RemainDisk, QStringLiteral("free %1 GB")}, {TotalDisk, QStringLiteral("of %1 GB")}},
         1},
        {"counts",
         {{ThreadNum, QStringLiteral("threads %1")},
          {PositionCount, QStringLiteral("positions %1")},
          {OrderCount, QStringLiteral("orders %1")},
          {DealCount, QStringLiteral("deals %1")}},
         0}};
    QStringList lines;
    for (const Line& line : all) {
        const QString parts = partsText(figures, line.patternOfKey, line.digits);
        if (!parts.isEmpty()) {
            lines.append(QStringLiteral("%1: %2").arg(QLatin1String(line.title), parts));
        }
    }
    return lines;
}

QStringList cut(QStringList lines, int columns) {
    for (QString& line : lines) {
        line = cutToWidth(line, columns);
    }
    return lines;
}

QString moneyLine(const LiveFacts& facts) {
    return QStringLiteral("market value %1 | realized profit %2 | %3")
        .arg(moneyText(facts.marketValue), moneyText(facts.realizedProfit),
             countText(facts.unreadMessages, "unread message"));
}

}  // namespace

QStringList monitorLines(const MonitorFigures& figures, int columns) {
    QStringList lines = gateLines(figures.gates, columns);
    QStringList others{QStringLiteral("heartbeats on their way: %1").arg(figures.beatsOnTheirWay),
                       QStringLiteral("client information: %1 waiting, %2 sent in %3")
                           .arg(figures.infoWaiting)
                           .arg(figures.infoSent)
                           .arg(countText(figures.infoBatches, "message"))};
    others += resourceLines(figures);
    lines.append(QString());
    return lines + cut(others, columns);
}

QString dealText(const SeenDeal& deal) {
    constexpr int kSymbolWidth = 9;
    constexpr int kSideWidth = 4;
    const QVariantMap& record = deal.record;
    const bool isBuy = record.value(Security::side).toString() == OrderSide::buy;
    return harmlessText(
        QStringLiteral("%1  %2  %3  %4  %5 at %6")
            .arg(deal.at.toString(QStringLiteral("HH:mm:ss")),
                 record.value(UserAccount::tradingAccount).toString(),
                 record.value(Security::symbol).toString().leftJustified(kSymbolWidth),
                 (isBuy ? QStringLiteral("buy") : QStringLiteral("sell")).leftJustified(kSideWidth),
                 record.value(Security::lastQty).toString(),
                 numberText(record.value(TradeField::dealPrice).toDouble())));
}

QStringList liveLines(const LiveFacts& facts, int columns, int rows) {
    QStringList above = gateLines(facts.figures.gates, columns);
    if (facts.hasMoney) {
        above.append(cutToWidth(moneyLine(facts), columns));
    }
    const QString status = statusText(facts.status, columns);
    const int left = qMax(0, rows - above.size() - 1);
    const int shown = qMin(left, facts.deals.size());
    for (int i = facts.deals.size() - shown; i < facts.deals.size(); ++i) {
        above.append(cutToWidth(dealText(facts.deals.at(i)), columns));
    }
    return above.mid(qMax(0, above.size() - qMax(0, rows - 1))) << status;
}
